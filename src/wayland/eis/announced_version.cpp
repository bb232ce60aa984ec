#include "wayland/eis/announced_version.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>
#include <string_view>

#include <sys/socket.h>

#include "base/file_descriptor.h"
#include "wayland/eis/eis_channel.h"

// libei has no function that returns its versions; it only announces them to a server. So a
// separate context is connected here to a minimal server, which sends just the two messages of a
// complete handshake (see eis_handshake.cpp).

namespace ostler {
namespace {

constexpr std::uint32_t firstVersion = 1;

// Each message begins with its object (0, in two words), its length in bytes and its opcode.
constexpr std::array<std::uint32_t, 5> greeting{0, 0, 20, 0, firstVersion};
// The first object of a server is 0xff00000000000000.
constexpr bool isLittleEndian = std::endian::native == std::endian::little;
constexpr std::array<std::uint32_t, 2> object{isLittleEndian ? 0 : 0xff000000,
                                              isLittleEndian ? 0xff000000 : 0};
constexpr std::array<std::uint32_t, 8> connection{0, 0, 32, 2, 1, object[0], object[1], firstVersion};

bool sendMessage(int socket, std::span<const std::uint32_t> message) {
  const auto size = static_cast<ssize_t>(message.size_bytes());
  return send(socket, message.data(), message.size_bytes(), MSG_NOSIGNAL) == size;
}

std::uint32_t findConnectionVersion(std::span<const char> announcement) {
  // The name is followed by a zero byte and padded to a multiple of 4 bytes.
  constexpr std::string_view name("ei_connection\0\0\0", 16);
  const auto found = std::search(announcement.begin(), announcement.end(), name.begin(), name.end());
  if (announcement.end() - found < static_cast<std::ptrdiff_t>(name.size() + sizeof(std::uint32_t))) {
    return firstVersion;
  }
  std::uint32_t version;
  std::memcpy(&version, &*found + name.size(), sizeof version);
  return version;
}

}  // namespace

std::uint32_t announcedConnectionVersion() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0) return firstVersion;
  const FileDescriptor server(ends[0]);
  FileDescriptor client(ends[1]);
  EiContext context(ei_new_sender(nullptr));
  if (context == nullptr) return firstVersion;
  ei_log_set_handler(context.get(), ignoreLog);
  if (!sendMessage(server.get(), greeting) || ei_setup_backend_fd(context.get(), client.get()) != 0) {
    return firstVersion;
  }
  client.release();
  ei_dispatch(context.get());
  std::array<char, 8192> announcement;
  const ssize_t size = recv(server.get(), announcement.data(), announcement.size(), 0);
  // Releasing the context before the handshake is complete would crash, so it is leaked then.
  const bool complete = size > 0 && sendMessage(server.get(), connection);
  ei_dispatch(context.get());
  if (!complete) {
    context.release();
    return firstVersion;
  }
  return findConnectionVersion(std::span(announcement).first(static_cast<std::size_t>(size)));
}

}  // namespace ostler
