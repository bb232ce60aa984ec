#include <chrono>
#include <string>

#include "backend/waits.h"
#include "driver/driver.h"
#include "x11/error_trap.h"
#include "x11/xlib_handles.h"

namespace ostler {
namespace {

// How often the connection is looked at for an event, and the wait in between.
struct Patience {
  int passes;
  std::chrono::milliseconds pause;
};
constexpr Patience forAnswer{200, std::chrono::milliseconds(10)};
constexpr Patience forPiece{2000, std::chrono::milliseconds(1)};

constexpr std::size_t longestText = 4 << 20;

struct Property {
  Atom type = None;
  std::string text;
  bool complete = false;
};

// The window that asks for the selection. It lives on a connection of its own,
// so the answer cannot get between other events.
class Requestor {
public:
  Requestor(Display* display, Atom answerProperty)
      : xDisplay(display),
        window(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)),
        property(answerProperty) {}
  Requestor(const Requestor&) = delete;
  Requestor& operator=(const Requestor&) = delete;
  ~Requestor() { XDestroyWindow(xDisplay, window); }

  // Whether the owner says within 2 s that the property holds the answer.
  bool ask(Atom selection, Atom target) const {
    XConvertSelection(xDisplay, selection, target, property, window, CurrentTime);
    XFlush(xDisplay);
    Atom answer = None;
    waitFor(forAnswer, [&](const XEvent& event) {
      if (event.type != SelectionNotify) return false;
      answer = event.xselection.property;
      return true;
    });
    return answer != None;
  }

  // Whatever the owner stored counts as text, one byte for each item. A text that
  // is too long is cut.
  std::string take() const {
    const Property answer = read();
    const bool inPieces = answer.type == XInternAtom(xDisplay, "INCR", False);
    if (inPieces) XSelectInput(xDisplay, window, PropertyChangeMask);
    XDeleteProperty(xDisplay, window, property);
    return inPieces ? takePieces() : answer.text;
  }

private:
  // The owner stores the next piece whenever the property has been deleted; an
  // empty one is the last. An empty text when it stops before, or exceeds the
  // longest text.
  std::string takePieces() const {
    std::string text;
    for (;;) {
      Property piece;
      const bool arrived = waitFor(forPiece, [&](const XEvent& event) {
        if (event.type != PropertyNotify || event.xproperty.state != PropertyNewValue) return false;
        piece = read();
        return piece.type != None;
      });
      if (!arrived || !piece.complete || text.size() + piece.text.size() > longestText) return {};
      XDeleteProperty(xDisplay, window, property);
      if (piece.text.empty()) return text;
      text += piece.text;
    }
  }

  // Whether an event arrived that `accept` returned true for.
  template <typename Accept>
  bool waitFor(Patience patience, Accept accept) const {
    for (int passes = 0; passes < patience.passes; ++passes) {
      if (XPending(xDisplay) > 0) {
        XEvent event;
        XNextEvent(xDisplay, &event);
        if (accept(event)) return true;
      } else {
        sleepFor(patience.pause);
      }
    }
    return false;
  }

  Property read() const {
    Property result;
    int format = 0;
    unsigned long itemCount = 0, bytesLeft = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(xDisplay, window, property, 0, longestText / 4, False, AnyPropertyType, &result.type,
                       &format, &itemCount, &bytesLeft, &data);
    const XData<unsigned char> owner(data);
    if (data != nullptr) result.text.assign(reinterpret_cast<const char*>(data), itemCount);
    result.complete = bytesLeft == 0;
    return result;
  }

  Display* const xDisplay;
  const Window window;
  const Atom property;
};

}  // namespace
}  // namespace ostler

std::string driverGetClipboard() {
  const ostler::DisplayConnection connection(XOpenDisplay(nullptr));
  if (connection == nullptr) return {};
  Display* const display = connection.get();
  const Atom clipboard = XInternAtom(display, "CLIPBOARD", False);
  const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
  const Atom property = XInternAtom(display, "XSEL_DATA", False);
  if (XGetSelectionOwner(display, clipboard) == None) return {};

  // Another client may destroy the requestor's window.
  const ostler::ErrorTrap trap(display);
  const ostler::Requestor requestor(display, property);
  return requestor.ask(clipboard, utf8) ? requestor.take() : std::string();
}
