#include "wayland/portal/screen_lock.h"

#include "wayland/portal/glib_handles.h"
#include "wayland/portal/portal_call.h"

namespace ostler {
namespace {

constexpr char service[] = "org.freedesktop.ScreenSaver";
constexpr char objectPath[] = "/org/freedesktop/ScreenSaver";
constexpr int answerLimit = 500;  // ms
constexpr int descriptorsOfCall = 2;

bool readFlag(GVariant* parameters, bool otherwise) {
  if (parameters == nullptr || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)"))) return otherwise;
  gboolean flag = FALSE;
  g_variant_get(parameters, "(b)", &flag);
  return flag != FALSE;
}

}  // namespace

ScreenLock::ScreenLock(GDBusConnection* connection, GMainContext* context)
    : changed(connection, context, {service, service, "ActiveChanged", objectPath, nullptr},
              [this](std::string_view, GVariant* parameters) { locked = readFlag(parameters, locked); }) {
  if (!haveSpareDescriptors(descriptorsOfCall)) return;
  const Variant reply(g_dbus_connection_call_sync(connection, service, objectPath, service, "GetActive",
                                                  nullptr, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                                  answerLimit, nullptr, nullptr));
  locked = readFlag(reply.get(), false);
}

}  // namespace ostler
