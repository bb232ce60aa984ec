#include "wayland/portal/portal_session.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "wayland/portal/portal_call.h"
#include "wayland/portal/portal_clipboard.h"

namespace ostler {
namespace {

constexpr std::uint32_t monitorSource = 1;
constexpr std::uint32_t windowSource = 2;
constexpr std::uint32_t hiddenCursor = 1;
constexpr std::uint32_t embeddedCursor = 2;
constexpr std::uint32_t metadataCursor = 4;
constexpr std::uint32_t untilRevoked = 2;  // the persist_mode

BusConnection connectToSessionBus() {
  constexpr char failure[] = "Unable to connect to the session D-Bus";
  // GDBus needs descriptors for its own thread and the socket.
  constexpr int descriptors = 8;
  if (!haveSpareDescriptors(descriptors))
    throw std::runtime_error(std::string(failure) + ": " + std::strerror(EMFILE));
  GError* error = nullptr;
  BusConnection bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error));
  if (bus == nullptr) throwGError(failure, error);
  return bus;
}

BusConnection openSessionBus() {
  BusConnection bus = connectToSessionBus();
  if (g_dbus_connection_is_closed(bus.get())) {
    // GLib returns a closed connection until its pending sources in the default context have run.
    // The number of iterations is limited because the host's sources may always be ready.
    bus.reset();
    for (int i = 0; i < 100 && g_main_context_iteration(nullptr, FALSE) != FALSE; ++i) {
    }
    bus = connectToSessionBus();
  }
  // By default GLib ends the process when the bus goes away.
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  return bus;
}

// Asks for the clipboard in a session that has not been started. A portal without that interface
// refuses. Whether the user agrees is in the answer of Start.
void requestClipboard(GDBusConnection* bus, const std::string& sessionHandle) {
  constexpr int descriptors = 4;
  constexpr int answerLimit = 5000;  // ms
  if (!haveSpareDescriptors(descriptors)) return;
  const Variant reply(g_dbus_connection_call_sync(
      bus, portalBusName, portalObjectPath, clipboardInterface, "RequestClipboard",
      g_variant_new("(oa{sv})", sessionHandle.c_str(), nullptr), nullptr, G_DBUS_CALL_FLAGS_NONE, answerLimit,
      nullptr, nullptr));
}

// The options of one request, with a token for its answer.
class PortalOptions {
public:
  PortalOptions() {
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    add("handle_token", g_variant_new_string(newPortalToken().c_str()));
  }
  PortalOptions(const PortalOptions&) = delete;
  PortalOptions& operator=(const PortalOptions&) = delete;
  ~PortalOptions() { g_variant_builder_clear(&builder); }

  void add(const char* key, GVariant* value) { g_variant_builder_add(&builder, "{sv}", key, value); }

  GVariantBuilder builder;
};

std::uint32_t chooseCursorMode(std::uint32_t available) {
  for (const std::uint32_t mode : {metadataCursor, embeddedCursor}) {
    if ((available & mode) != 0) return mode;
  }
  return hiddenCursor;
}

SharedStream readStream(GVariant* streams, std::size_t index) {
  SharedStream stream;
  GVariant* dictionary = nullptr;
  g_variant_get_child(streams, index, "(u@a{sv})", &stream.nodeId, &dictionary);
  const Variant properties(dictionary);
  if (stream.nodeId == 0) {
    throw std::runtime_error("Wayland portal returned an invalid PipeWire stream node id.");
  }
  Size size;
  if (g_variant_lookup(properties.get(), "size", "(ii)", &size.width, &size.height))
    stream.logicalSize = size;
  Point position;
  if (g_variant_lookup(properties.get(), "position", "(ii)", &position.x, &position.y))
    stream.position = position;
  const char* mappingId = "";
  if (g_variant_lookup(properties.get(), "mapping_id", "&s", &mappingId)) stream.mappingId = mappingId;
  return stream;
}

// Returns the first stream, or all of them, which need a place on the desktop then.
std::vector<SharedStream> readStreams(GVariant* response, bool all) {
  const Variant array(g_variant_lookup_value(response, "streams", G_VARIANT_TYPE("a(ua{sv})")));
  if (array == nullptr || g_variant_n_children(array.get()) == 0) {
    throw std::runtime_error("Wayland portal did not return any ScreenCast streams.");
  }
  std::vector<SharedStream> streams{readStream(array.get(), 0)};
  const std::size_t count = all ? g_variant_n_children(array.get()) : 1;
  for (std::size_t i = 1; i < count; ++i) streams.push_back(readStream(array.get(), i));
  if (count == 1) return streams;
  const auto isPlaced = [](const SharedStream& stream) {
    return stream.position && stream.logicalSize && stream.logicalSize->width > 0 &&
           stream.logicalSize->height > 0;
  };
  if (!std::all_of(streams.begin(), streams.end(), isPlaced)) {
    throw std::runtime_error(
        "The desktop does not tell where the shared monitors are. Open the desktop with one of them.");
  }
  const auto place = [](const SharedStream& stream) {
    return std::pair(stream.position->x, stream.position->y);
  };
  std::sort(streams.begin(), streams.end(),
            [&](const auto& a, const auto& b) { return place(a) < place(b); });
  return streams;
}

}  // namespace

// After the delegated constructor has returned, a failure runs the destructor.
PortalSession::PortalSession(const PortalPermission& permission) : PortalSession(openSessionBus()) {
  startPortalSession(permission);
}

PortalSession::PortalSession(BusConnection bus) : connection(std::move(bus)) {}

PortalSession::~PortalSession() {
  if (sessionHandle.empty() || !haveSpareDescriptors(2)) return;
  const Variant reply(g_dbus_connection_call_sync(connection.get(), portalBusName, sessionHandle.c_str(),
                                                  sessionInterface, "Close", nullptr, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

void PortalSession::startPortalSession(const PortalPermission& permission) {
  GDBusConnection* const bus = connection.get();
  const std::uint32_t sources = readPortalProperty(bus, "AvailableSourceTypes");
  if ((sources & (monitorSource | windowSource)) == 0) {
    throw std::runtime_error("Wayland ScreenCast portal does not expose a monitor or window source.");
  }
  const std::uint32_t cursorMode = chooseCursorMode(readPortalProperty(bus, "AvailableCursorModes"));

  {
    PortalOptions options;
    options.add("session_handle_token", g_variant_new_string(newPortalToken().c_str()));
    const Variant response = portalRequest(bus, remoteDesktopInterface, "CreateSession",
                                           g_variant_new("(a{sv})", &options.builder));
    const char* handle = "";
    g_variant_lookup(response.get(), "session_handle", "&s", &handle);
    // A handle that is not an object path is useless, too.
    if (!g_variant_is_object_path(handle)) {
      throw std::runtime_error("Missing portal response field: session_handle");
    }
    sessionHandle = handle;
    watch.emplace(bus, sessionHandle);
    screen.emplace(bus, watch->signalContext());
    layout.emplace(bus, watch->signalContext());
  }
  {
    PortalOptions options;
    options.add("types", g_variant_new_uint32(keyboardDevice | pointerDevice));
    if (permission.persist) options.add("persist_mode", g_variant_new_uint32(untilRevoked));
    if (!permission.token.empty()) {
      options.add("restore_token", g_variant_new_string(permission.token.c_str()));
    }
    portalRequest(bus, remoteDesktopInterface, "SelectDevices",
                  g_variant_new("(oa{sv})", sessionHandle.c_str(), &options.builder));
  }
  {
    PortalOptions options;
    options.add("types", g_variant_new_uint32((sources & monitorSource) != 0 ? monitorSource : windowSource));
    options.add("multiple", g_variant_new_boolean(permission.allMonitors ? TRUE : FALSE));
    options.add("cursor_mode", g_variant_new_uint32(cursorMode));
    portalRequest(bus, screenCastInterface, "SelectSources",
                  g_variant_new("(oa{sv})", sessionHandle.c_str(), &options.builder));
  }
  if (permission.clipboard) {
    // GNOME reports what has been copied before the session while it handles Start.
    const auto keep = [this](std::string_view, GVariant* values) {
      clipboardOwner.reset(g_variant_ref_sink(values));
    };
    clipboardOwnerChanges.emplace(bus, watch->signalContext(), clipboardOwnerChange, keep);
    requestClipboard(bus, sessionHandle);
  }

  if (permission.asking) permission.asking();
  PortalOptions options;
  const Variant response =
      portalRequest(bus, remoteDesktopInterface, "Start",
                    g_variant_new("(osa{sv})", sessionHandle.c_str(), "", &options.builder));
  if (permission.granted) {
    const char* token = "";
    g_variant_lookup(response.get(), "restore_token", "&s", &token);
    permission.granted(token);
  }
  g_variant_lookup(response.get(), "devices", "u", &grantedDevices);
  gboolean isClipboardEnabled = FALSE;
  g_variant_lookup(response.get(), "clipboard_enabled", "b", &isClipboardEnabled);
  clipboardGranted = isClipboardEnabled != FALSE;
  sharedStreams = readStreams(response.get(), permission.allMonitors);
}

void PortalSession::requireUnlocked() const {
  if (screen->isLocked()) throw std::runtime_error("The screen is locked.");
}

Variant PortalSession::takeClipboardOwner() {
  watch->hasEnded();
  return std::move(clipboardOwner);
}

bool PortalSession::takeLayoutSwitch() {
  watch->hasEnded();
  return layout->take();
}

void PortalSession::markEnded() { watch->markEnded(); }

void PortalSession::requireDevice(PortalDevice device, const char* description) const {
  if ((grantedDevices & device) != 0) return;
  throw std::runtime_error(std::string("Wayland portal session does not have permission for ") + description +
                           ".");
}

FileDescriptor PortalSession::openPipeWireRemote() const {
  PortalDescriptor remote =
      portalDescriptorCall(connection.get(), screenCastInterface, "OpenPipeWireRemote", sessionHandle);
  if (!remote.answered) {
    throwGError("Failed to open the PipeWire remote from the Wayland portal", remote.error.release());
  }
  if (!remote.descriptor) {
    throwGError("Failed to retrieve the PipeWire file descriptor from the Wayland portal",
                remote.error.release());
  }
  return std::move(remote.descriptor);
}

FileDescriptor PortalSession::connectToEis() const {
  return portalDescriptorCall(connection.get(), remoteDesktopInterface, "ConnectToEIS", sessionHandle)
      .descriptor;
}

}  // namespace ostler
