#include "x11/error_trap.h"

#include <X11/Xlibint.h>

namespace ostler {

// Xlib passes each error to the async handlers of its connection before it calls the error handler,
// of which the process has only one.
struct ErrorTrap::Handler {
  explicit Handler(Display* display) : xDisplay(display), firstRequest(NextRequest(display)) {
    LockDisplay(xDisplay);
    link.next = xDisplay->async_handlers;
    link.handler = onResponse;
    link.data = reinterpret_cast<XPointer>(this);
    xDisplay->async_handlers = &link;
    UnlockDisplay(xDisplay);
  }
  Handler(const Handler&) = delete;
  Handler& operator=(const Handler&) = delete;
  ~Handler() {
    if (LastKnownRequestProcessed(xDisplay) + 1 != NextRequest(xDisplay)) XSync(xDisplay, False);
    LockDisplay(xDisplay);
    DeqAsyncHandler(xDisplay, &link);
    UnlockDisplay(xDisplay);
  }

  static int onResponse(Display* display, xReply* response, char*, int, XPointer data) noexcept {
    auto& trap = *reinterpret_cast<Handler*>(data);
    if (response->generic.type != X_Error || display->last_request_read < trap.firstRequest) return False;
    trap.caught = true;
    return True;
  }

  Display* const xDisplay;
  const unsigned long firstRequest;
  bool caught = false;
  _XAsyncHandler link{};
};

ErrorTrap::ErrorTrap(Display* display) : handler(std::make_unique<Handler>(display)) {}
ErrorTrap::~ErrorTrap() = default;

bool ErrorTrap::caught() const { return handler->caught; }

}  // namespace ostler
