#include "wayland/wayland_backend.h"

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

// With several streams, EIS spans them all.
StreamPlace placeForEis(const PortalSession& portal) {
  if (portal.streams().size() > 1) return {};
  const SharedStream& only = portal.streams().front();
  return {only.mappingId, only.position};
}

}  // namespace

WaylandBackend::WaylandBackend(const PortalPermission& permission)
    : portal(permission),
      // A portal that has handed out the EIS socket accepts no other input, so the socket is
      // requested only if libei can use it.
      eis(
          isLibeiLoaded() ? portal.connectToEis() : FileDescriptor(), placeForEis(portal),
          [this] { return reportedPointer(); }, [this] { return activeLayoutGroup(portal.bus()); }) {
  const SharedStream& first = portal.streams().front();
  if (first.logicalSize) capture.setLogicalSize(*first.logicalSize);
  stream.emplace(portal.openPipeWireRemote(), first.nodeId, capture);
  waitForFirstFrame(capture, *stream);
}

// The compositor may report the group of a layout on the EIS channel, and the desktop a switch of
// layouts on the bus. The later of the two counts.
void WaylandBackend::beginOperation() {
  eis.beginOperation();
  if (portal.takeLayoutSwitch()) eis.noteLayoutSwitch();
}

void WaylandBackend::requireSession() {
  eis.readChannel();
  if (eis.isDisconnected()) portal.markEnded();
  if (!portal.hasEnded()) return;
  // When the portal has died, the EIS channel remains, and the compositor does not release what is
  // held (GNOME 48 and 51, KDE Plasma 6.3 and 6.7).
  eis.releaseHeld();
  throw std::runtime_error("The Wayland portal session has ended.");
}

bool WaylandBackend::goesThroughEis(InputKind kind) {
  if (!eis.hasDevice(kind)) return false;
  if (eis.isDeviceRemoved(kind) && !eis.waitForDevice(kind)) {
    requireSession();
    throw std::runtime_error(std::string("Wayland input device is no longer available: ") + nameOf(kind));
  }
  return true;
}

// KDE Plasma 6.3 announces the keyboard up to 0.4 ms after the pointer, when the EIS set-up has
// already ended, so a device may have come meanwhile.
bool WaylandBackend::tryPortal(InputKind kind, const std::function<void()>& sendToPortal,
                               const std::function<bool()>& canUseEis) {
  try {
    sendToPortal();
    return true;
  } catch (const PortalInputRefusal&) {
    if (!canUseEis()) throw;
  }
  if (kind == InputKind::keyboard) portalRefusesKeyboard = true;
  return false;
}

}  // namespace ostler
