#include <chrono>
#include <string>

#include "base/sleep.h"
#include "x11/clipboard.h"
#include "x11/error_trap.h"
#include "x11/xlib_handles.h"

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;

// Limits the wait for an event. Each pass handles one event or pauses once.
struct WaitBudget {
  int passes;
  std::chrono::milliseconds pause;
};
constexpr WaitBudget budgetForAnswer{200, std::chrono::milliseconds(10)};
constexpr WaitBudget budgetForPiece{2000, std::chrono::milliseconds(1)};

// An owner that sends a small piece now and then would otherwise block the host for minutes.
constexpr std::chrono::seconds limitForAll{5};

constexpr std::size_t longestText = 4 << 20;

struct Property {
  Atom type = None;
  std::string text;
  bool complete = false;
};

// Owns the window that requests the selection. Its connection has no other use, so every event on
// it concerns the request.
class Requestor {
public:
  Requestor(Display* display, Atom answerProperty)
      : xDisplay(display),
        window(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)),
        property(answerProperty) {}
  Requestor(const Requestor&) = delete;
  Requestor& operator=(const Requestor&) = delete;
  ~Requestor() { XDestroyWindow(xDisplay, window); }

  // Returns whether the owner reports within 2 s that it has stored the text in the property.
  bool ask(Atom selection, Atom target) const {
    XConvertSelection(xDisplay, selection, target, property, window, CurrentTime);
    XFlush(xDisplay);
    Atom answer = None;
    waitFor(budgetForAnswer, [&](const XEvent& event) {
      if (event.type != SelectionNotify) return false;
      answer = event.xselection.property;
      return true;
    });
    return answer != None;
  }

  // Returns the text that the owner stored, whatever its type, one byte for each item. A text that
  // does not come in pieces is cut at longestText.
  std::string take() const {
    const Property answer = read();
    const bool inPieces = answer.type == XInternAtom(xDisplay, "INCR", False);
    if (inPieces) XSelectInput(xDisplay, window, PropertyChangeMask);
    XDeleteProperty(xDisplay, window, property);
    return inPieces ? takePieces() : answer.text;
  }

private:
  // Each time the property is deleted, the owner stores the next piece; an empty piece ends the
  // text. Returns an empty text when the owner stops before that, when limitForAll is over, or when
  // the text is too long.
  std::string takePieces() const {
    std::string text;
    for (;;) {
      Property piece;
      const bool arrived = waitFor(budgetForPiece, [&](const XEvent& event) {
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

  // Reads events until `accept` returns true for one. Returns false when the budget or limitForAll
  // is used up.
  template <typename Accept>
  bool waitFor(WaitBudget budget, Accept accept) const {
    for (int passes = 0; passes < budget.passes && Clock::now() < deadline; ++passes) {
      if (XPending(xDisplay) > 0) {
        XEvent event;
        XNextEvent(xDisplay, &event);
        if (accept(event)) return true;
      } else {
        sleepFor(budget.pause);
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
  const Clock::time_point deadline = Clock::now() + limitForAll;
};

}  // namespace

std::string readClipboard() {
  const DisplayConnection connection(XOpenDisplay(nullptr));
  if (connection == nullptr) return {};
  Display* const display = connection.get();
  const Atom clipboard = XInternAtom(display, "CLIPBOARD", False);
  const Atom utf8 = XInternAtom(display, "UTF8_STRING", False);
  const Atom property = XInternAtom(display, "XSEL_DATA", False);
  if (XGetSelectionOwner(display, clipboard) == None) return {};

  // Another client may destroy the requestor's window.
  const ErrorTrap trap(display);
  const Requestor requestor(display, property);
  return requestor.ask(clipboard, utf8) ? requestor.take() : std::string();
}

}  // namespace ostler
