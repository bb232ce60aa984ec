#include "x11/escape_grab.h"

#include <cstdlib>
#include <utility>

#include <X11/keysym.h>

#include "x11/error_trap.h"

namespace ostler {

XcbConnection connectWhenAnswered(const char* displayName) {
  XcbConnection connection(xcb_connect(displayName, nullptr));
  if (xcb_connection_has_error(connection.get()) != 0) return nullptr;
  const auto cookie = xcb_get_input_focus(connection.get());
  const Owner<xcb_get_input_focus_reply_t, std::free> reply(
      xcb_get_input_focus_reply(connection.get(), cookie, nullptr));
  return reply != nullptr ? std::move(connection) : nullptr;
}

EscapeGrab::EscapeGrab(Display* display) : xDisplay(display), rootWindow(DefaultRootWindow(display)) {
  grab();
}

EscapeGrab::~EscapeGrab() { ungrab(); }

void EscapeGrab::follow() {
  if (isHeld && XKeysymToKeycode(xDisplay, XK_Escape) == keycode) return;
  ungrab();
  grab();
}

void EscapeGrab::grab() {
  keycode = XKeysymToKeycode(xDisplay, XK_Escape);
  if (keycode == 0) return;
  const ErrorTrap trap(xDisplay);
  XGrabKey(xDisplay, keycode, AnyModifier, rootWindow, True, GrabModeAsync, GrabModeAsync);
  XSync(xDisplay, False);
  isHeld = !trap.caught();
}

void EscapeGrab::ungrab() {
  if (!std::exchange(isHeld, false)) return;
  XUngrabKey(xDisplay, keycode, AnyModifier, rootWindow);
  XSync(xDisplay, False);
}

}  // namespace ostler
