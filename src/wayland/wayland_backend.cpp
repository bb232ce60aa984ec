#include "wayland/wayland_backend.h"

#include <chrono>
#include <stdexcept>
#include <string>

#include "wayland/lazy/load.h"
#include "wayland/portal/active_layout.h"
#include "wayland/portal/portal_call.h"

namespace ostler {
namespace {

const char* nameOf(InputKind kind) {
  switch (kind) {
    case InputKind::pointer:
      return "pointer";
    case InputKind::button:
      return "button";
    case InputKind::scroll:
      return "scroll";
    case InputKind::keyboard:
      break;
  }
  return "keyboard";
}

}  // namespace

WaylandBackend::WaylandBackend()
    :  // A portal that has handed out the socket takes no other input, so it is not
       // asked for a socket that cannot be used.
      eis(isLibeiLoaded() ? portalInput.connectToEis() : FileDescriptor(), portal.streamPlace,
          [this] { return activeLayoutGroup(portal.connection.get()); }) {
  if (portal.logicalSize) capture.setLogicalSize(*portal.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), portal.nodeId, capture);
  capture.waitForFirstFrame(std::chrono::seconds(15));
}

void WaylandBackend::requireSession() {
  eis.readChannel();
  if (eis.isDisconnected()) throw std::runtime_error("The Wayland portal session has ended.");
}

void WaylandBackend::send(InputKind kind, const std::function<void()>& throughEis,
                          const std::function<void()>& throughPortal) {
  requireSession();
  if (!eis.hasDevice(kind)) {
    try {
      throughPortal();
      return;
    } catch (const PortalInputRefusal&) {
      // KDE Plasma 6.3 announces the keyboard up to 0.4 ms after the pointer,
      // with which the set-up of EIS ends.
      if (!eis.waitForDevice(kind)) throw;
      if (kind == InputKind::keyboard) portalRefusesKeyboard = true;
    }
  } else if (eis.isDeviceRemoved(kind) && !eis.waitForDevice(kind)) {
    requireSession();
    throw std::runtime_error(std::string("Wayland input device is no longer available: ") + nameOf(kind));
  }
  throughEis();
}

}  // namespace ostler
