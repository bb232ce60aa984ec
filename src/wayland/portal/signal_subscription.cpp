#include "wayland/portal/signal_subscription.h"

#include <utility>

#include "wayland/portal/portal_call.h"

namespace ostler {

SignalSubscription::SignalSubscription(GDBusConnection* bus, GMainContext* mainContext,
                                       const SignalMatch& match, Handler signalHandler)
    : connection(bus), context(mainContext), handler(std::move(signalHandler)) {
  // GDBus calls handlers in the context in which they were subscribed.
  g_main_context_push_thread_default(context);
  id = g_dbus_connection_signal_subscribe(connection, match.sender, match.interfaceName, match.member,
                                          match.objectPath, match.arg0, G_DBUS_SIGNAL_FLAGS_NONE, onSignal,
                                          this, onReleased);
  g_main_context_pop_thread_default(context);
}

SignalSubscription::~SignalSubscription() {
  g_dbus_connection_signal_unsubscribe(connection, id);
  while (!released) g_main_context_iteration(context, TRUE);
}

void SignalSubscription::onSignal(GDBusConnection*, const char*, const char* objectPath, const char*,
                                  const char*, GVariant* parameters, void* data) noexcept {
  static_cast<SignalSubscription*>(data)->handler(objectPath, parameters);
}

void SignalSubscription::onReleased(void* data) noexcept {
  static_cast<SignalSubscription*>(data)->released = true;
}

SignalMatch portalOwnerChange() {
  return {"org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", nullptr, portalBusName};
}

bool hasPortalLeft(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) return false;
  const char* oldOwner = "";
  g_variant_get(parameters, "(&s&s&s)", nullptr, &oldOwner, nullptr);
  return *oldOwner != '\0';
}

}  // namespace ostler
