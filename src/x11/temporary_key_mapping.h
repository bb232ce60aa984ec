#pragma once

#include <vector>

#include "x11/xlib_handles.h"

namespace ostler {

// Maps a spare keycode to one keysym; the destructor empties the row. A keycode
// without symbols is spare; where there is none, one that an interrupted process
// left mapped to a character.
class TemporaryKeyMapping {
public:
  // Throws std::runtime_error when the keyboard map has no spare row.
  TemporaryKeyMapping(Display* display, KeySym keysym);
  TemporaryKeyMapping(const TemporaryKeyMapping&) = delete;
  TemporaryKeyMapping& operator=(const TemporaryKeyMapping&) = delete;
  ~TemporaryKeyMapping();

  Display* const xDisplay;
  KeyCode keycode = 0;
  std::vector<KeySym> savedRow;
  int keysymsPerKeycode = 0;
};

}  // namespace ostler
