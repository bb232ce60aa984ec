#pragma once

#include <functional>
#include <string_view>

#include "wayland/portal/glib_handles.h"

namespace ostler {

// Selects signals on the bus. A null field matches everything.
struct SignalMatch {
  const char* sender = nullptr;
  const char* interfaceName = nullptr;
  const char* member = nullptr;
  const char* objectPath = nullptr;
  const char* arg0 = nullptr;
};

// Receives a signal. The handler, which must not throw, is called by whoever iterates the main
// context. GLib may have a call of the handler queued even after the subscription has ended, so the
// destructor iterates the context until GLib has released the subscription.
class SignalSubscription {
public:
  using Handler = std::function<void(std::string_view objectPath, GVariant* parameters)>;

  // The connection must be open; otherwise GLib writes a warning to stderr.
  SignalSubscription(GDBusConnection* connection, GMainContext* context, const SignalMatch& match,
                     Handler handler);
  SignalSubscription(const SignalSubscription&) = delete;
  SignalSubscription& operator=(const SignalSubscription&) = delete;
  ~SignalSubscription();

private:
  static void onSignal(GDBusConnection* connection, const char* sender, const char* objectPath,
                       const char* interfaceName, const char* member, GVariant* parameters,
                       void* data) noexcept;
  static void onReleased(void* data) noexcept;

  GDBusConnection* const connection;
  GMainContext* const context;
  const Handler handler;
  unsigned id = 0;
  bool released = false;
};

// Matches each change of the owner of the portal's bus name. If there was no owner before, no
// portal has left: a method call may have just started it.
SignalMatch portalOwnerChange();
bool hasPortalLeft(GVariant* parametersOfOwnerChange);

}  // namespace ostler
