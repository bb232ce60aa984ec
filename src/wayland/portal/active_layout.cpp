#include "wayland/portal/active_layout.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "wayland/portal/glib_handles.h"
#include "wayland/portal/portal_call.h"

// KDE Plasma 6.3 and GNOME 48 do not report the active layout on the EIS channel. KDE Plasma 6.7
// reports each switch there, but not the layout at the start; GNOME 51 reports both.

namespace ostler {
namespace {

constexpr char kdeService[] = "org.kde.keyboard";
constexpr char kdePath[] = "/Layouts";
constexpr char kdeInterface[] = "org.kde.KeyboardLayouts";
constexpr char settingsInterface[] = "org.freedesktop.portal.Settings";
constexpr char settingsNamespace[] = "org.gnome.desktop.input-sources";

constexpr int answerLimit = 500;  // ms
constexpr int descriptorsOfCall = 2;

Variant ask(GDBusConnection* connection, const char* service, const char* path, const char* interfaceName,
            const char* method, GVariant* parameters, const char* replyType) {
  const Variant arguments(parameters == nullptr ? nullptr : g_variant_ref_sink(parameters));
  if (!haveSpareDescriptors(descriptorsOfCall)) return nullptr;
  return Variant(g_dbus_connection_call_sync(connection, service, path, interfaceName, method,
                                             arguments.get(), G_VARIANT_TYPE(replyType),
                                             G_DBUS_CALL_FLAGS_NO_AUTO_START, answerLimit, nullptr, nullptr));
}

std::optional<std::size_t> askKde(GDBusConnection* connection) {
  const Variant reply = ask(connection, kdeService, kdePath, kdeInterface, "getLayout", nullptr, "(u)");
  if (reply == nullptr) return std::nullopt;
  std::uint32_t group = 0;
  g_variant_get(reply.get(), "(u)", &group);
  return group;
}

using InputSource = std::pair<std::string, std::string>;  // kind and name, such as "xkb" and "de"

std::vector<InputSource> readSources(GVariant* settings, const char* key) {
  std::vector<InputSource> result;
  const Variant sources(g_variant_lookup_value(settings, key, G_VARIANT_TYPE("a(ss)")));
  for (gsize i = 0; sources != nullptr && i < g_variant_n_children(sources.get()); ++i) {
    const char *kind = "", *name = "";
    const Variant source(g_variant_get_child_value(sources.get(), i));
    g_variant_get(source.get(), "(&s&s)", &kind, &name);
    result.emplace_back(kind, name);
  }
  return result;
}

// GNOME Shell puts up to three input sources into a keymap, followed by the layout of the user's
// language. The next three sources form another keymap.
std::optional<std::size_t> askGnome(GDBusConnection* connection) {
  constexpr std::size_t sourcesOfKeymap = 3;
  const char* const wanted[] = {settingsNamespace};
  const Variant reply = ask(connection, portalBusName, portalObjectPath, settingsInterface, "ReadAll",
                            g_variant_new("(@as)", g_variant_new_strv(wanted, 1)), "(a{sa{sv}})");
  if (reply == nullptr) return std::nullopt;
  const Variant namespaces(g_variant_get_child_value(reply.get(), 0));
  const Variant settings(g_variant_lookup_value(namespaces.get(), settingsNamespace, G_VARIANT_TYPE_VARDICT));
  if (settings == nullptr) return std::nullopt;
  const std::vector<InputSource> sources = readSources(settings.get(), "sources");
  for (const InputSource& recent : readSources(settings.get(), "mru-sources")) {
    for (std::size_t i = 0; i < sources.size(); ++i) {
      if (sources[i] == recent) return i % sourcesOfKeymap;
    }
  }
  return std::nullopt;
}

}  // namespace

std::size_t activeLayoutGroup(GDBusConnection* connection) {
  auto group = askKde(connection);
  if (!group) group = askGnome(connection);
  return group.value_or(0);
}

LayoutSwitch::LayoutSwitch(GDBusConnection* connection, GMainContext* context)
    : kde(connection, context, {kdeService, kdeInterface, nullptr, kdePath, nullptr},
          [this](std::string_view, GVariant*) { reported = true; }),
      gnome(connection, context,
            {portalBusName, settingsInterface, "SettingChanged", portalObjectPath, settingsNamespace},
            [this](std::string_view, GVariant*) { reported = true; }) {}

}  // namespace ostler
