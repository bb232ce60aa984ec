#pragma once

#include <xcb/xcb.h>

#include "base/owner.h"
#include "x11/xlib_handles.h"

namespace ostler {

using XcbConnection = Owner<xcb_connection_t, xcb_disconnect>;

// Connects to the X server of a display name and returns once the server has answered a request;
// returns null when it cannot be reached. Waits without a limit for an unresponsive server, but
// holds no lock meanwhile. XOpenDisplay would hold Xlib's global lock, and every other thread that
// calls XOpenDisplay or XSetErrorHandler would hang too.
XcbConnection connectWhenAnswered(const char* displayName);

// Grabs the Escape key, with any modifiers: no other client sees it while this object exists.
class EscapeGrab {
public:
  // Check held() afterwards: another client may hold the key, or the keyboard may lack it.
  explicit EscapeGrab(Display* display);
  EscapeGrab(const EscapeGrab&) = delete;
  EscapeGrab& operator=(const EscapeGrab&) = delete;
  ~EscapeGrab();

  bool held() const { return isHeld; }
  // Returns why the key is not held.
  const char* failure() const {
    return keycode == 0 ? "the keyboard has no Escape key" : "another program holds it";
  }
  // Moves the grab when Escape has been mapped to another key. Call it for each MappingNotify.
  void follow();
  bool isPress(const XEvent& event) const { return event.type == KeyPress && event.xkey.keycode == keycode; }

private:
  void grab();
  void ungrab();

  Display* const xDisplay;
  const Window rootWindow;
  KeyCode keycode = 0;
  bool isHeld = false;
};

}  // namespace ostler
