#include "driver/selection.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "backend/unsupported_backend.h"
#include "driver/session.h"
#include "wayland/factory.h"
#include "x11/factory.h"

namespace ostler {
namespace {

std::unique_ptr<Backend> selectBackend() {
  const std::string kind = detectSessionKind();
  if (kind == "wayland") return makeWaylandBackend();
  if (kind == "unknown" && std::getenv("DISPLAY") == nullptr) {
    return makeUnsupportedBackend(
        "No graphical Linux session detected. Start an X11 or Wayland desktop session first.");
  }
  // An X server beside a Wayland compositor is Xwayland. Input sent there would reach
  // only X11 programs.
  if (waylandSocketPresent()) return makeWaylandBackend();
  return makeX11Backend();
}

// Whether this thread is building the backend.
thread_local bool isBuilding = false;

class BuildingMark {
public:
  BuildingMark() { isBuilding = true; }
  BuildingMark(const BuildingMark&) = delete;
  BuildingMark& operator=(const BuildingMark&) = delete;
  ~BuildingMark() { isBuilding = false; }
};

}  // namespace

// While the portal's dialog is open, the host's GLib sources run on this thread. A source
// that calls the addon would enter the initialisation of the static again and hang, so
// its call throws. A call on another thread waits until the initialisation has ended.
Backend& backendInstance() {
  if (isBuilding) {
    throw std::runtime_error("A call on the desktop is already waiting for the portal's dialog.");
  }
  static const std::unique_ptr<Backend> backend = [] {
    const BuildingMark mark;
    return selectBackend();
  }();
  return *backend;
}

}  // namespace ostler
