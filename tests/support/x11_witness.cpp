// A second client of the X server. Its window covers the screen with bars of known colours, and it
// prints every input event as a line of JSON. After a line on stdin it prints the remaining events
// that the server has sent, and then {"kind":"synced"}. The "age" of a key is the time in
// milliseconds between the server's event and the lookup of its keysym.
//   x11_witness state   only prints which buttons and keys are down
//   x11_witness owner ANSWER...   owns CLIPBOARD instead, and answers each request:
//     TYPE LENGTH   with a text of that type and length, which repeats a to z
//     refuse 0      with a refusal
//     ignore 0      never
//     drip PAUSE    with one byte after each pause, in milliseconds, without end
//     die 0         by exiting
//     destroy 0     by destroying the window that sent the request

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>
#include <string>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <poll.h>
#include <unistd.h>

namespace {

// Returns the character of a keysym, as toolkits compute it, or 0.
unsigned long codePointOf(KeySym keysym) {
  if ((keysym & 0xFF000000) == 0x01000000) return keysym & 0x00FFFFFF;
  if (keysym >= 0x20 && keysym <= 0xFF) return keysym;
  if (keysym == XK_Return || keysym == XK_Tab || keysym == XK_BackSpace) return keysym & 0x7F;
  return 0;
}

// Prints the buttons as a number, then the keys with one bit each.
void printState(Display* display) {
  char keys[32];
  XQueryKeymap(display, keys);
  Window root, child;
  int rootX, rootY, x, y;
  unsigned mask = 0;
  XQueryPointer(display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &x, &y, &mask);
  std::printf("%u ", mask >> 8 & 31);
  for (const char byte : keys) std::printf("%02x", static_cast<unsigned char>(byte));
}

void paintBars(Display* display, Window window, int width, int height) {
  constexpr unsigned colours[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00,
                                  0x00FFFF, 0x848484, 0xFFFFFF, 0x000000};
  GC gc = XCreateGC(display, window, 0, nullptr);
  for (std::size_t i = 0; i < std::size(colours); ++i) {
    XColor colour{};
    colour.red = static_cast<unsigned short>((colours[i] >> 16) * 0x101);
    colour.green = static_cast<unsigned short>((colours[i] >> 8 & 0xFF) * 0x101);
    colour.blue = static_cast<unsigned short>((colours[i] & 0xFF) * 0x101);
    XAllocColor(display, DefaultColormap(display, DefaultScreen(display)), &colour);
    XSetForeground(display, gc, colour.pixel);
    XFillRectangle(display, window, gc, width * static_cast<int>(i) / 8, 0, static_cast<unsigned>(width) / 8,
                   static_cast<unsigned>(height));
  }
  XFreeGC(display, gc);
}

// Xvfb takes its timestamps from this clock.
unsigned ageOf(Time time) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<unsigned>(now.tv_sec) * 1000 + static_cast<unsigned>(now.tv_nsec / 1000000) -
         static_cast<unsigned>(time);
}

void printEvent(XEvent& event) {
  if (event.type == MappingNotify) XRefreshKeyboardMapping(&event.xmapping);
  if (event.type < KeyPress || event.type > MotionNotify) return;
  KeySym keysym = NoSymbol;
  char text[32];
  if (event.type <= KeyRelease) XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
  const char* const kinds[] = {"key", "key", "button", "button", "motion"};
  // Key and motion events have these fields at the same offsets.
  const XButtonEvent& input = event.xbutton;
  std::printf("{\"kind\":\"%s\",\"down\":%d,\"keysym\":%lu,\"codePoint\":%lu,\"button\":%u,",
              kinds[event.type - KeyPress], event.type == KeyPress || event.type == ButtonPress, keysym,
              codePointOf(keysym), input.button);
  std::printf("\"x\":%d,\"y\":%d,\"t\":%lu,\"age\":%u}\n", input.x_root, input.y_root, input.time,
              ageOf(input.time));
}

void ownClipboard(Display* display, char** answer) {
  const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
  XSetSelectionOwner(display, XInternAtom(display, "CLIPBOARD", False), window, CurrentTime);
  XSync(display, False);
  std::printf("{\"kind\":\"ready\"}\n");
  const std::string kind = answer[0];
  // The window of a request may be gone.
  XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  std::string text;
  for (int i = 0; i < std::atoi(answer[1]); ++i) text += static_cast<char>('a' + i % 26);
  for (XEvent event;;) {
    XNextEvent(display, &event);
    if (event.type != SelectionRequest || kind == "ignore") continue;
    if (kind == "die") return;
    const XSelectionRequestEvent& request = event.xselectionrequest;
    if (kind == "destroy") XDestroyWindow(display, request.requestor);
    XEvent notice{};
    notice.xselection = {
        SelectionNotify,  0,           True, display, request.requestor, request.selection, request.target,
        request.property, request.time};
    if (kind == "refuse") notice.xselection.property = None;
    const auto store = [&](const char* type, std::size_t size) {
      XChangeProperty(display, request.requestor, request.property, XInternAtom(display, type, False), 8,
                      PropModeReplace, reinterpret_cast<const unsigned char*>(text.data()),
                      static_cast<int>(size));
    };
    store(kind == "drip" ? "INCR" : answer[0], text.size());
    XSendEvent(display, request.requestor, False, 0, &notice);
    XFlush(display);
    while (kind == "drip") {
      usleep(static_cast<unsigned>(std::atoi(answer[1])) * 1000);
      store("UTF8_STRING", 1);
      XFlush(display);
    }
  }
}

}  // namespace

int main(int count, char** arguments) {
  const std::unique_ptr<Display, decltype(&XCloseDisplay)> connection(XOpenDisplay(nullptr), XCloseDisplay);
  Display* const display = connection.get();
  if (display == nullptr) return 1;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  if (count > 1 && std::strcmp(arguments[1], "state") == 0) {
    printState(display);
    return 0;
  }
  if (count > 3 && std::strcmp(arguments[1], "owner") == 0) {
    ownClipboard(display, arguments + 2);
    return 0;
  }
  const int width = DisplayWidth(display, DefaultScreen(display));
  const int height = DisplayHeight(display, DefaultScreen(display));
  const Window window =
      XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                          static_cast<unsigned>(height), 0, 0, 0);
  XSelectInput(
      display, window,
      KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | ExposureMask);
  XMapRaised(display, window);
  XEvent exposed;
  XWindowEvent(display, window, ExposureMask, &exposed);
  paintBars(display, window, width, height);
  XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
  XSync(display, False);
  std::printf("{\"kind\":\"ready\"}\n");
  const auto printNextEvent = [display] {
    XEvent event;
    XNextEvent(display, &event);
    printEvent(event);
  };
  for (;;) {
    while (XPending(display) > 0) printNextEvent();
    pollfd sources[] = {{ConnectionNumber(display), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    poll(sources, 2, -1);
    if ((sources[1].revents & (POLLIN | POLLHUP)) == 0) continue;
    char line[64];
    if (read(STDIN_FILENO, line, sizeof line) <= 0) return 0;
    XSync(display, False);
    for (int queued = XEventsQueued(display, QueuedAlready); queued > 0; --queued) printNextEvent();
    std::printf("{\"kind\":\"synced\"}\n");
  }
}
