#pragma once

#include <functional>
#include <string_view>

#include "wayland/portal/glib_handles.h"

namespace ostler {

// What a signal on the bus has to be from and about. Null matches everything.
struct SignalMatch {
  const char* sender = nullptr;
  const char* interfaceName = nullptr;
  const char* member = nullptr;
  const char* objectPath = nullptr;
  const char* arg0 = nullptr;
};

// Hears a signal. The handler, which must not throw, is called by whoever
// iterates the main context. The destructor iterates it too: GLib may still have
// a call of the handler queued after the subscription has been ended, so the
// object goes only when GLib has let go of it. Nothing of it is left in the
// context then.
class SignalSubscription {
public:
  using Handler = std::function<void(std::string_view objectPath, GVariant* parameters)>;

  // GLib complains on stderr about a connection that is closed.
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

// Tells of each change of the portal's owner. The first owner of its name does
// not mean that a portal has left: a method call may have started it.
SignalMatch portalOwnerChange();
bool hasPortalLeft(GVariant* parametersOfOwnerChange);

}  // namespace ostler
