#pragma once

#include "x11/xlib_handles.h"

namespace ostler {

// Whether the X server behind a display name takes requests. Waits for as long
// as the server says nothing, yet holds nothing meanwhile that another thread
// could need: XOpenDisplay would keep Xlib's global lock, and with it every
// XOpenDisplay and XSetErrorHandler of the process.
bool displayAnswers(const char* displayName);

// Takes the Escape key, with any modifiers, from the rest of the desktop.
class EscapeGrab {
public:
  // Check held() afterwards: another client may have the key, or there is none.
  explicit EscapeGrab(Display* display);
  EscapeGrab(const EscapeGrab&) = delete;
  EscapeGrab& operator=(const EscapeGrab&) = delete;
  ~EscapeGrab();

  bool held() const { return isHeld; }
  bool isPress(const XEvent& event) const { return event.type == KeyPress && event.xkey.keycode == keycode; }

private:
  bool grab() const;

  Display* const xDisplay;
  const Window rootWindow;
  const KeyCode keycode;
  const bool isHeld;
};

}  // namespace ostler
