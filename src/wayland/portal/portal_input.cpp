#include "wayland/portal/portal_input.h"

#include <cstdlib>

#include "wayland/portal/portal_call.h"

namespace ostler {
namespace {

// The bits of the portal's device types.
enum Device : std::uint32_t { keyboardDevice = 1, pointerDevice = 2 };

enum Axis : std::uint32_t { verticalAxis, horizontalAxis };

}  // namespace

FileDescriptor PortalInput::connectToEis() const {
  return portalDescriptorCall(session.connection.get(), remoteDesktopInterface, "ConnectToEIS",
                              session.sessionHandle)
      .descriptor;
}

void PortalInput::moveTo(double x, double y) const { moveTo(session.nodeId, x, y); }

void PortalInput::moveTo(std::uint32_t nodeId, double x, double y) const {
  requirePortalDevice(session.grantedDevices, pointerDevice, "pointer motion");
  portalInputCall(session.connection.get(), "NotifyPointerMotionAbsolute",
                  g_variant_new("(oa{sv}udd)", session.sessionHandle.c_str(), nullptr, nodeId, x, y));
}

void PortalInput::button(std::uint32_t code, bool pressed) const {
  requirePortalDevice(session.grantedDevices, pointerDevice, "pointer button");
  portalInputCall(session.connection.get(), "NotifyPointerButton",
                  g_variant_new("(oa{sv}iu)", session.sessionHandle.c_str(), nullptr,
                                static_cast<gint32>(code), static_cast<guint32>(pressed)));
}

void PortalInput::scroll(std::int64_t right, std::int64_t down) const {
  scrollAlong(horizontalAxis, right);
  scrollAlong(verticalAxis, down);
}

void PortalInput::scrollAlong(std::uint32_t axis, std::int64_t steps) const {
  for (std::int64_t left = std::abs(steps); left > 0; --left) {
    requirePortalDevice(session.grantedDevices, pointerDevice, "pointer axis");
    portalInputCall(
        session.connection.get(), "NotifyPointerAxisDiscrete",
        g_variant_new("(oa{sv}ui)", session.sessionHandle.c_str(), nullptr, axis, steps > 0 ? 1 : -1));
  }
}

void PortalInput::key(std::uint64_t keysym, bool pressed) const {
  requireKeyboard();
  portalInputCall(session.connection.get(), "NotifyKeyboardKeysym",
                  g_variant_new("(oa{sv}iu)", session.sessionHandle.c_str(), nullptr,
                                static_cast<gint32>(keysym), static_cast<guint32>(pressed)));
}

void PortalInput::requireKeyboard() const {
  requirePortalDevice(session.grantedDevices, keyboardDevice, "keyboard keysym");
}

}  // namespace ostler
