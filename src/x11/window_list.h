#pragma once

#include <vector>

#include <X11/Xlib.h>

#include "backend/desktop_window.h"

namespace ostler {

// Ask the window manager, which speaks EWMH. Throw std::runtime_error when there is none.

// Returns the windows of programs, the lowest first.
std::vector<DesktopWindow> listWindows(Display* display);

// Makes a window the active one and raises it. Throws when there is no window with this id, or when
// the window manager does not do it within a second.
void activateWindow(Display* display, std::uint32_t id);

}  // namespace ostler
