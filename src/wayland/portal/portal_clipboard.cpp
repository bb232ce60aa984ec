#include "wayland/portal/portal_clipboard.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "backend/interruption.h"
#include "base/annotated_mutex.h"
#include "base/file_descriptor.h"
#include "wayland/portal/portal_call.h"
#include "wayland/portal/signal_subscription.h"

// The portal reports each change of the clipboard, and asks for our content each time another
// program reads it. GNOME 48 and 51 also read when the content is set, KDE Plasma 6.7 does not.

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int callLimit = 5000;  // ms
constexpr auto limitForPiece = 2s;
constexpr auto limitForAll = 5s;
constexpr auto limitForOwnership = 500ms;
constexpr auto limitForKeeping = 500ms;
constexpr int pauseMilliseconds = 10;  // between two looks for an interruption
constexpr std::size_t mostTypes = 64;

// The names under which a text is offered and read, the best first.
constexpr std::array<const char*, 3> textNames = {textType, "UTF8_STRING", "text/plain"};

// What is tried while KDE's portal has not told the types of what was copied before the session.
const std::vector<std::string> likelyTypes = {textType, "text/plain", "image/png"};

using Types = std::vector<std::string>;

bool contains(const Types& types, std::string_view type) {
  return std::find(types.begin(), types.end(), type) != types.end();
}

// Returns the strings in an array, which GNOME 48 puts into a tuple.
Types readTypes(GVariant* options) {
  Variant list(g_variant_lookup_value(options, "mime_types", nullptr));
  if (list != nullptr && g_variant_is_of_type(list.get(), G_VARIANT_TYPE("(as)"))) {
    list.reset(g_variant_get_child_value(list.get(), 0));
  }
  Types types;
  if (list == nullptr || !g_variant_is_of_type(list.get(), G_VARIANT_TYPE("as"))) return types;
  for (gsize i = 0; i < g_variant_n_children(list.get()) && types.size() < mostTypes; ++i) {
    const char* type = "";
    g_variant_get_child(list.get(), i, "&s", &type);
    types.emplace_back(type);
  }
  return types;
}

void makeNonBlocking(const FileDescriptor& pipe) {
  fcntl(pipe.get(), F_SETFL, fcntl(pipe.get(), F_GETFL) | O_NONBLOCK);
}

// Waits for a pipe in steps. Returns false when nothing happens in time.
template <typename BeforeStep>
bool waitForPipe(const FileDescriptor& pipe, short events, Clock::time_point limit, BeforeStep beforeStep) {
  for (;;) {
    beforeStep();
    pollfd state{pipe.get(), events, 0};
    if (poll(&state, 1, pauseMilliseconds) > 0) return true;
    if (Clock::now() >= limit) return false;
  }
}

class PortalClipboard final : public Clipboard {
public:
  PortalClipboard(GDBusConnection* bus, std::string handle, const Variant& owner)
      : connection(bus), session(std::move(handle)) {
    if (owner != nullptr) onOwnerChanged(owner.get());
    thread = std::thread([this] {
      while (!isEnding) g_main_context_iteration(context.get(), TRUE);
    });
  }
  PortalClipboard(const PortalClipboard&) = delete;
  PortalClipboard& operator=(const PortalClipboard&) = delete;
  ~PortalClipboard() override {
    isEnding = true;
    g_main_context_wakeup(context.get());
    thread.join();
  }

  const char* kind() const override { return "portal"; }

  ClipboardContent read(ClipboardPart part) override {
    Types types;
    bool isUnknown = false;
    {
      const MutexLock lock(mutex);
      if (isOwner && content != nullptr) return *content;
      if (offeredTypes) types = *offeredTypes;
      isUnknown = !offeredTypes;
    }
    if (isUnknown && !isGnome()) types = likelyTypes;
    const Clock::time_point deadline = Clock::now() + limitForAll;
    ClipboardContent result;
    std::size_t left = longestContent;
    const auto add = [&](const char* type, const char* name) {
      std::string bytes = receive(name, left, deadline);
      if (bytes.empty()) return false;
      left -= bytes.size();
      result.push_back({type, std::move(bytes)});
      return true;
    };
    for (const char* const name : textNames) {
      if (contains(types, name) && add(textType, name)) break;
    }
    if (part == ClipboardPart::text) return result;
    std::stable_partition(types.begin(), types.end(),
                          [](const std::string& type) { return type == "image/png"; });
    for (const std::string& type : types) {
      if (!isTextType(type)) add(type.c_str(), type.c_str());
    }
    return result;
  }

  // GNOME goes on offering the last content when there is none any more, so that one is empty.
  void write(ClipboardContent offered) override {
    const bool isNothing = offered.empty();
    if (isNothing) offered = {{textType, ""}};
    offer(std::move(offered));
    if (!isNothing) return;
    watch.settle();
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    setSelection(&options);
  }

  bool owns() override {
    const MutexLock lock(mutex);
    return isOwner;
  }

  ReaderWatch& readers() override { return watch; }

  // GNOME Shell keeps the content itself once it has read it, and on KDE Klipper does.
  bool handOver() override {
    watch.wait(limitForKeeping);
    return true;
  }

private:
  void offer(ClipboardContent offered) {
    GVariantBuilder types, options;
    g_variant_builder_init(&types, G_VARIANT_TYPE("as"));
    for (const ClipboardItem& item : offered) {
      if (item.type == textType) {
        for (const char* const name : textNames) g_variant_builder_add(&types, "s", name);
      } else {
        g_variant_builder_add(&types, "s", item.type.c_str());
      }
    }
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "mime_types", g_variant_new("as", &types));
    watch.restart();
    {
      const MutexLock lock(mutex);
      content = std::make_shared<const ClipboardContent>(std::move(offered));
      isOwner = false;
    }
    setSelection(&options);
    const Clock::time_point deadline = Clock::now() + limitForOwnership;
    MutexLock lock(mutex);
    while (!isOwner && Clock::now() < deadline) lock.waitUntil(changed, deadline);
    isOwner = true;
  }

  void setSelection(GVariantBuilder* options) const {
    const Variant reply(call("SetSelection", g_variant_new("(oa{sv})", session.c_str(), options)));
    if (reply == nullptr)
      throw std::runtime_error("The desktop portal did not accept the clipboard's content.");
  }

  // GNOME tells at the start of a session what was copied before. If it tells nothing, there is
  // nothing, and GNOME 48's portal ends when it is asked to read that.
  bool isGnome() const {
    if (!haveSpareDescriptors(4)) return true;
    const Variant arguments(g_variant_ref_sink(g_variant_new("(s)", "org.gnome.Mutter.RemoteDesktop")));
    const Variant reply(g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        arguments.get(), G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, callLimit, nullptr, nullptr));
    gboolean isOwned = FALSE;
    if (reply != nullptr) g_variant_get(reply.get(), "(b)", &isOwned);
    return isOwned != FALSE;
  }

  Variant call(const char* method, GVariant* parameters) const {
    const Variant arguments(g_variant_ref_sink(parameters));
    if (!haveSpareDescriptors(4)) return {};
    return Variant(g_dbus_connection_call_sync(connection, portalBusName, portalObjectPath,
                                               clipboardInterface, method, arguments.get(), nullptr,
                                               G_DBUS_CALL_FLAGS_NONE, callLimit, nullptr, nullptr));
  }

  void onOwnerChanged(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(oa{sv})"))) return;
    const char* handle = "";
    GVariant* dictionary = nullptr;
    g_variant_get(parameters, "(&o@a{sv})", &handle, &dictionary);
    const Variant options(dictionary);
    if (session != handle) return;
    gboolean isOurs = FALSE;
    g_variant_lookup(options.get(), "session_is_owner", "b", &isOurs);
    isOurs != FALSE ? watch.regain() : watch.lose();
    const MutexLock lock(mutex);
    offeredTypes = readTypes(options.get());
    isOwner = isOurs != FALSE;
    changed.notify_all();
  }

  void onTransfer(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(osu)"))) return;
    const char *handle = "", *type = "";
    guint32 serial = 0;
    g_variant_get(parameters, "(&o&su)", &handle, &type, &serial);
    if (session != handle) return;
    std::shared_ptr<const ClipboardContent> source;
    {
      const MutexLock lock(mutex);
      source = content;
    }
    watch.begin(true);
    const bool success = source != nullptr && send(*source, isTextType(type) ? textType : type, serial);
    const Variant done(
        call("SelectionWriteDone", g_variant_new("(oub)", session.c_str(), serial, success ? TRUE : FALSE)));
    watch.end(success);
  }

  bool send(const ClipboardContent& source, std::string_view type, guint32 serial) {
    const auto item = std::find_if(source.begin(), source.end(),
                                   [&](const ClipboardItem& each) { return each.type == type; });
    if (item == source.end()) return false;
    const FileDescriptor pipe = openPipe("SelectionWrite", g_variant_new("(ou)", session.c_str(), serial));
    if (!pipe) return false;
    makeNonBlocking(pipe);
    for (std::size_t sent = 0; sent < item->bytes.size();) {
      const ssize_t count = ::write(pipe.get(), item->bytes.data() + sent, item->bytes.size() - sent);
      if (count > 0) {
        sent += static_cast<std::size_t>(count);
        watch.progress();
        continue;
      }
      if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
      const auto stopAtEnd = [] {};
      if (!waitForPipe(pipe, POLLOUT, Clock::now() + limitForPiece, stopAtEnd) || isEnding) return false;
    }
    return true;
  }

  // Returns nothing when the content is longer than `longest` or does not come in time.
  std::string receive(const char* type, std::size_t longest, Clock::time_point deadline) const {
    if (Clock::now() >= deadline) return {};
    throwIfInterrupted();
    const FileDescriptor pipe = openPipe("SelectionRead", g_variant_new("(os)", session.c_str(), type));
    if (!pipe) return {};
    makeNonBlocking(pipe);
    std::string bytes;
    std::vector<char> buffer(65536);
    for (;;) {
      if (!waitForPipe(pipe, POLLIN, std::min(deadline, Clock::now() + limitForPiece), throwIfInterrupted))
        return {};
      const ssize_t count = ::read(pipe.get(), buffer.data(), buffer.size());
      if (count == 0) return bytes;
      if (count < 0 && (errno == EAGAIN || errno == EINTR)) continue;
      if (count < 0 || bytes.size() + static_cast<std::size_t>(count) > longest) return {};
      bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
  }

  FileDescriptor openPipe(const char* method, GVariant* parameters) const {
    try {
      return portalDescriptorCall(connection, clipboardInterface, method, parameters).descriptor;
    } catch (const std::runtime_error&) {
      return {};  // descriptors have run out
    }
  }

  GDBusConnection* const connection;
  const std::string session;
  ReaderWatch watch;

  Mutex mutex;
  std::condition_variable changed;
  std::shared_ptr<const ClipboardContent> content OSTLER_GUARDED_BY(mutex);
  std::optional<Types> offeredTypes OSTLER_GUARDED_BY(mutex);
  bool isOwner OSTLER_GUARDED_BY(mutex) = false;

  std::atomic<bool> isEnding{false};
  const MainContext context{g_main_context_new()};
  const SignalSubscription ownerChanged{
      connection, context.get(), clipboardOwnerChange,
      [this](std::string_view, GVariant* values) { onOwnerChanged(values); }};
  const SignalSubscription transfer{
      connection,
      context.get(),
      {portalBusName, clipboardInterface, "SelectionTransfer", portalObjectPath},
      [this](std::string_view, GVariant* values) { onTransfer(values); }};
  std::thread thread;
};

}  // namespace

std::unique_ptr<Clipboard> makePortalClipboard(GDBusConnection* connection, std::string sessionHandle,
                                               const Variant& owner) {
  if (!haveSpareDescriptors(8)) return nullptr;
  return std::make_unique<PortalClipboard>(connection, std::move(sessionHandle), owner);
}

}  // namespace ostler
