#pragma once

#include <vector>

#include "x11/xlib_handles.h"

namespace ostler {

// Maps a spare keycode to one keysym; the destructor clears the mapping. A keycode without keysyms
// is spare. If there is none, a keycode that an interrupted process left mapped to a character is
// used.
class TemporaryKeyMapping {
public:
  // Throws std::runtime_error when the keyboard map has no spare keycode.
  TemporaryKeyMapping(Display* display, KeySym keysym);
  TemporaryKeyMapping(const TemporaryKeyMapping&) = delete;
  TemporaryKeyMapping& operator=(const TemporaryKeyMapping&) = delete;
  ~TemporaryKeyMapping();

  KeyCode keycode() const { return mappedKeycode; }

private:
  Display* const xDisplay;
  KeyCode mappedKeycode = 0;
  std::vector<KeySym> savedRow;
  int keysymsPerKeycode = 0;
};

}  // namespace ostler
