#include "wayland/portal/klipper.h"

#include "wayland/portal/glib_handles.h"
#include "wayland/portal/portal_call.h"

namespace ostler {

std::optional<std::string> readKlipper(GDBusConnection* connection) {
  constexpr int answerLimit = 2000;  // ms
  if (!haveSpareDescriptors(2)) return std::nullopt;
  const Variant reply(g_dbus_connection_call_sync(
      connection, "org.kde.klipper", "/klipper", "org.kde.klipper.klipper", "getClipboardContents", nullptr,
      G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, answerLimit, nullptr, nullptr));
  if (reply == nullptr) return std::nullopt;
  const char* text = "";
  g_variant_get(reply.get(), "(&s)", &text);
  return text;
}

}  // namespace ostler
