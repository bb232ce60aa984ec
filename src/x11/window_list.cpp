#include "x11/window_list.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include <X11/Xatom.h>

#include "backend/interruption.h"
#include "base/sleep.h"
#include "x11/error_trap.h"
#include "x11/xlib_handles.h"

namespace ostler {
namespace {

Atom atom(Display* display, const char* name) { return XInternAtom(display, name, False); }

// Returns the bytes of a property. Xlib stores each item of 32 bits in a long.
std::string readProperty(Display* display, Window window, Atom property, Atom type) {
  constexpr long most = 1 << 16;  // in units of four bytes
  Atom foundType = None;
  int format = 0;
  unsigned long items = 0, left = 0;
  unsigned char* data = nullptr;
  const int status = XGetWindowProperty(display, window, property, 0, most, False, type, &foundType, &format,
                                        &items, &left, &data);
  const XData<unsigned char> owner(data);
  if (status != Success || data == nullptr || (type != AnyPropertyType && foundType != type)) return {};
  const std::size_t size = format == 32 ? sizeof(long) : static_cast<std::size_t>(format) / 8;
  return {reinterpret_cast<const char*>(data), items * size};
}

std::vector<unsigned long> readNumbers(Display* display, Window window, const char* name, Atom type) {
  const std::string bytes = readProperty(display, window, atom(display, name), type);
  std::vector<unsigned long> numbers(bytes.size() / sizeof(unsigned long));
  std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(unsigned long));
  return numbers;
}

std::optional<std::int32_t> readNumber(Display* display, Window window, const char* name) {
  const auto numbers = readNumbers(display, window, name, XA_CARDINAL);
  return numbers.empty() ? std::nullopt : std::optional(static_cast<std::int32_t>(numbers.front()));
}

Window activeWindow(Display* display) {
  const auto windows = readNumbers(display, DefaultRootWindow(display), "_NET_ACTIVE_WINDOW", XA_WINDOW);
  return windows.empty() ? None : windows.front();
}

// A window manager that has ended leaves its properties behind; the window that they name is gone.
std::vector<Window> clientWindows(Display* display) {
  const Window root = DefaultRootWindow(display);
  const auto check = readNumbers(display, root, "_NET_SUPPORTING_WM_CHECK", XA_WINDOW);
  const bool isRunning =
      !check.empty() && readNumbers(display, check.front(), "_NET_SUPPORTING_WM_CHECK", XA_WINDOW) == check;
  if (!isRunning) {
    throw std::runtime_error("This X server has no window manager that lists the windows (EWMH).");
  }
  const auto windows = readNumbers(display, root, "_NET_CLIENT_LIST_STACKING", XA_WINDOW);
  return !windows.empty() ? windows : readNumbers(display, root, "_NET_CLIENT_LIST", XA_WINDOW);
}

std::string titleOf(Display* display, Window window) {
  std::string title =
      readProperty(display, window, atom(display, "_NET_WM_NAME"), atom(display, "UTF8_STRING"));
  if (!title.empty()) return title;
  XTextProperty text{};
  if (XGetWMName(display, window, &text) == 0) return {};
  const XData<unsigned char> owner(text.value);
  char** list = nullptr;
  int count = 0;
  if (Xutf8TextPropertyToTextList(display, &text, &list, &count) < Success || list == nullptr) return {};
  std::string first = count > 0 ? list[0] : "";
  XFreeStringList(list);
  return first;
}

// WM_CLASS has two texts, each with a NUL at its end: the instance and the class.
std::string classOf(Display* display, Window window) {
  const std::string both = readProperty(display, window, XA_WM_CLASS, XA_STRING);
  const std::size_t end = both.find('\0');
  return end == std::string::npos ? both : std::string(both.c_str() + end + 1);
}

DesktopWindow describe(Display* display, Window window) {
  DesktopWindow result;
  result.id = static_cast<std::uint32_t>(window);
  result.title = titleOf(display, window);
  result.className = classOf(display, window);
  result.pid = readNumber(display, window, "_NET_WM_PID");
  result.desktop = readNumber(display, window, "_NET_WM_DESKTOP");
  Window root = None, child = None;
  int x = 0, y = 0;
  unsigned width = 0, height = 0, border = 0, depth = 0;
  XGetGeometry(display, window, &root, &x, &y, &width, &height, &border, &depth);
  XTranslateCoordinates(display, window, DefaultRootWindow(display), 0, 0, &x, &y, &child);
  result.bounds = {x, y, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
  return result;
}

}  // namespace

std::vector<DesktopWindow> listWindows(Display* display) {
  const Window active = activeWindow(display);
  std::vector<DesktopWindow> windows;
  // A window can disappear at any time.
  const ErrorTrap listTrap(display);
  for (const Window window : clientWindows(display)) {
    const ErrorTrap trap(display);
    DesktopWindow described = describe(display, window);
    if (trap.caught()) continue;
    described.isActive = window == active;
    windows.push_back(std::move(described));
  }
  return windows;
}

void activateWindow(Display* display, std::uint32_t id) {
  const ErrorTrap trap(display);
  const std::vector<Window> windows = clientWindows(display);
  if (std::find(windows.begin(), windows.end(), id) == windows.end()) {
    throw std::runtime_error("There is no window with the id " + std::to_string(id) + ".");
  }
  constexpr long fromPager = 2;  // a request of the user, which no focus stealing prevention refuses
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = id;
  event.xclient.message_type = atom(display, "_NET_ACTIVE_WINDOW");
  event.xclient.format = 32;
  event.xclient.data.l[0] = fromPager;
  event.xclient.data.l[1] = CurrentTime;
  XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask,
             &event);

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  while (activeWindow(display) != id) {
    throwIfInterrupted();
    if (std::chrono::steady_clock::now() > deadline) {
      throw std::runtime_error("The window manager did not activate the window within a second.");
    }
    sleepFor(std::chrono::milliseconds(5));
  }
}

}  // namespace ostler
