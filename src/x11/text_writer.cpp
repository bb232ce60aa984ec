#include "x11/text_writer.h"

#include <algorithm>
#include <stdexcept>

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include "backend/escape_flags.h"
#include "backend/interruption.h"
#include "base/sleep.h"
#include "x11/character_keys.h"
#include "x11/ping_barrier.h"

namespace ostler {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds pingLimit{3000};
// How long the keys of a client without pings stay mapped. A client that was stopped for one second
// still received them.
constexpr milliseconds mappedAfterKey{1200};
constexpr milliseconds longestSleep{50};

KeyCode shiftKeycode(Display* display) {
  const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
  if (shift == 0) throw std::runtime_error("Unable to resolve X11 keycode for: Shift");
  return shift;
}

// Switches Caps Lock off while it exists: clients apply it to characters of spare keycodes too.
class CapsLockOff {
public:
  explicit CapsLockOff(Display* display) : xDisplay(display) {
    XkbStateRec state{};
    XkbGetState(xDisplay, XkbUseCoreKbd, &state);
    locked = state.locked_mods & (LockMask | ShiftMask);
    if (locked != 0) XkbLockModifiers(xDisplay, XkbUseCoreKbd, locked, 0);
  }
  CapsLockOff(const CapsLockOff&) = delete;
  CapsLockOff& operator=(const CapsLockOff&) = delete;
  ~CapsLockOff() {
    if (locked == 0) return;
    XkbLockModifiers(xDisplay, XkbUseCoreKbd, locked, locked);
    XSync(xDisplay, False);
  }

private:
  Display* const xDisplay;
  unsigned locked = 0;
};

// Releases the modifier keys that somebody holds. They are not pressed again: a user who lets go of
// them meanwhile would find them stuck.
class ModifierRelease {
public:
  explicit ModifierRelease(Display* display) : xDisplay(display) {
    const Owner<XModifierKeymap, XFreeModifiermap> modifiers(XGetModifierMapping(display));
    const int width = modifiers->max_keypermod;
    for (int i = 0; i < 8 * width; ++i) {
      if (i / width != LockMapIndex) keycodes.push_back(modifiers->modifiermap[i]);
    }
  }
  void release() const {
    char down[32] = {};
    XQueryKeymap(xDisplay, down);
    for (const KeyCode keycode : keycodes) {
      const bool isDown = (down[keycode / 8] >> (keycode % 8) & 1) != 0;
      if (keycode != 0 && isDown) XTestFakeKeyEvent(xDisplay, keycode, False, 0);
    }
  }

private:
  Display* const xDisplay;
  std::vector<KeyCode> keycodes;
};

}  // namespace

std::vector<std::uint32_t> TextWriter::findUntypable(const std::vector<std::uint32_t>& text) {
  shiftKeycode(xDisplay);
  spareRows.refresh();
  const CharacterKeys keys(xDisplay);
  std::vector<std::uint32_t> untypable;
  for (const std::uint32_t character : text) {
    if (spareRows.capacity() > 0 || keys.find(character)) continue;
    if (std::ranges::find(untypable, character) == untypable.end()) untypable.push_back(character);
  }
  return untypable;
}

void TextWriter::write(const std::vector<std::uint32_t>& text, milliseconds delay) {
  const CapsLockOff capsLockOff(xDisplay);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = mapPrefix(text, begin);
    typeCharacters(text, begin, end, delay);
    begin = end;
  }
}

// Maps the characters that no key types, up to the first one without room. Returns where that is.
std::size_t TextWriter::mapPrefix(const std::vector<std::uint32_t>& text, std::size_t begin) {
  std::vector<std::uint32_t> missing;
  // Collects what is missing, at most `room` characters.
  const auto collect = [&](std::size_t room) {
    missing.clear();
    const CharacterKeys keys(xDisplay);
    for (std::size_t i = begin; i < text.size(); ++i) {
      if (spareRows.find(text[i]) || keys.find(text[i]) ||
          std::ranges::find(missing, text[i]) != missing.end())
        continue;
      if (missing.size() == room) return i;
      missing.push_back(text[i]);
    }
    return text.size();
  };
  spareRows.refresh();
  std::size_t end = collect(spareRows.room());
  if (end < text.size() && spareRows.isMapped()) {
    restoreMap();
    end = collect(spareRows.room());
  }
  if (!missing.empty()) spareRows.map(missing);
  return end;
}

void TextWriter::typeCharacters(const std::vector<std::uint32_t>& text, std::size_t begin, std::size_t end,
                                milliseconds delay) {
  const KeyCode shift = shiftKeycode(xDisplay);
  const CharacterKeys keys(xDisplay);
  const ModifierRelease modifiers(xDisplay);
  const auto noteEnd = [&] {
    lastKey = Clock::now();
    typedInto = findPingableWindow(xDisplay);
  };
  try {
    for (std::size_t i = begin; i < end; ++i) {
      const auto spare = spareRows.find(text[i]);
      const auto key = spare ? spare : keys.find(text[i]);
      if (!key) throw std::runtime_error("The keyboard map has changed while a text was written.");
      if (escapePressed) throw std::runtime_error(stoppedByUser);
      modifiers.release();
      tap(key->keycode, key->shift ? shift : KeyCode{0});
      sleepFor(delay);
    }
  } catch (...) {
    noteEnd();
    throw;
  }
  noteEnd();
}

void TextWriter::restoreMap() {
  if (!spareRows.isMapped()) return;
  waitUntilHandled();
  spareRows.clear();
}

void TextWriter::restoreRow(KeyCode keycode) {
  if (spareRows.isMapped()) restoreMap();
  spareRows.clearLeftBehind(keycode);
}

void TextWriter::restoreMapIfDue() {
  if (Clock::now() >= lastKey + mappedAfterKey) restoreMap();
}

void TextWriter::waitUntilHandled() {
  if (typedInto != None && waitForClient(xDisplay, typedInto, pingLimit)) return;
  for (Clock::time_point now = Clock::now(); now < lastKey + mappedAfterKey; now = Clock::now()) {
    throwIfInterrupted();
    sleepFor(std::min<std::chrono::nanoseconds>(lastKey + mappedAfterKey - now, longestSleep));
  }
}

}  // namespace ostler
