#include "x11/x11_backend.h"

#include <stdexcept>

#include <X11/extensions/XTest.h>

#include "x11/factory.h"

namespace ostler {
namespace {

DisplayConnection openWithXTest() {
  DisplayConnection connection(XOpenDisplay(nullptr));
  if (connection == nullptr) {
    throw std::runtime_error(
        "Unable to open the X11 display. Ensure DISPLAY is set and an X11 session is available.");
  }
  int eventBase = 0, errorBase = 0, major = 0, minor = 0;
  if (XTestQueryExtension(connection.get(), &eventBase, &errorBase, &major, &minor) == False) {
    throw std::runtime_error("X11 XTest extension is not available on this display server.");
  }
  return connection;
}

}  // namespace

X11Backend::X11Backend()
    : connection(openWithXTest()),
      xDisplay(connection.get()),
      rootWindow(RootWindow(xDisplay, DefaultScreen(xDisplay))) {}

std::unique_ptr<Backend> makeX11Backend() { return std::make_unique<X11Backend>(); }

}  // namespace ostler
