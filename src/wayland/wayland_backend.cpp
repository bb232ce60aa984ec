#include "wayland/wayland_backend.h"

#include <chrono>

#include "wayland/lazy/load.h"

namespace ostler {

using namespace std::chrono_literals;

WaylandBackend::WaylandBackend()
    :  // A portal that has handed out the socket takes no other input, so it is not
       // asked for a socket that cannot be used.
      eis(isLibeiLoaded() ? portalInput.connectToEis() : FileDescriptor()) {
  if (portal.logicalSize) capture.setLogicalSize(*portal.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), portal.nodeId, capture);
  waitForFirstFrame();
}

// KDE Plasma 6.3 sends one frame when the stream starts and none while the screen
// is still. PipeWire 0.3.65 misses it in 3 to 7 % of sessions, here and, seen
// once, on GNOME 48.
void WaylandBackend::waitForFirstFrame() {
  const auto start = std::chrono::steady_clock::now();
  for (const std::chrono::milliseconds lost : {700ms, 2000ms}) {
    if (!capture.waitForNews(start + lost)) stream->restart();
  }
  capture.waitForFirstFrame(start + 15s);
}

void WaylandBackend::requireSession() { portal.requireOpen(); }

}  // namespace ostler
