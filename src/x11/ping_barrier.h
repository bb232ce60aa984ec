#pragma once

#include <chrono>

#include "x11/xlib_handles.h"

namespace ostler {

// Returns the window that has the keyboard focus or the nearest one above it that answers
// _NET_WM_PING, or None.
Window findPingableWindow(Display* display);

// Waits until the client of the window has handled all events that were sent to it before. Returns
// false if it does not answer in time.
bool waitForClient(Display* display, Window window, std::chrono::milliseconds limit);

}  // namespace ostler
