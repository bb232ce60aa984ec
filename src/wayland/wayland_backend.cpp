#include "wayland/wayland_backend.h"

#include <chrono>

#include "wayland/lazy/load.h"

namespace ostler {

WaylandBackend::WaylandBackend()
    :  // A portal that has handed out the socket takes no other input, so it is not
       // asked for a socket that cannot be used.
      eis(isLibeiLoaded() ? portalInput.connectToEis() : FileDescriptor()) {
  if (portal.logicalSize) capture.setLogicalSize(*portal.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), portal.nodeId, capture);
  capture.waitForFirstFrame(std::chrono::seconds(15));
}

void WaylandBackend::requireSession() { portal.requireOpen(); }

}  // namespace ostler
