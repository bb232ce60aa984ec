#pragma once

#include <cstddef>
#include <utility>

#include "wayland/portal/signal_subscription.h"

namespace ostler {

// Asks KDE or GNOME for the keymap group of the user's active layout. Returns 0, the first group,
// if neither answers. Takes up to 1 s.
std::size_t activeLayoutGroup(GDBusConnection* connection);

// Tells whether the answer may have changed.
class LayoutSwitch {
public:
  // The connection must be open. The signals are handled by whoever iterates the main context.
  LayoutSwitch(GDBusConnection* connection, GMainContext* context);

  // Returns whether KDE or GNOME has reported a switch since the last call.
  bool take() { return std::exchange(reported, false); }

private:
  bool reported = false;
  const SignalSubscription kde, gnome;
};

}  // namespace ostler
