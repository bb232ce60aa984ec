// An owner of CLIPBOARD that prints "ready" once it is, and answers each
// request as it is told:
//   selection_owner TYPE FORMAT COUNT   with COUNT items of FORMAT bits, a to z over and over
//   selection_owner refuse              silent: not at all; dies: by ending; destroys: with the end
//                                       of the window that asked

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {

template <typename Item>
void store(Display* display, const XSelectionRequestEvent& request, Atom type, int count) {
  constexpr int format = sizeof(Item) == 1 ? 8 : 32;
  std::vector<Item> items(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = static_cast<Item>('a' + i % 26);
  XChangeProperty(display, request.requestor, request.property, type, format, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(items.data()), count);
}

}  // namespace

int main(int count, char** arguments) {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr || count < 2) return 1;
  const std::string answer = arguments[1];
  Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  XSetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False), window, CurrentTime);
  XSync(display, False);
  std::puts("ready");
  std::fflush(stdout);
  for (XEvent event;;) {
    XNextEvent(display, &event);
    if (event.type == SelectionClear || (event.type == SelectionRequest && answer == "dies")) break;
    if (event.type != SelectionRequest || answer == "silent") continue;
    const XSelectionRequestEvent& request = event.xselectionrequest;
    XEvent notice{};
    notice.xselection = {
        SelectionNotify,  0,           True, display, request.requestor, request.selection, request.target,
        request.property, request.time};
    if (answer == "refuse") {
      notice.xselection.property = None;
    } else if (answer != "destroys") {
      const Atom type = XInternAtom(display, arguments[1], False);
      const int items = std::atoi(arguments[3]);
      std::atoi(arguments[2]) == 8 ? store<char>(display, request, type, items)
                                   : store<long>(display, request, type, items);
    }
    XSendEvent(display, request.requestor, False, 0, &notice);
    if (answer == "destroys") XDestroyWindow(display, request.requestor);
    XFlush(display);
  }
  XCloseDisplay(display);
  return 0;
}
