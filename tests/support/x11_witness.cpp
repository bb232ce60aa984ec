// Another client of the X server: a window over the whole screen, painted in
// bars of known colours, that prints every input event it gets as a line of
// JSON. A line on its input makes it print {"kind":"synced"} once all that the
// server had for it by then is out. A key's "age" is how many milliseconds after
// the server had sent it its symbol had been looked up.
//   x11_witness fill    first makes every keycode without a symbol a multimedia key, and takes Page Up's away
//   x11_witness state   prints the keyboard map, the keys and buttons that are down

#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>

#include <X11/XF86keysym.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <poll.h>
#include <unistd.h>

namespace {

// As toolkits do: the character is in the keysym.
unsigned long codePointOf(KeySym keysym) {
  if ((keysym & 0xFF000000) == 0x01000000) return keysym & 0x00FFFFFF;
  if (keysym >= 0x20 && keysym <= 0xFF) return keysym;
  if (keysym == XK_Return || keysym == XK_Tab || keysym == XK_BackSpace) return keysym & 0x7F;
  return 0;
}

void printState(Display* display) {
  int first = 0, last = 0, columns = 0;
  XDisplayKeycodes(display, &first, &last);
  KeySym* map = XGetKeyboardMapping(display, static_cast<KeyCode>(first), last - first + 1, &columns);
  std::printf("{\"columns\":%d,\"map\":\"", columns);
  for (int i = 0; i < (last - first + 1) * columns; ++i) std::printf("%lx ", map[i]);
  XFree(map);
  char keys[32];
  XQueryKeymap(display, keys);
  std::printf("\",\"keysDown\":[");
  const char* separator = "";
  for (int key = 0; key < 256; ++key) {
    if ((keys[key / 8] >> (key % 8) & 1) == 0) continue;
    std::printf("%s%d", separator, key);
    separator = ",";
  }
  Window root, child;
  int rootX, rootY, x, y;
  unsigned mask = 0;
  XQueryPointer(display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &x, &y, &mask);
  std::printf("],\"buttonsDown\":%u}\n", mask >> 8 & 31);
}

void fillKeyboardMap(Display* display) {
  int first = 0, last = 0, columns = 0;
  XDisplayKeycodes(display, &first, &last);
  KeySym* map = XGetKeyboardMapping(display, static_cast<KeyCode>(first), last - first + 1, &columns);
  for (int i = 0; i < (last - first + 1) * columns; ++i) {
    if (map[i] == XK_Page_Up || (map[i] == NoSymbol && i % columns == 0)) map[i] = XF86XK_AudioMute;
  }
  XChangeKeyboardMapping(display, first, columns, map, last - first + 1);
  XFree(map);
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

// The X server of the tests takes its times from this clock.
unsigned ageOf(Time time) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<unsigned>(now.tv_sec) * 1000 + static_cast<unsigned>(now.tv_nsec / 1000000) -
         static_cast<unsigned>(time);
}

void printEvent(XEvent& event) {
  if (event.type == MappingNotify) {
    XRefreshKeyboardMapping(&event.xmapping);
  } else if (event.type == KeyPress || event.type == KeyRelease) {
    char text[32];
    KeySym keysym = NoSymbol;
    XLookupString(&event.xkey, text, sizeof text, &keysym, nullptr);
    std::printf("{\"kind\":\"key\",\"down\":%d,\"keysym\":%lu,\"codePoint\":%lu,\"age\":%u}\n",
                event.type == KeyPress, keysym, codePointOf(keysym), ageOf(event.xkey.time));
  } else if (event.type == ButtonPress || event.type == ButtonRelease) {
    std::printf("{\"kind\":\"button\",\"down\":%d,\"button\":%u,\"x\":%d,\"y\":%d,\"t\":%lu}\n",
                event.type == ButtonPress, event.xbutton.button, event.xbutton.x_root, event.xbutton.y_root,
                event.xbutton.time);
  } else if (event.type == MotionNotify) {
    std::printf("{\"kind\":\"motion\",\"x\":%d,\"y\":%d}\n", event.xmotion.x_root, event.xmotion.y_root);
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
  if (count > 1 && std::strcmp(arguments[1], "fill") == 0) fillKeyboardMap(display);
  const int width = DisplayWidth(display, DefaultScreen(display));
  const int height = DisplayHeight(display, DefaultScreen(display));
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  attributes.event_mask =
      KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask | ExposureMask;
  Window window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                                static_cast<unsigned>(height), 0, CopyFromParent, InputOutput, CopyFromParent,
                                CWOverrideRedirect | CWEventMask, &attributes);
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
