#include <algorithm>
#include <exception>
#include <stdexcept>

#include <X11/keysym.h>

#include "backend/escape_flags.h"
#include "backend/interruption.h"
#include "backend/waits.h"
#include "keys/typed_keysym.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

// Line feed is the Return key.
std::uint64_t keysymOf(std::uint32_t character) { return typedKeysym(character).value_or(XK_VoidSymbol); }

}  // namespace

// KDE Plasma 6.3 announces the keyboard after the EIS set-up has ended, and a keyboard can be
// replaced at any time.
void WaylandBackend::waitForKeyboard() {
  requireSession();
  if (!eis.hasDevice(InputKind::keyboard) || eis.isDeviceRemoved(InputKind::keyboard)) {
    eis.waitForDevice(InputKind::keyboard);
  }
}

bool WaylandBackend::isTypable(std::uint32_t character) {
  const std::uint64_t keysym = keysymOf(character);
  // Without EIS, the portal drops other characters without an error.
  if (!eis.hasDevice(InputKind::keyboard)) return findEvdevKey(keysym).has_value();
  return eis.findKey(keysym) || eis.findSequence(keysym);
}

std::vector<std::uint32_t> WaylandBackend::findUntypable(const std::vector<std::uint32_t>& text) {
  beginOperation();
  waitForKeyboard();
  std::vector<std::uint32_t> untypable;
  for (const std::uint32_t character : text) {
    if (std::ranges::find(untypable, character) == untypable.end() && !isTypable(character)) {
      untypable.push_back(character);
    }
  }
  return untypable;
}

void WaylandBackend::write(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) {
  if (!findUntypable(text).empty()) throw std::runtime_error("The keyboard layout has changed.");
  const auto capsLock = eis.isCapsLocked() ? eis.findKey(XK_Caps_Lock) : std::nullopt;
  if (capsLock) tap(*capsLock);
  const auto restoreCapsLock = [&] {
    const Uninterrupted restoring;
    if (capsLock) tap(*capsLock);
  };
  bool composedLast = false;
  try {
    for (const std::uint32_t character : text) {
      if (escapePressed) throw std::runtime_error(stoppedByUser);
      writeCharacter(character, composedLast);
      sleepFor(delay);
    }
  } catch (...) {
    restoreCapsLock();
    throw;
  }
  restoreCapsLock();
}

// `composedLast` is whether the character before was typed with a dead key. Composed characters
// cannot overtake each other, so only other keys need a pause after them.
void WaylandBackend::writeCharacter(std::uint32_t character, bool& composedLast) {
  const std::uint64_t keysym = keysymOf(character);
  const auto throughEis = [&] {
    if (const auto key = eis.findKey(keysym)) {
      tap(*key);
      composedLast = false;
    } else if (const auto sequence = eis.findSequence(keysym)) {
      tap(*sequence, composedLast ? std::chrono::milliseconds(0) : waits::beforeWrittenDeadKey);
      composedLast = true;
    } else {
      throw std::runtime_error("The keyboard layout changed while a text was written.");
    }
  };
  send(InputKind::keyboard, throughEis, [&] { typeThroughPortal(keysym); });
}

}  // namespace ostler
