#pragma once

#include <vector>

#include "x11/xlib_handles.h"

namespace ostler {

// Lends a keycode that has no symbols to one keysym; the end of its life
// empties the row again.
class TemporaryKeyMapping {
public:
  // Throws std::runtime_error when the keyboard map has no empty row.
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
