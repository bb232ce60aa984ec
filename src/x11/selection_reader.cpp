#include "x11/selection_reader.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include <poll.h>

#include "backend/interruption.h"
#include "x11/selection_connection.h"

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto limitForAnswer = 2s;  // and for each piece
constexpr auto limitForAll = 5s;
constexpr int pauseMilliseconds = 10;  // between two looks for an interruption
constexpr std::size_t mostTypes = 64;
constexpr std::uint32_t longestProperty = longestContent / 4 + 1;  // in units of 4 bytes

// These are no forms of the content.
constexpr std::array<std::string_view, 7> sideTargets = {
    "TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "DELETE", "INSERT_PROPERTY", "INSERT_SELECTION"};

struct Property {
  xcb_atom_t type = XCB_ATOM_NONE;
  std::uint8_t format = 0;
  std::string bytes;
  bool complete = false;
};

class Reader {
public:
  bool hasOwner() const { return connection.ownerOf(clipboard) != XCB_WINDOW_NONE; }

  std::string readText() {
    for (const char* const type : {"UTF8_STRING", textType}) {
      if (std::optional<Property> text = convert(connection.atom(type))) return std::move(text->bytes);
    }
    const std::optional<Property> text = convert(XCB_ATOM_STRING);
    return text ? latin1ToUtf8(text->bytes) : std::string();
  }

  ClipboardContent readEverything() {
    ClipboardContent content;
    std::size_t left = longestContent;
    const auto add = [&](std::string type, std::string bytes) {
      if (bytes.empty() || bytes.size() > left) return;
      left -= bytes.size();
      content.push_back({std::move(type), std::move(bytes)});
    };
    const std::vector<Target> targets = listTargets();
    const bool isListed = !targets.empty();
    if (!isListed ||
        std::any_of(targets.begin(), targets.end(), [](const Target& t) { return isTextType(t.name); })) {
      add(textType, readText());
    }
    for (const Target& target : targets) {
      if (isTextType(target.name)) continue;
      if (std::optional<Property> item = convert(target.atom)) add(target.name, std::move(item->bytes));
    }
    return content;
  }

private:
  struct Target {
    xcb_atom_t atom;
    std::string name;
  };

  // Returns the forms of the content, a PNG first: where time is short, the same picture in other
  // formats matters less.
  std::vector<Target> listTargets() {
    const std::optional<Property> list = convert(connection.atom("TARGETS"), 32);
    if (!list) return {};
    std::vector<Target> targets;
    for (std::size_t i = 0; i + 4 <= list->bytes.size() && targets.size() < mostTypes; i += 4) {
      Target target{};
      list->bytes.copy(reinterpret_cast<char*>(&target.atom), 4, i);
      target.name = connection.atomName(target.atom);
      const bool isSide = std::find(sideTargets.begin(), sideTargets.end(), target.name) != sideTargets.end();
      if (!target.name.empty() && !isSide) targets.push_back(std::move(target));
    }
    std::stable_partition(targets.begin(), targets.end(),
                          [](const Target& t) { return t.name == "image/png"; });
    return targets;
  }

  // Returns what the owner delivers for a target with items of `format` bits, if it does.
  std::optional<Property> convert(xcb_atom_t target, std::uint8_t format = 8) {
    if (isUnresponsive) return std::nullopt;
    xcb_delete_property(connection.get(), connection.window(), property);
    xcb_convert_selection(connection.get(), connection.window(), clipboard, target, property,
                          XCB_CURRENT_TIME);
    connection.flush();
    bool isStored = false;
    const bool answered = waitFor([&](const xcb_generic_event_t& event) {
      if (typeOf(event) != XCB_SELECTION_NOTIFY) return false;
      const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
      if (notice.target != target) return false;  // the late answer to an earlier request
      isStored = notice.property != XCB_ATOM_NONE;
      return true;
    });
    if (!answered) isUnresponsive = true;
    if (!isStored) return std::nullopt;
    Property answer = take();
    if (answer.type == incr) return takePieces(format);
    if (answer.type == XCB_ATOM_NONE || answer.format != format || !answer.complete) return std::nullopt;
    return answer;
  }

  // Each time the property is deleted, the owner stores the next piece; an empty one is the end.
  std::optional<Property> takePieces(std::uint8_t format) {
    Property all;
    for (;;) {
      Property piece;
      const bool arrived = waitFor([&](const xcb_generic_event_t& event) {
        if (typeOf(event) != XCB_PROPERTY_NOTIFY) return false;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (change.atom != property || change.state != XCB_PROPERTY_NEW_VALUE) return false;
        piece = take();
        return piece.type != XCB_ATOM_NONE;
      });
      if (!arrived) isUnresponsive = true;
      if (!arrived || !piece.complete || piece.format != format) return std::nullopt;
      if (piece.bytes.empty()) return all;
      all.bytes += piece.bytes;
      if (all.bytes.size() > longestContent) isUnresponsive = true;  // it would go on for ever
      if (isUnresponsive) return std::nullopt;
    }
  }

  // Reads and deletes the property.
  Property take() const {
    Property result;
    const auto cookie = xcb_get_property(connection.get(), 1, connection.window(), property,
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, longestProperty);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (reply == nullptr) return result;
    result.type = reply->type;
    result.format = reply->format;
    result.complete = reply->bytes_after == 0;
    result.bytes.assign(static_cast<const char*>(xcb_get_property_value(reply.get())),
                        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    return result;
  }

  static int typeOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }

  // Reads events until `accept` returns true for one. Returns false when that takes too long.
  template <typename Accept>
  bool waitFor(Accept accept) {
    const Clock::time_point limit = std::min(deadline, Clock::now() + limitForAnswer);
    while (Clock::now() < limit && connection.isOpen()) {
      throwIfInterrupted();
      const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(connection.get()));
      if (event != nullptr) {
        if (accept(*event)) return true;
        continue;
      }
      pollfd server{xcb_get_file_descriptor(connection.get()), POLLIN, 0};
      poll(&server, 1, pauseMilliseconds);
    }
    return false;
  }

  SelectionConnection connection;
  const xcb_atom_t clipboard = connection.atom("CLIPBOARD");
  const xcb_atom_t property = connection.atom("OSTLER_CLIPBOARD");
  const xcb_atom_t incr = connection.atom("INCR");
  const Clock::time_point deadline = Clock::now() + limitForAll;
  bool isUnresponsive = false;  // the owner; it gets no further request
};

}  // namespace

ClipboardContent readSelection(ClipboardPart part) {
  Reader reader;
  if (!reader.hasOwner()) return {};
  if (part == ClipboardPart::everything) return reader.readEverything();
  std::string text = reader.readText();
  if (text.empty()) return {};
  return {{textType, std::move(text)}};
}

}  // namespace ostler
