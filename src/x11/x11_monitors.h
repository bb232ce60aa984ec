#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/monitor.h"
#include "x11/escape_grab.h"

namespace ostler {

// The monitors of an X screen, from RandR 1.5. The requests are sent with xcb itself, because
// libXrandr and libxcb-randr would be libraries more that a package needs. They have a connection
// of their own, which is made when it is first used: Xlib's does not accept xcb's requests.
class X11Monitors {
public:
  explicit X11Monitors(std::string displayName) : name(std::move(displayName)) {}

  // Returns the monitors that are active now; none when the server has no RandR 1.5. Asks the
  // server only after a change, because each motion of the pointer needs the answer.
  std::vector<Monitor> read();

private:
  bool connect();
  bool takeEvents();

  const std::string name;  // of the display
  XcbConnection connection;
  bool isAvailable = false;
  std::optional<std::vector<Monitor>> known;
};

}  // namespace ostler
