#include "driver/selection.h"

#include <memory>
#include <stdexcept>

#include "backend/unsupported_backend.h"
#include "driver/session.h"
#include "wayland/factory.h"
#include "x11/factory.h"

namespace ostler {
namespace {

std::unique_ptr<Backend> selectBackend() {
  switch (chooseBackend()) {
    case BackendKind::wayland:
      return makeWaylandBackend();
    case BackendKind::x11:
      return makeX11Backend();
    case BackendKind::none:
      break;
  }
  return makeUnsupportedBackend(noSessionMessage);
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

// While the portal's dialog is open, the host's GLib sources run on this thread. A source that
// calls the addon would enter the initialisation of the static again and hang, so its call throws.
// A call on another thread waits until the initialisation has ended.
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
