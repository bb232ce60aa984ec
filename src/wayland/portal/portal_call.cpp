#include "wayland/portal/portal_call.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>

#include "wayland/portal/signal_subscription.h"

// The reply to a portal request only names an object. The answer is a Response signal of that
// object. It may arrive before the reply, when the user has answered a dialog, or never if the
// portal or the bus goes away.

namespace ostler {
namespace {

constexpr char requestInterface[] = "org.freedesktop.portal.Request";
constexpr int callTimeout = -1;  // the default of GDBus
// A call needs descriptors for a main context, and its answer may contain one.
constexpr int descriptorsOfCall = 4;

// The main context in which a wait runs, which is this thread's default while the guard exists. It
// is the global default context, so that the host's sources keep running. If another thread is
// running that one, it would call the handlers there, so the wait gets a separate context.
class WaitContext {
public:
  WaitContext() {
    const bool acquired = g_main_context_acquire(nullptr) != FALSE;
    context.reset(acquired ? g_main_context_ref(g_main_context_default()) : g_main_context_new());
    g_main_context_push_thread_default(context.get());
    if (acquired) g_main_context_release(nullptr);  // the push has acquired it too
  }
  WaitContext(const WaitContext&) = delete;
  WaitContext& operator=(const WaitContext&) = delete;
  ~WaitContext() { g_main_context_pop_thread_default(context.get()); }

  MainContext context;
};

// What a request shares with the handlers that end its wait.
struct PortalWait {
  GDBusConnection* connection = nullptr;
  std::string requestPath;
  MainLoop loop;
  std::uint32_t code = 2;
  Variant results;
  bool ended = false;

  void end() noexcept {
    ended = true;
    g_main_loop_quit(loop.get());
  }
};

void onResponse(PortalWait& wait, std::string_view objectPath, GVariant* parameters) {
  if (wait.ended || objectPath != wait.requestPath) return;
  if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})"))) {
    GVariant* results = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &wait.code, &results);
    wait.results.reset(results);
  }
  wait.end();
}

// The connection emits "closed" in the main context in which it was created. Possibly nothing runs
// that context, so the connection's state is polled.
gboolean onBusCheck(gpointer data) noexcept {
  PortalWait& wait = *static_cast<PortalWait*>(data);
  if (g_dbus_connection_is_closed(wait.connection)) wait.end();
  return G_SOURCE_CONTINUE;
}

void requireSpareDescriptors(const std::string& failure) {
  if (haveSpareDescriptors(descriptorsOfCall)) return;
  throw std::runtime_error(failure + ": " + std::strerror(EMFILE));
}

Variant call(GDBusConnection* connection, const char* interfaceName, const char* method, GVariant* parameters,
             const char* replyType, const std::string& failure) {
  const Variant arguments(g_variant_ref_sink(parameters));
  requireSpareDescriptors(failure);
  GError* error = nullptr;
  Variant reply(g_dbus_connection_call_sync(connection, portalBusName, portalObjectPath, interfaceName,
                                            method, arguments.get(),
                                            replyType == nullptr ? nullptr : G_VARIANT_TYPE(replyType),
                                            G_DBUS_CALL_FLAGS_NONE, callTimeout, nullptr, &error));
  if (reply == nullptr) throwGError(failure, error);
  return reply;
}

}  // namespace

bool haveSpareDescriptors(int count) noexcept {
  if (count == 0) return true;
  const FileDescriptor spare(eventfd(0, EFD_CLOEXEC));
  return spare && haveSpareDescriptors(count - 1);
}

std::string newPortalToken() {
  const GLibString uuid(g_uuid_string_random());
  std::string token = std::string("ostler_") + uuid.get();
  std::replace(token.begin(), token.end(), '-', '_');
  return token;
}

void throwGError(std::string_view prefix, GError* error) {
  const GLibError owner(error);
  const bool hasMessage = error != nullptr && error->message != nullptr;
  const std::string_view detail = hasMessage ? error->message : "unknown error";
  const std::string text = std::string(prefix).append(": ").append(detail);
  if (detail.find("not allowed to call Notify") != detail.npos) throw PortalInputRefusal(text);
  throw std::runtime_error(text);
}

std::uint32_t readPortalProperty(GDBusConnection* connection, const char* name) {
  const std::string failure =
      std::string("Unable to read portal property ") + screenCastInterface + "." + name;
  const Variant reply = call(connection, "org.freedesktop.DBus.Properties", "Get",
                             g_variant_new("(ss)", screenCastInterface, name), "(v)", failure);
  GVariant* wrapped = nullptr;
  g_variant_get(reply.get(), "(@v)", &wrapped);
  const Variant wrapper(wrapped);
  const Variant value(g_variant_get_variant(wrapper.get()));
  if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32)) throwGError(failure, nullptr);
  return g_variant_get_uint32(value.get());
}

Variant portalRequest(GDBusConnection* connection, const char* interfaceName, const char* method,
                      GVariant* parameters) {
  const Variant arguments(g_variant_ref_sink(parameters));
  const std::string failure = std::string("Portal call failed for ") + interfaceName + "." + method;
  // Subscribing on a closed connection would make GLib complain on stderr.
  if (g_dbus_connection_is_closed(connection)) {
    throw std::runtime_error(failure + ": The connection is closed");
  }
  requireSpareDescriptors(failure);

  const WaitContext waitContext;
  GMainContext* const context = waitContext.context.get();
  PortalWait wait;
  wait.connection = connection;
  wait.loop.reset(g_main_loop_new(context, FALSE));

  const SignalSubscription ownerSubscription(connection, context, portalOwnerChange(),
                                             [&wait](std::string_view, GVariant* change) {
                                               if (hasPortalLeft(change)) wait.end();
                                             });
  // The subscription covers the responses to all requests, because the response may arrive before
  // the reply that names its path. It stays queued in the context until the loop runs.
  const SignalSubscription responseSubscription(
      connection, context, {portalBusName, requestInterface, "Response", nullptr, nullptr},
      [&wait](std::string_view requestPath, GVariant* response) { onResponse(wait, requestPath, response); });

  const Variant reply = call(connection, interfaceName, method, arguments.get(), "(o)", failure);
  const char* requestPath = "";
  g_variant_get(reply.get(), "(&o)", &requestPath);
  wait.requestPath = requestPath;

  const Source busCheck(g_timeout_source_new(250));
  g_source_set_callback(busCheck.get(), onBusCheck, &wait, nullptr);
  g_source_attach(busCheck.get(), context);
  if (!wait.ended) g_main_loop_run(wait.loop.get());

  if (wait.code == 0) return std::move(wait.results);
  throw std::runtime_error(wait.code == 1 ? "The user denied the Wayland portal request."
                                          : "The Wayland portal request failed.");
}

void portalInputCall(GDBusConnection* connection, const char* method, GVariant* parameters) {
  call(connection, remoteDesktopInterface, method, parameters, nullptr,
       std::string("Portal input call failed for ") + remoteDesktopInterface + "." + method);
}

PortalDescriptor portalDescriptorCall(GDBusConnection* connection, const char* interfaceName,
                                      const char* method, const std::string& sessionHandle) {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  return portalDescriptorCall(connection, interfaceName, method,
                              g_variant_new("(oa{sv})", sessionHandle.c_str(), &options));
}

PortalDescriptor portalDescriptorCall(GDBusConnection* connection, const char* interfaceName,
                                      const char* method, GVariant* parameters) {
  const Variant arguments(g_variant_ref_sink(parameters));
  PortalDescriptor result;
  const std::string failure = std::string("Portal call failed for ") + interfaceName + "." + method;
  requireSpareDescriptors(failure);
  GError* error = nullptr;
  GUnixFDList* descriptors = nullptr;
  const Variant reply(g_dbus_connection_call_with_unix_fd_list_sync(
      connection, portalBusName, portalObjectPath, interfaceName, method, arguments.get(),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, callTimeout, nullptr, &descriptors, nullptr, &error));
  const DescriptorList list(descriptors);
  if (reply != nullptr) {
    result.answered = true;
    gint32 index = -1;
    g_variant_get(reply.get(), "(h)", &index);
    // GLib complains on stderr about an index outside the list.
    if (list != nullptr && index >= 0 && index < g_unix_fd_list_get_length(list.get())) {
      result.descriptor = FileDescriptor(g_unix_fd_list_get(list.get(), index, &error));
    }
  }
  result.error.reset(error);
  // Other threads may have taken the spare descriptors meanwhile.
  if (!result.descriptor) requireSpareDescriptors(failure);
  return result;
}

}  // namespace ostler
