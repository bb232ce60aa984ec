#include "x11/ping_barrier.h"

#include <algorithm>

#include <X11/Xatom.h>
#include <poll.h>

#include "backend/interruption.h"
#include "x11/error_trap.h"

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

bool listsPing(Display* display, Window window, Atom ping) {
  Atom* protocols = nullptr;
  int count = 0;
  if (XGetWMProtocols(display, window, &protocols, &count) == 0) return false;
  const XData<Atom> owned(protocols);
  return std::find(protocols, protocols + count, ping) != protocols + count;
}

Window parentOf(Display* display, Window window) {
  Window root = None, parent = None, *children = nullptr;
  unsigned count = 0;
  if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) return None;
  const XData<Window> owned(children);
  return parent;
}

// While this exists, answers reach us: clients send them to the root window. Qt's arrive only with
// StructureNotifyMask.
class RootEvents {
public:
  explicit RootEvents(Display* display) : xDisplay(display) {
    XSelectInput(xDisplay, DefaultRootWindow(xDisplay), SubstructureNotifyMask | StructureNotifyMask);
  }
  RootEvents(const RootEvents&) = delete;
  RootEvents& operator=(const RootEvents&) = delete;
  ~RootEvents() {
    XSelectInput(xDisplay, DefaultRootWindow(xDisplay), NoEventMask);
    XSync(xDisplay, True);  // discards the events that have arrived
  }

private:
  Display* const xDisplay;
};

}  // namespace

Window findPingableWindow(Display* display) {
  const ErrorTrap trap(display);  // the window may be destroyed at any moment
  const Atom ping = XInternAtom(display, "_NET_WM_PING", False);
  Window window = None;
  int revert = 0;
  XGetInputFocus(display, &window, &revert);
  if (window == PointerRoot) return None;
  while (window != None && !listsPing(display, window, ping)) window = parentOf(display, window);
  return window;
}

bool waitForClient(Display* display, Window window, milliseconds limit) {
  const ErrorTrap trap(display);
  const RootEvents events(display);
  XEvent message{};
  message.xclient.type = ClientMessage;
  message.xclient.window = window;
  message.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
  message.xclient.format = 32;
  message.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "_NET_WM_PING", False));
  message.xclient.data.l[1] = static_cast<long>(NextRequest(display));  // distinguishes this ping from others
  message.xclient.data.l[2] = static_cast<long>(window);
  XSendEvent(display, window, False, NoEventMask, &message);
  XSync(display, False);

  const auto isAnswer = [](const XEvent& event, const XEvent& sent) {
    return event.type == ClientMessage && event.xclient.message_type == sent.xclient.message_type &&
           std::equal(event.xclient.data.l, event.xclient.data.l + 3, sent.xclient.data.l);
  };
  const Clock::time_point deadline = Clock::now() + limit;
  for (;;) {
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (isAnswer(event, message)) return true;
    }
    // A destroyed window has nothing left to handle.
    if (trap.caught()) return true;
    throwIfInterrupted();
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left <= milliseconds(0)) return false;
    pollfd readable{ConnectionNumber(display), POLLIN, 0};
    poll(&readable, 1, static_cast<int>(std::min(left, milliseconds(50)).count()));
  }
}

}  // namespace ostler
