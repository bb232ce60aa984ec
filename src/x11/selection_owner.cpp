#include "x11/selection_owner.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <sys/socket.h>

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// Every server accepts properties of this size in one request, and other programs send longer
// contents in pieces too.
constexpr std::size_t pieceSize = 240 << 10;  // in bytes

constexpr auto limitForTime = 2s;
constexpr auto limitForManager = 2s;

const ClipboardItem* find(const ClipboardContent& content, std::string_view type) {
  const auto item = std::find_if(content.begin(), content.end(),
                                 [&](const ClipboardItem& each) { return each.type == type; });
  return item == content.end() ? nullptr : &*item;
}

}  // namespace

SelectionOwner::SelectionOwner() {
  thread = std::thread([this] { serve(); });
}

SelectionOwner::~SelectionOwner() {
  shutdown(xcb_get_file_descriptor(connection.get()), SHUT_RDWR);  // wakes the thread
  thread.join();
}

bool SelectionOwner::take(ClipboardContent content, std::uint32_t since) {
  const std::uint32_t time = since != 0 ? since : serverTime();
  readers.restart();
  {
    const MutexLock lock(mutex);
    owned = std::make_shared<const ClipboardContent>(std::move(content));
    ownedSince = time;
  }
  xcb_set_selection_owner(connection.get(), connection.window(), clipboard, time);
  if (connection.ownerOf(clipboard) == connection.window()) return true;
  lose();
  return false;
}

void SelectionOwner::drop() {
  if (held() == nullptr) return;
  xcb_set_selection_owner(connection.get(), XCB_WINDOW_NONE, clipboard, heldSince());
  connection.flush();
  lose();
}

std::shared_ptr<const ClipboardContent> SelectionOwner::held() {
  // The message that another program has taken the selection may still be on its way.
  const bool isOwner = connection.ownerOf(clipboard) == connection.window();
  const MutexLock lock(mutex);
  return isOwner ? owned : nullptr;
}

std::uint32_t SelectionOwner::heldSince() {
  const MutexLock lock(mutex);
  return ownedSince;
}

void SelectionOwner::waitUntilLost() {
  for (;;) {
    MutexLock lock(mutex);
    if (owned == nullptr || hasEnded) return;
    lock.waitUntil(changed, Clock::now() + 1h);
  }
}

bool SelectionOwner::handOver() {
  const xcb_atom_t manager = connection.atom("CLIPBOARD_MANAGER");
  if (connection.ownerOf(manager) == XCB_WINDOW_NONE) return false;
  {
    const MutexLock lock(mutex);
    saving = Saving::unanswered;
  }
  // Without a list the manager saves all targets.
  xcb_convert_selection(connection.get(), connection.window(), manager, saveTargets, saveTargets,
                        heldSince());
  connection.flush();
  const Clock::time_point deadline = Clock::now() + limitForManager;
  MutexLock lock(mutex);
  while (saving == Saving::unanswered && !hasEnded && Clock::now() < deadline)
    lock.waitUntil(changed, deadline);
  return saving == Saving::done;
}

// The server reports its time when a property changes.
std::uint32_t SelectionOwner::serverTime() {
  {
    const MutexLock lock(mutex);
    reportedTime = 0;
  }
  xcb_change_property(connection.get(), XCB_PROP_MODE_APPEND, connection.window(), clockProperty,
                      XCB_ATOM_STRING, 8, 0, nullptr);
  connection.flush();
  const Clock::time_point deadline = Clock::now() + limitForTime;
  MutexLock lock(mutex);
  while (reportedTime == 0 && !hasEnded && Clock::now() < deadline) lock.waitUntil(changed, deadline);
  return reportedTime;
}

void SelectionOwner::serve() {
  while (const XcbReply<xcb_generic_event_t> event{xcb_wait_for_event(connection.get())}) {
    handle(*event);
    connection.flush();
  }
  readers.lose();
  const MutexLock lock(mutex);
  hasEnded = true;
  changed.notify_all();
}

void SelectionOwner::handle(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7f) {
    case XCB_SELECTION_REQUEST:
      answer(reinterpret_cast<const xcb_selection_request_event_t&>(event));
      break;
    case XCB_SELECTION_CLEAR:
      // take() may have been called after the message was sent.
      if (connection.ownerOf(clipboard) != connection.window()) lose();
      break;
    case XCB_SELECTION_NOTIFY: {
      const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
      const MutexLock lock(mutex);
      saving = notice.property != XCB_ATOM_NONE ? Saving::done : Saving::refused;
      changed.notify_all();
      break;
    }
    case XCB_PROPERTY_NOTIFY: {
      const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
      if (change.window != connection.window()) return continueTransfers(change);
      const MutexLock lock(mutex);
      reportedTime = change.time;
      changed.notify_all();
      break;
    }
    case XCB_DESTROY_NOTIFY:
      endTransfersOf(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window);
      break;
    default:
      break;
  }
}

void SelectionOwner::lose() {
  readers.lose();
  const MutexLock lock(mutex);
  owned.reset();
  changed.notify_all();
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
  // Programs from before 1988 name no property.
  const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
  const bool isConverted = request.target == multiple ? convertMultiple(request.requestor, property)
                                                      : convert(request.requestor, request.target, property);
  xcb_selection_notify_event_t notice{};
  notice.response_type = XCB_SELECTION_NOTIFY;
  notice.time = request.time;
  notice.requestor = request.requestor;
  notice.selection = request.selection;
  notice.target = request.target;
  notice.property = isConverted ? property : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  static_assert(sizeof notice <= 32);
  char event[32] = {};
  std::copy_n(reinterpret_cast<const char*>(&notice), sizeof notice, event);
  xcb_send_event(connection.get(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event);
}

std::vector<xcb_atom_t> SelectionOwner::targetsOf(const ClipboardContent& content) const {
  std::vector<xcb_atom_t> list{targets, timestamp, multiple};
  for (const ClipboardItem& item : content) {
    if (item.type == textType)
      list.insert(list.end(), {unicodeText, utf8String, plainText, XCB_ATOM_STRING});
    else
      list.push_back(connection.atom(item.type));
  }
  return list;
}

bool SelectionOwner::convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property) {
  std::shared_ptr<const ClipboardContent> content;
  std::uint32_t since = 0;
  {
    const MutexLock lock(mutex);
    content = owned;
    since = ownedSince;
  }
  if (content == nullptr) return false;
  const auto change = [&](xcb_atom_t type, const std::vector<std::uint32_t>& values) {
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, requestor, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
    return true;
  };
  if (target == targets) return change(XCB_ATOM_ATOM, targetsOf(*content));
  if (target == timestamp) return change(XCB_ATOM_INTEGER, {since});
  const bool isText =
      target == unicodeText || target == utf8String || target == plainText || target == XCB_ATOM_STRING;
  const ClipboardItem* const item = find(*content, isText ? textType : connection.atomName(target));
  if (item == nullptr) return false;
  readers.begin(hasFocus(requestor));
  store(requestor, property, target, target == XCB_ATOM_STRING ? utf8ToLatin1(item->bytes) : item->bytes);
  return true;
}

// The property has pairs of a target and a property. A target that fails gets no property.
bool SelectionOwner::convertMultiple(xcb_window_t requestor, xcb_atom_t property) {
  constexpr std::uint32_t mostPairs = 64;
  const auto cookie =
      xcb_get_property(connection.get(), 0, requestor, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 2 * mostPairs);
  const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection.get(), cookie, nullptr));
  if (reply == nullptr || reply->format != 32) return false;
  const auto* const values = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
  const std::size_t count = reply->value_len & ~1U;
  std::vector<xcb_atom_t> pairs(values, values + count);
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    const bool isNested = pairs[i] == multiple;
    if (isNested || !convert(requestor, pairs[i], pairs[i + 1])) pairs[i + 1] = XCB_ATOM_NONE;
  }
  xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, requestor, property, reply->type, 32,
                      static_cast<std::uint32_t>(pairs.size()), pairs.data());
  return true;
}

void SelectionOwner::store(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, std::string bytes) {
  // A program that asks again for the same property has given up the transfer before.
  const auto isSame = [&](const Transfer& each) {
    return each.requestor == requestor && each.property == property;
  };
  const auto old = std::find_if(transfers.begin(), transfers.end(), isSame);
  if (old != transfers.end()) {
    transfers.erase(old);
    readers.end(false);
  }
  if (bytes.size() <= pieceSize) {
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, requestor, property, type, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
    return readers.end(true);
  }
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection.get(), requestor, XCB_CW_EVENT_MASK, &events);
  const auto size = static_cast<std::uint32_t>(bytes.size());
  xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, requestor, property, incr, 32, 1, &size);
  transfers.push_back({requestor, property, type, std::move(bytes)});
}

void SelectionOwner::continueTransfers(const xcb_property_notify_event_t& change) {
  if (change.state != XCB_PROPERTY_DELETE) return;
  const auto transfer = std::find_if(transfers.begin(), transfers.end(), [&](const Transfer& each) {
    return each.requestor == change.window && each.property == change.atom;
  });
  if (transfer == transfers.end()) return;
  const std::size_t size = std::min(pieceSize, transfer->bytes.size() - transfer->offset);
  xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, transfer->requestor, transfer->property,
                      transfer->type, 8, static_cast<std::uint32_t>(size),
                      transfer->bytes.data() + transfer->offset);
  transfer->offset += size;
  readers.progress();
  if (size > 0) return;
  transfers.erase(transfer);
  readers.end(true);
}

void SelectionOwner::endTransfersOf(xcb_window_t requestor) {
  const std::size_t count = transfers.size();
  transfers.remove_if([&](const Transfer& each) { return each.requestor == requestor; });
  for (std::size_t ended = transfers.size(); ended < count; ++ended) readers.end(false);
}

// Returns whether the program with this window has the keyboard. The upper bits of a window's
// number identify the connection that created it.
bool SelectionOwner::hasFocus(xcb_window_t window) const {
  const XcbReply<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
  const std::uint32_t mask = xcb_get_setup(connection.get())->resource_id_mask;
  return reply != nullptr && reply->focus > XCB_INPUT_FOCUS_POINTER_ROOT &&
         (reply->focus & ~mask) == (window & ~mask);
}

}  // namespace ostler
