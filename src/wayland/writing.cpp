#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <stdexcept>
#include <string>

#include <X11/keysym.h>

#include "backend/escape_flags.h"
#include "backend/interruption.h"
#include "base/sleep.h"
#include "keys/typed_keysym.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

// A user who has started the program with a shortcut releases it meanwhile. Reports of our own keys
// may also be on their way.
constexpr std::chrono::milliseconds releaseLimit{500};

// XKB's modifiers except Lock and Num Lock, the second and fifth.
constexpr std::uint32_t realModifiers = 0b11101101;

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

// The compositor combines the modifiers of all keyboards. GNOME 51 and KDE Plasma 6.7 report them.
std::string WaylandBackend::heldModifier() const {
  constexpr std::array names{"Shift", "Lock", "Ctrl", "Alt", "Num Lock", "Hyper", "Super", "AltGr"};
  const std::uint32_t held = eis.heldModifiers() & realModifiers;
  return held == 0 ? "" : names[static_cast<std::size_t>(std::countr_zero(held))];
}

void WaylandBackend::requireNoModifiers() {
  const auto deadline = std::chrono::steady_clock::now() + releaseLimit;
  for (std::string name; !(name = heldModifier()).empty();) {
    if (std::chrono::steady_clock::now() >= deadline) {
      throw std::runtime_error(name + " is held down, which would change the text.");
    }
    sleepFor(std::chrono::milliseconds(5));
    requireSession();  // reads the reports
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
  requireNoModifiers();
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
  if (capsLock) tap(eis, *capsLock);
  const auto restoreCapsLock = [&] {
    const Uninterrupted restoring;
    if (capsLock) tap(eis, *capsLock);
  };
  bool composedLast = false;
  try {
    const auto needsDeadKey = [&](std::size_t position) {
      return position < text.size() && !eis.findKey(keysymOf(text[position]));
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (eis.hasDevice(InputKind::keyboard) && !needsDeadKey(i) && needsDeadKey(i + 1)) waitUntilSettled();
      if (escapePressed) throw std::runtime_error(stoppedByUser);
      const std::uint64_t keysym = keysymOf(text[i]);
      send(InputKind::keyboard, [&](auto& to) { writeKeysym(to, keysym, composedLast); });
      sleepFor(delay);
    }
    requireKeysProcessed();
  } catch (...) {
    restoreCapsLock();
    throw;
  }
  restoreCapsLock();
}

void WaylandBackend::writeKeysym(EisInput& to, std::uint64_t keysym, bool& composedLast) {
  if (const auto key = to.findKey(keysym)) {
    tap(to, *key);
    composedLast = false;
  } else if (const auto sequence = to.findSequence(keysym)) {
    // Composed characters cannot overtake each other.
    if (!composedLast) waitUntilDrawn();
    tap(to, *sequence, std::chrono::milliseconds(0));
    composedLast = true;
  } else {
    throw std::runtime_error("The keyboard layout changed while a text was written.");
  }
}

void WaylandBackend::writeKeysym(const PortalInput& to, std::uint64_t keysym, bool&) {
  typeKeysym(to, keysym);
}

}  // namespace ostler
