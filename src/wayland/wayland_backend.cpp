#include "wayland/wayland_backend.h"

#include <chrono>

namespace ostler {

WaylandBackend::WaylandBackend() : eis(portal.connection.get(), portal.sessionHandle) {
  if (portal.logicalSize) capture.setLogicalSize(*portal.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), portal.nodeId, capture);
  capture.waitForFirstFrame(std::chrono::seconds(15));
}

}  // namespace ostler
