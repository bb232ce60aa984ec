#include "wayland/wayland_backend.h"

#include <chrono>

#include "wayland/factory.h"

namespace ostler {

WaylandBackend::WaylandBackend() : eis(portal.connection.get(), portal.sessionHandle) {
  if (portal.logicalSize) capture.setLogicalSize(*portal.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), portal.nodeId, capture);
  capture.waitForFirstFrame(std::chrono::seconds(15));
}

std::unique_ptr<Backend> makeWaylandBackend() {
  initialisePipeWire();
  return std::make_unique<WaylandBackend>();
}

}  // namespace ostler
