#include "session/clipboard_methods.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "addon/call_frame.h"
#include "session/session.h"
#include "x11/x11_clipboard.h"

namespace ostler {
namespace {

Clipboard& clipboard() {
  Clipboard* const found = sessionClipboard();
  if (found == nullptr) throw std::runtime_error("The session has no clipboard.");
  return *found;
}

// Returns the content in a Buffer. The view is valid during the call.
std::string_view bufferBytes(napi_env env, napi_value value) {
  void* data = nullptr;
  std::size_t length = 0;
  if (napi_get_buffer_info(env, value, &data, &length) != napi_ok) return {};
  return {static_cast<const char*>(data), length};
}

std::string clipboardKind() {
  Clipboard* const found = sessionClipboard();
  return found == nullptr ? "none" : found->kind();
}

std::vector<unsigned char> readClipboardText() { return pack(clipboard().read(ClipboardPart::text)); }

std::vector<unsigned char> readWholeClipboard() { return pack(clipboard().read(ClipboardPart::everything)); }

// Takes a Buffer with the content, or null.
napi_value writeClipboard(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    clipboard().write(unpack(bufferBytes(env, fetchArguments(env, info, 1)[0])));
    return undefinedValue(env);
  });
}

bool ownsClipboard() { return clipboard().owns(); }

void settleClipboard() { clipboard().readers().settle(); }

// Returns "read", "unread" or "lost".
std::string waitForReader(std::int32_t milliseconds) {
  switch (clipboard().readers().wait(std::chrono::milliseconds(milliseconds))) {
    case ReaderWatch::Outcome::read:
      return "read";
    case ReaderWatch::Outcome::lost:
      return "lost";
    case ReaderWatch::Outcome::unread:
      break;
  }
  return "unread";
}

bool handOverClipboard() { return clipboard().handOver(); }

// As a text, which has all bits of the number.
std::string clipboardOfferedAt() { return std::to_string(clipboard().offeredAt()); }

// Takes a Buffer with the content, the time when another process offered it, and a function that is
// called once this process has taken it over. Needs no session, and returns when another program
// copies something.
napi_value keepClipboard(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    const std::vector<napi_value> arguments = fetchArguments(env, info, 3);
    keepX11Clipboard(
        unpack(bufferBytes(env, arguments[0])), static_cast<std::uint32_t>(read<double>(env, arguments[1])),
        [&] { napi_call_function(env, undefinedValue(env), arguments[2], 0, nullptr, nullptr); });
    return undefinedValue(env);
  });
}

// Returns null without Klipper.
napi_value readKlipper(napi_env env, napi_callback_info) {
  return guarded(env, undefinedValue(env), [&] {
    const std::optional<std::string> text = openedSession().readKlipper();
    return text ? toValue(env, *text) : nullValue(env);
  });
}

constexpr Method rows[] = {
    {"readKlipper", readKlipper},
    {"clipboardKind", forward<clipboardKind>},
    {"readClipboardText", forward<readClipboardText>},
    {"readWholeClipboard", forward<readWholeClipboard>},
    {"writeClipboard", writeClipboard},
    {"ownsClipboard", forward<ownsClipboard>},
    {"settleClipboard", forward<settleClipboard>},
    {"waitForReader", forward<waitForReader>},
    {"handOverClipboard", forward<handOverClipboard>},
    {"clipboardOfferedAt", forward<clipboardOfferedAt>},
    {"keepClipboard", keepClipboard},
};

}  // namespace

const std::span<const Method> clipboardMethods = rows;

}  // namespace ostler
