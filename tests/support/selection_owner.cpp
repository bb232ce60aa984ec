// An owner of CLIPBOARD that answers, or does not, as its argument says.
// Prints "ready" once it owns the selection, then the target of each request;
// ends with its input.
//   selection_owner text TEXT      stores TEXT, of type UTF8_STRING
//   selection_owner latin1 TEXT    the same, of type STRING whatever was asked
//   selection_owner numbers TEXT   the character codes as items of 32 bits
//   selection_owner big BYTES      a to z over and over, appended in pieces
//   selection_owner incr BYTES     announces an incremental transfer, as ICCCM says
//   selection_owner forgetful      answers, without having stored anything
//   selection_owner refuse         silent         dies

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <poll.h>
#include <unistd.h>

namespace {

void store(Display* display, const XSelectionRequestEvent& request, const std::string& mode,
           const std::string& value) {
  const auto change = [&](Atom type, int format, int propertyMode, const void* data, std::size_t count) {
    XChangeProperty(display, request.requestor, request.property, type, format, propertyMode,
                    static_cast<const unsigned char*>(data), static_cast<int>(count));
  };
  if (mode == "text") change(request.target, 8, PropModeReplace, value.data(), value.size());
  if (mode == "latin1") change(XA_STRING, 8, PropModeReplace, value.data(), value.size());
  if (mode == "numbers") {
    const std::vector<long> items(value.begin(), value.end());
    change(XA_INTEGER, 32, PropModeReplace, items.data(), items.size());
  }
  if (mode == "incr") {
    const long announced = std::atol(value.c_str());
    change(XInternAtom(display, "INCR", False), 32, PropModeReplace, &announced, 1);
  }
  if (mode == "big") {
    constexpr std::size_t pieceSize = 26 * 4096;
    std::string piece(pieceSize, ' ');
    for (std::size_t i = 0; i < piece.size(); ++i) piece[i] = static_cast<char>('a' + i % 26);
    const std::size_t total = std::strtoul(value.c_str(), nullptr, 10);
    for (std::size_t done = 0; done < total; done += pieceSize) {
      change(request.target, 8, PropModeAppend, piece.data(), std::min(pieceSize, total - done));
    }
  }
}

void answer(Display* display, const XSelectionRequestEvent& request, const std::string& mode,
            const std::string& value) {
  char* target = XGetAtomName(display, request.target);
  std::puts(target);
  XFree(target);
  if (mode == "dies") std::_Exit(0);
  if (mode == "silent") return;
  store(display, request, mode, value);
  XEvent event{};
  event.xselection.type = SelectionNotify;
  event.xselection.requestor = request.requestor;
  event.xselection.selection = request.selection;
  event.xselection.target = request.target;
  event.xselection.property = mode == "refuse" ? None : request.property;
  event.xselection.time = request.time;
  XSendEvent(display, request.requestor, False, NoEventMask, &event);
  XFlush(display);
}

}  // namespace

int main(int count, char** arguments) {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr || count < 2) return 1;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  XSetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False), window, CurrentTime);
  XSync(display, False);
  std::puts("ready");
  for (;;) {
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (event.type == SelectionRequest) {
        answer(display, event.xselectionrequest, arguments[1], count > 2 ? arguments[2] : "");
      }
    }
    pollfd sources[] = {{ConnectionNumber(display), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    poll(sources, 2, -1);
    if (sources[1].revents != 0) return 0;
  }
}
