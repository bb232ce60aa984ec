#pragma once

#include <memory>

#include <xcb/xcb.h>

#include "x11/xlib_handles.h"

namespace ostler {

struct XcbDisconnecter {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnecter>;

// A connection to the X server behind a display name, once it has taken a
// request; null when there is none. Waits for as long as the server says
// nothing, yet holds nothing meanwhile that another thread could need:
// XOpenDisplay would keep Xlib's global lock, and with it every XOpenDisplay and
// XSetErrorHandler of the process.
XcbConnection connectWhenAnswered(const char* displayName);

// Takes the Escape key, with any modifiers, from the rest of the desktop.
class EscapeGrab {
public:
  // Check held() afterwards: another client may have the key, or there is none.
  explicit EscapeGrab(Display* display);
  EscapeGrab(const EscapeGrab&) = delete;
  EscapeGrab& operator=(const EscapeGrab&) = delete;
  ~EscapeGrab();

  bool held() const { return isHeld; }
  // Takes the key that has become Escape in place of the one that was. To be
  // called for each MappingNotify.
  void follow();
  bool isPress(const XEvent& event) const { return event.type == KeyPress && event.xkey.keycode == keycode; }

private:
  void take();
  void giveBack();

  Display* const xDisplay;
  const Window rootWindow;
  KeyCode keycode = 0;
  bool isHeld = false;
};

}  // namespace ostler
