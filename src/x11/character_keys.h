#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "x11/xlib_handles.h"

namespace ostler {

// The key that types a character, alone or with Shift.
struct CharacterKey {
  KeyCode keycode = 0;
  bool shift = false;
};

// Returns the keysym that a spare keycode is mapped to for a character. Up to U+00FF it is the
// Latin-1 one: xterm receives a raw byte for the Unicode keysyms of U+0080 to U+00FF.
KeySym keysymOfCharacter(std::uint32_t character);

// The keys of the active layout group by the character that they type, as they are when this object
// is made. Line feed is the Return key.
class CharacterKeys {
public:
  explicit CharacterKeys(Display* display);

  std::optional<CharacterKey> find(std::uint32_t character) const;

private:
  std::unordered_map<KeySym, CharacterKey> keys;
};

}  // namespace ostler
