#include "services/escape_grab.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include <X11/keysym.h>

namespace ostler {
namespace {

struct Freer {
  void operator()(void* data) const { std::free(data); }
};

// The connection whose errors the current thread is waiting for.
thread_local Display* trappedDisplay = nullptr;
thread_local bool trappedError = false;

std::atomic<XErrorHandler> processHandler{nullptr};

int onXError(Display* display, XErrorEvent* error) noexcept {
  if (display == trappedDisplay) {
    trappedError = true;
    return 0;
  }
  const XErrorHandler handler = processHandler;
  return handler != nullptr ? handler(display, error) : 0;
}

// Catches the X errors of one connection. There is only one handler for all
// connections of the process: the others' errors go on to the one found.
class ErrorTrap {
public:
  explicit ErrorTrap(Display* display) {
    trappedDisplay = display;
    trappedError = false;
    // Another library may have found ours in place and put it back later.
    const XErrorHandler found = XSetErrorHandler(onXError);
    if (found != onXError) processHandler = found;
  }
  ErrorTrap(const ErrorTrap&) = delete;
  ErrorTrap& operator=(const ErrorTrap&) = delete;
  ~ErrorTrap() {
    const XErrorHandler found = XSetErrorHandler(processHandler);
    if (found != onXError) XSetErrorHandler(found);  // somebody else's, set meanwhile
    trappedDisplay = nullptr;
  }
};

// Held around each trap. A worker whose server went silent in there must not
// share it with the next one.
std::mutex trapMutex;

}  // namespace

XcbConnection connectWhenAnswered(const char* displayName) {
  XcbConnection connection(xcb_connect(displayName, nullptr));
  if (xcb_connection_has_error(connection.get()) != 0) return nullptr;
  const auto cookie = xcb_get_input_focus(connection.get());
  const std::unique_ptr<void, Freer> reply(xcb_get_input_focus_reply(connection.get(), cookie, nullptr));
  return reply != nullptr ? std::move(connection) : nullptr;
}

EscapeGrab::EscapeGrab(Display* display)
    : xDisplay(display),
      rootWindow(DefaultRootWindow(display)),
      keycode(XKeysymToKeycode(display, XK_Escape)),
      isHeld(keycode != 0 && grab()) {}

EscapeGrab::~EscapeGrab() {
  if (!isHeld) return;
  XUngrabKey(xDisplay, keycode, AnyModifier, rootWindow);
  XSync(xDisplay, False);
}

bool EscapeGrab::grab() const {
  const std::unique_lock trapping(trapMutex, std::try_to_lock);
  if (!trapping) return false;
  const ErrorTrap trap(xDisplay);
  XGrabKey(xDisplay, keycode, AnyModifier, rootWindow, True, GrabModeAsync, GrabModeAsync);
  XSync(xDisplay, False);
  return !trappedError;
}

}  // namespace ostler
