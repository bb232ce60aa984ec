#pragma once

#include "wayland/portal/signal_subscription.h"

namespace ostler {

// Tells whether the screen is locked. KDE Plasma (6.3, 6.7) keeps a session open then, and input
// would go to the lock screen. GNOME (48, 51) ends the session, unless it runs without a monitor.
class ScreenLock {
public:
  // The connection must be open. The signals are handled by whoever iterates the main context.
  // Takes up to 500 ms, if the desktop does not answer.
  ScreenLock(GDBusConnection* connection, GMainContext* context);

  bool isLocked() const { return locked; }

private:
  bool locked = false;
  const SignalSubscription changed;
};

}  // namespace ostler
