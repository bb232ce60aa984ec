#include "wayland/eis/eis_channel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/sleep.h"
#include "wayland/eis/announced_version.h"
#include "wayland/eis/eis_handshake.h"

// The server speaks first. It announces a seat, whose capabilities the client binds, then devices,
// and resumes each device when it may be used. At any moment the server may hang up, stop
// responding or send garbage. Before the handshake is complete, libei 1.3 crashes when it
// disconnects or its context is released, and hangs on a message of length 0.

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds setUpLimit{5000};
constexpr milliseconds longestPoll{500};
constexpr milliseconds reportLimit{500};
constexpr milliseconds replacementLimit{500};  // the longest wait for a new or replaced device

constexpr std::uint32_t lockModifier = 1 << 1;  // Lock is the second modifier of every XKB keymap

bool hasHungUp(int socket) {
  pollfd state{socket, 0, 0};
  int hangUps = 0;
  do {
    hangUps = poll(&state, 1, 0);  // POLLHUP, POLLERR and POLLNVAL are always reported
  } while (hangUps < 0 && errno == EINTR);
  return hangUps != 0;
}

// libei 1.3 crashes on a connection with a higher version than it announced. Later releases may
// announce versions above 1.
bool isVersionAnnounced(std::uint32_t version) {
  return version <= 1 || version <= announcedConnectionVersion();
}

}  // namespace

void ignoreLog(ei*, ei_log_priority, const char*, ei_log_context*) noexcept {}

// Until the handshake is complete, lets libei read only messages that cannot crash it.
class EisChannel::ServerWait {
public:
  void begin() { deadline = Clock::now() + setUpLimit; }

  // Waits until `source` is readable. Returns false when the time is up, or when an untrusted
  // server has hung up or violated the handshake.
  bool wait(int source, int socket, bool trusted) {
    while (true) {
      const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
      if (left < milliseconds(1)) return false;
      pollfd readable{source, POLLIN, 0};
      if (poll(&readable, 1, static_cast<int>(std::min(left, longestPoll).count())) <= 0) continue;
      if (trusted) return true;
      if (state != State::complete) {
        state = peek(socket);
        if (!isVersionAnnounced(handshake.connectionVersion())) state = State::broken;
      }
      // A server that hangs up after this check still crashes libei.
      if (state == State::broken || hasHungUp(socket)) return false;
      if (state != State::partial) return true;
      sleepFor(milliseconds(1));
    }
  }

private:
  using State = EisHandshake::State;

  State peek(int socket) {
    std::array<std::byte, 8192> bytes;
    const ssize_t size = recv(socket, bytes.data(), bytes.size(), MSG_PEEK);
    if (size <= 0) return State::partial;
    return handshake.read(std::span(bytes).first(static_cast<std::size_t>(size)));
  }

  Clock::time_point deadline;
  EisHandshake handshake;
  State state = State::partial;
};

EisChannel::EisChannel(FileDescriptor socket) {
  ServerWait server;
  if (!connectEis(std::move(socket), server)) return;
  bool done = false;
  while (!done && server.wait(ei_get_fd(eiContext.get()), eisFd.get(), isHandshakeComplete))
    done = dispatch();
  settingUp = false;
  if (!isHandshakeComplete) abandon();
  // If no device was announced, a disconnection does not end the session: the portal takes the
  // input.
  if (std::none_of(slots.begin(), slots.end(), std::mem_fn(&Slot::isFilled))) disconnected = false;
}

bool EisChannel::connectEis(FileDescriptor socket, ServerWait& server) {
  if (!socket) return false;
  // libei reads until the socket is empty, so reading must not block.
  const int flags = fcntl(socket.get(), F_GETFL);
  if (flags < 0 || fcntl(socket.get(), F_SETFL, flags | O_NONBLOCK) != 0) return false;
  // libei gets a duplicate because it closes its descriptor when the server hangs up, after which
  // the number may be reused.
  FileDescriptor copy(fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
  EiContext context(ei_new_sender(nullptr));
  if (!copy || context == nullptr) return false;
  ei_log_set_handler(context.get(), ignoreLog);
  ei_configure_name(context.get(), "ostler-client");
  // ei_setup_backend_fd() reads from the socket, so the greeting is checked first.
  server.begin();
  if (!server.wait(socket.get(), socket.get(), false)) return false;
  if (ei_setup_backend_fd(context.get(), copy.get()) != 0) return false;
  contextFd = copy.release();
  eisFd = std::move(socket);
  eiContext = std::move(context);
  return true;
}

std::vector<PointerRegion> EisChannel::pointerRegions() const {
  std::vector<PointerRegion> regions;
  for (std::size_t i = 0; ei_region* region = ei_device_get_region(device(InputKind::pointer), i); ++i) {
    const char* const id = ei_region_get_mapping_id(region);
    regions.push_back({ei_region_get_x(region), ei_region_get_y(region), ei_region_get_width(region),
                       ei_region_get_height(region),
                       id != nullptr ? std::optional<std::string>(id) : std::nullopt});
  }
  return regions;
}

void EisChannel::read() {
  if (eiContext == nullptr) return;
  pollfd readable{ei_get_fd(eiContext.get()), POLLIN, 0};
  while (!disconnected && poll(&readable, 1, 0) > 0) dispatch();
}

void EisChannel::ping() {
  EiPing* const ping = newEiPing(eiContext.get());
  sendEiPing(ping);
  unrefEiPing(ping);
  keyReports.noteRequest();
}

void EisChannel::requestKeyReport() {
  if (newEiPing == nullptr || eiContext == nullptr || disconnected) return;
  if (!keyReports.isPending() && !keyReports.isComplete()) ping();
}

void EisChannel::awaitKeyReport() {
  if (newEiPing == nullptr || eiContext == nullptr || reportsLate) return;
  const Clock::time_point deadline = Clock::now() + reportLimit;
  while (!disconnected && !keyReports.isComplete()) {
    if (!keyReports.coversAll()) ping();
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    reportsLate = left <= milliseconds(0);
    if (reportsLate) return;
    pollfd readable{ei_get_fd(eiContext.get()), POLLIN, 0};
    if (poll(&readable, 1, static_cast<int>(left.count())) > 0) dispatch();
  }
}

bool EisChannel::waitForDevice(InputKind kind) {
  Slot& wanted = slot(kind);
  const Clock::time_point deadline = Clock::now() + replacementLimit;
  while (eiContext != nullptr) {
    read();
    if (!wanted.isFilled() || wanted.removed) takeDevice(wanted);
    if (wanted.isFilled() && !wanted.removed) return true;
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (disconnected || left <= milliseconds(0)) return false;
    pollfd readable{ei_get_fd(eiContext.get()), POLLIN, 0};
    poll(&readable, 1, static_cast<int>(left.count()));
  }
  return false;
}

// The kernel reports a socket as writable only while it is three quarters empty.
bool EisChannel::waitForRoom(milliseconds limit) const {
  pollfd writable{eisFd.get(), POLLOUT, 0};
  const Clock::time_point deadline = Clock::now() + limit;
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    ready = poll(&writable, 1, static_cast<int>(std::max(left, milliseconds(0)).count()));
  } while (ready < 0 && errno == EINTR);
  return ready != 0;
}

// Processes the events that have arrived. Returns whether the set-up is complete.
bool EisChannel::dispatch() {
  bool done = false;
  ei_dispatch(eiContext.get());
  while (const EiEvent event{ei_get_event(eiContext.get())}) done = handle(event.get()) || done;
  return done;
}

bool EisChannel::handle(ei_event* event) {
  isHandshakeComplete = true;  // libei delivers no event before
  if (static_cast<int>(ei_event_get_type(event)) == eiEventPong) {
    keyReports.noteReport();
    reportsLate = false;
    return false;
  }
  ei_device* const device = ei_event_get_device(event);
  switch (ei_event_get_type(event)) {
    case EI_EVENT_DISCONNECT:
      disconnected = true;
      return true;
    case EI_EVENT_SEAT_ADDED:
      ei_seat_bind_capabilities(ei_event_get_seat(event), EI_DEVICE_CAP_POINTER_ABSOLUTE,
                                EI_DEVICE_CAP_BUTTON, EI_DEVICE_CAP_SCROLL, EI_DEVICE_CAP_KEYBOARD, nullptr);
      return false;
    case EI_EVENT_DEVICE_ADDED:
      if (settingUp) fillSlots(device);
      return false;
    case EI_EVENT_DEVICE_RESUMED:
      resumedDevices.emplace_back(ei_device_ref(device));
      if (settingUp) ei_device_start_emulating(device, 0);
      for (Slot& each : slots) {
        if (each.removed) takeDevice(each);
        if (each.device.get() == device) ei_device_start_emulating(device, 0);
      }
      return slot(InputKind::pointer).isFilled() && slot(InputKind::button).isFilled();
    case EI_EVENT_DEVICE_PAUSED:
      forget(device);
      return false;
    case EI_EVENT_DEVICE_REMOVED:
      forget(device);
      noteRemoval(device);
      return false;
    case EI_EVENT_KEYBOARD_MODIFIERS:
      if (device == slot(InputKind::keyboard).device.get()) {
        group = ei_event_keyboard_get_xkb_group(event);
        modifiers =
            ei_event_keyboard_get_xkb_mods_depressed(event) | ei_event_keyboard_get_xkb_mods_latched(event);
        capsLocked = (ei_event_keyboard_get_xkb_mods_locked(event) & lockModifier) != 0;
      }
      return false;
    default:
      return false;
  }
}

void EisChannel::fillSlots(ei_device* device) {
  for (Slot& each : slots) {
    if (!each.isFilled() && ei_device_has_capability(device, each.capability)) {
      each.device.reset(ei_device_ref(device));
    }
  }
}

// GNOME 48 replaces the keyboard when the user switches layouts, and removes the pointer
// permanently when the scale changes. KDE Plasma 6.3 replaces the pointer when the scale changes
// and the keyboard when the list of layouts changes. Events sent through a removed device are lost
// without an error.
void EisChannel::noteRemoval(ei_device* device) {
  for (Slot& each : slots) {
    if (each.device.get() != device) continue;
    each.removed = true;
    if (each.capability == EI_DEVICE_CAP_KEYBOARD) keyReports.noteRemoval();
    takeDevice(each);
  }
}

void EisChannel::takeDevice(Slot& vacant) {
  for (const EiDevice& device : resumedDevices) {
    if (!ei_device_has_capability(device.get(), vacant.capability)) continue;
    vacant.device.reset(ei_device_ref(device.get()));
    vacant.removed = false;
    ei_device_start_emulating(device.get(), 0);  // no effect if it was started already
    if (vacant.capability == EI_DEVICE_CAP_KEYBOARD) {
      group.reset();
      modifiers = 0;
    }
    return;
  }
}

void EisChannel::forget(ei_device* device) {
  std::erase_if(resumedDevices, [device](const EiDevice& resumed) { return resumed.get() == device; });
}

// Abandons a context that would crash when released. Its descriptors are closed. Its memory stays
// reachable, so that leak checkers do not report it.
void EisChannel::abandon() {
  static ei* abandoned = nullptr;
  close(ei_get_fd(eiContext.get()));
  close(std::exchange(contextFd, -1));
  eisFd = FileDescriptor();
  ei* const context = eiContext.release();
  ei_set_user_data(context, std::exchange(abandoned, context));
}

}  // namespace ostler
