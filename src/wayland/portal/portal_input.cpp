#include "wayland/portal/portal_input.h"

#include <cstdlib>

#include "wayland/portal/portal_call.h"

namespace ostler {
namespace {

enum Axis : std::uint32_t { verticalAxis, horizontalAxis };

}  // namespace

void PortalInput::moveTo(double x, double y) const { moveTo(session.streams().front().nodeId, x, y); }

void PortalInput::moveTo(std::uint32_t nodeId, double x, double y) const {
  session.requireDevice(pointerDevice, "pointer motion");
  portalInputCall(session.bus(), "NotifyPointerMotionAbsolute",
                  g_variant_new("(oa{sv}udd)", session.handle().c_str(), nullptr, nodeId, x, y));
}

void PortalInput::button(std::uint32_t code, bool pressed) const {
  session.requireDevice(pointerDevice, "pointer button");
  portalInputCall(session.bus(), "NotifyPointerButton",
                  g_variant_new("(oa{sv}iu)", session.handle().c_str(), nullptr, static_cast<gint32>(code),
                                static_cast<guint32>(pressed)));
}

void PortalInput::scroll(std::int64_t right, std::int64_t down) const {
  scrollAlong(horizontalAxis, right);
  scrollAlong(verticalAxis, down);
}

void PortalInput::scrollAlong(std::uint32_t axis, std::int64_t steps) const {
  for (std::int64_t left = std::abs(steps); left > 0; --left) {
    session.requireDevice(pointerDevice, "pointer axis");
    portalInputCall(session.bus(), "NotifyPointerAxisDiscrete",
                    g_variant_new("(oa{sv}ui)", session.handle().c_str(), nullptr, axis, steps > 0 ? 1 : -1));
  }
}

void PortalInput::key(std::uint64_t keysym, bool pressed) const {
  requireKeyboard();
  portalInputCall(session.bus(), "NotifyKeyboardKeysym",
                  g_variant_new("(oa{sv}iu)", session.handle().c_str(), nullptr, static_cast<gint32>(keysym),
                                static_cast<guint32>(pressed)));
}

void PortalInput::requireKeyboard() const { session.requireDevice(keyboardDevice, "keyboard keysym"); }

}  // namespace ostler
