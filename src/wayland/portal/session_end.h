#pragma once

#include <string>

#include "wayland/portal/glib_handles.h"
#include "wayland/portal/signal_subscription.h"

namespace ostler {

// Knows whether the session has ended before we closed it: the user pressed the
// desktop's "stop", the screen was locked, or the portal or the bus went away.
// GNOME 48 and KDE Plasma 6.3 then drop all input and send no more pictures,
// and nothing that we call fails.
class SessionEnd {
public:
  // Throws std::runtime_error when file descriptors run out. The connection is open.
  SessionEnd(GDBusConnection* connection, const std::string& sessionHandle);

  // Takes in what has arrived on the bus by now; does not wait.
  bool hasCome();
  // For an end that is not heard on the bus.
  void mark() { ended = true; }

private:
  GDBusConnection* const connection;
  // The signals wait here, and not in the host's main context, until hasCome() looks.
  const MainContext context;
  bool ended = false;
  const SignalSubscription closed;
  const SignalSubscription portalLeft;
};

}  // namespace ostler
