#pragma once

#include <string>

#include "wayland/portal/glib_handles.h"
#include "wayland/portal/signal_subscription.h"

namespace ostler {

// Tells whether the session has ended before we closed it: the user stopped sharing, GNOME locked
// the screen, or the portal or the bus went away. GNOME and KDE Plasma then drop all input and send
// no more frames, but no call fails.
class SessionWatch {
public:
  // The connection must be open. Throws std::runtime_error when file descriptors run out.
  SessionWatch(GDBusConnection* connection, const std::string& sessionHandle);

  // Processes the signals that have arrived and returns whether the session has ended. Does not
  // wait.
  bool hasEnded();
  // Records an end that was not reported on the bus.
  void markEnded() { ended = true; }
  // The main context that hasEnded() iterates, for signals that matter as long as the session is
  // open.
  GMainContext* signalContext() const { return context.get(); }

private:
  GDBusConnection* const connection;
  // The signals wait here, and not in the host's main context, until hasEnded() looks.
  const MainContext context;
  bool ended = false;
  const SignalSubscription closed;
  const SignalSubscription portalLeft;
};

}  // namespace ostler
