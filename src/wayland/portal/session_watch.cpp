#include "wayland/portal/session_watch.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "wayland/portal/portal_call.h"

namespace ostler {
namespace {

MainContext newMainContext() {
  // GLib aborts the process if it has no descriptor for a context.
  if (!haveSpareDescriptors(1)) {
    throw std::runtime_error(std::string("Unable to watch the Wayland portal session: ") +
                             std::strerror(EMFILE));
  }
  return MainContext(g_main_context_new());
}

}  // namespace

SessionWatch::SessionWatch(GDBusConnection* bus, const std::string& sessionHandle)
    : connection(bus),
      context(newMainContext()),
      closed(connection, context.get(),
             {portalBusName, sessionInterface, "Closed", sessionHandle.c_str(), nullptr},
             [this](std::string_view, GVariant*) { ended = true; }),
      portalLeft(connection, context.get(), portalOwnerChange(), [this](std::string_view, GVariant* change) {
        if (hasPortalLeft(change)) ended = true;
      }) {}

bool SessionWatch::hasEnded() {
  while (g_main_context_iteration(context.get(), FALSE) != FALSE) {
  }
  if (g_dbus_connection_is_closed(connection)) ended = true;
  return ended;
}

}  // namespace ostler
