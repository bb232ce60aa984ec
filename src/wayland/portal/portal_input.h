#pragma once

#include <cstdint>

#include "wayland/portal/portal_session.h"

namespace ostler {

// Sends input events through the portal's Notify methods, one call each. Throws std::runtime_error
// if the user has not granted the device or the call fails.
class PortalInput {
public:
  explicit PortalInput(const PortalSession& started) : session(started) {}

  void moveTo(double x, double y) const;
  // Moves within the stream of a PipeWire node.
  void moveTo(std::uint32_t nodeId, double x, double y) const;
  // `code` is an evdev code.
  void button(std::uint32_t code, bool pressed) const;
  // Calls the portal once for each wheel step.
  void scroll(std::int64_t right, std::int64_t down) const;
  void key(std::uint64_t keysym, bool pressed) const;

  void requireKeyboard() const;

private:
  void scrollAlong(std::uint32_t axis, std::int64_t steps) const;

  const PortalSession& session;
};

}  // namespace ostler
