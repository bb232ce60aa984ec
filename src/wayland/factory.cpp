#include "wayland/factory.h"

#include "wayland/lazy/load.h"
#include "wayland/wayland_backend.h"

namespace ostler {

std::unique_ptr<Backend> makeWaylandBackend() {
  loadWaylandLibraries();
  initialisePipeWire();
  return std::make_unique<WaylandBackend>();
}

}  // namespace ostler
