#include "backend/session_backend.h"

#include <exception>

#include "backend/session_perform.h"
#include "keys/text.h"

namespace ostler {

// Where a release fails, the session has ended, and with it everything that it held.
void SessionBackend::release(std::uint32_t code) {
  try {
    sendRelease(code);
  } catch (const std::exception&) {
  }
  record.remove(code);
}

void SessionBackend::mouseMove(double x, double y) {
  perform([&] { desktop().mouseMove(x, y); });
}

void SessionBackend::click(double x, double y, const std::string& button, int count) {
  perform([&] { desktop().click(x, y, button, count); });
}

void SessionBackend::drag(double fromX, double fromY, double toX, double toY) {
  perform([&] { desktop().drag(fromX, fromY, toX, toY); });
}

void SessionBackend::mouseDown(double x, double y) {
  perform([&] { desktop().mouseDown(x, y); });
}

void SessionBackend::mouseUp(double x, double y) {
  perform([&] { desktop().mouseUp(x, y); });
}

void SessionBackend::type(const std::string& text) {
  perform([&] { desktop().type(text); });
}

void SessionBackend::key(const std::string& combo) {
  perform([&] { desktop().key(combo); });
}

void SessionBackend::scroll(double x, double y, int dx, int dy) {
  perform([&] { desktop().scroll(x, y, dx, dy); });
}

Point SessionBackend::cursorPosition() { return desktop().cursorPosition(); }

Size SessionBackend::display() { return desktop().display(); }

std::vector<unsigned char> SessionBackend::screenshot(Size target, Rect crop, double quality) {
  return picture(target, crop, quality, PngCompression::small);
}

void SessionBackend::write(const std::string& text, std::int32_t delay) {
  perform([&] { sendText(decodeLines(text), std::chrono::milliseconds(delay)); });
}

void SessionBackend::restoreKeyboard() {
  startCall(0);  // this is no call of the host
  restoreMapIfDue();
}

void SessionBackend::setButton(Button button, bool pressed) {
  perform([&] { sendButton(button, pressed); });
}

void SessionBackend::setKey(const std::string& name, bool pressed) {
  perform([&] { sendKey(name, pressed); });
}

void SessionBackend::releaseAll() {
  startCall(0);
  const HeldRecord::Codes held = record.held();
  for (std::uint32_t code = 0; code < HeldRecord::codes; ++code) {
    if (held.test(code)) release(code);
  }
}

}  // namespace ostler
