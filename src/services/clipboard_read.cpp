#include <chrono>
#include <optional>

#include "driver/driver.h"
#include "driver/sleep.h"
#include "x11/xlib_handles.h"

namespace ostler {
namespace {

constexpr int waitPasses = 200;
constexpr std::chrono::milliseconds pass{10};
// In units of 32 bits: 4 MiB.
constexpr long longestText = 0x100000;

// The window that asks for the selection. It lives on a connection of its own,
// so the answer cannot get between other events.
class Requestor {
public:
  explicit Requestor(Display* display)
      : xDisplay(display),
        window(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)) {}
  Requestor(const Requestor&) = delete;
  Requestor& operator=(const Requestor&) = delete;
  ~Requestor() { XDestroyWindow(xDisplay, window); }

  // The property that holds the answer, None when the owner refused, nothing
  // when it kept silent.
  std::optional<Atom> ask(Atom selection, Atom target, Atom property) const {
    XConvertSelection(xDisplay, selection, target, property, window, CurrentTime);
    XFlush(xDisplay);
    for (int passes = 0; passes < waitPasses; ++passes) {
      if (XPending(xDisplay) > 0) {
        XEvent event;
        XNextEvent(xDisplay, &event);
        if (event.type == SelectionNotify) return event.xselection.property;
      } else {
        sleepFor(pass);
      }
    }
    return std::nullopt;
  }

  // Whatever the owner stored counts as text, one byte for each item; the first
  // piece only, where it answers in pieces.
  std::string take(Atom property) const {
    Atom type = None;
    int format = 0;
    unsigned long itemCount = 0, bytesLeft = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(xDisplay, window, property, 0, longestText, False, AnyPropertyType, &type, &format,
                       &itemCount, &bytesLeft, &data);
    const XData<unsigned char> owner(data);
    std::string text;
    if (data != nullptr) text.assign(reinterpret_cast<const char*>(data), itemCount);
    XDeleteProperty(xDisplay, window, property);
    return text;
  }

private:
  Display* const xDisplay;
  const Window window;
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

  const ostler::Requestor requestor(display);
  if (requestor.ask(clipboard, utf8, property).value_or(None) == None) return {};
  return requestor.take(property);
}
