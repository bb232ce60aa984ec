#include "wayland/eis/eis_handshake.h"

#include <cstdint>
#include <cstring>

// A message consists of the number of its object (64 bits), its length in bytes (header included),
// its opcode and its arguments, all in the machine's byte order. A string is its length
// (terminating zero included), then its bytes, padded to a multiple of 4. On object 0 the server
// sends its version once, then the version of each interface that it supports, and finally the
// number of the connection object.

namespace ostler {
namespace {

constexpr std::size_t headerSize = 16;
constexpr std::size_t longestMessage = 1024;  // a message holds no more than a name and numbers
constexpr std::uint64_t firstClientObject = 1;
constexpr std::uint64_t firstServerObject = 0xff00000000000000;

enum : std::uint32_t { handshakeVersion, interfaceVersion, connection };

template <typename T>
T valueAt(std::span<const std::byte> bytes, std::size_t offset) {
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// Whether the arguments are valid. `message` is one complete message with the opcode.
bool argumentsFit(std::uint32_t opcode, std::span<const std::byte> message) {
  const std::size_t size = message.size() - headerSize;
  if (opcode == handshakeVersion) return size == 4 && valueAt<std::uint32_t>(message, headerSize) != 0;
  if (opcode == connection) {
    return size == 16 && valueAt<std::uint64_t>(message, headerSize + 4) >= firstServerObject &&
           valueAt<std::uint32_t>(message, headerSize + 12) != 0;
  }
  if (size < 12) return false;
  const std::size_t length = valueAt<std::uint32_t>(message, headerSize);
  return length > 1 && length <= size - 8 && (length + 3) / 4 * 4 == size - 8 &&
         message[headerSize + 4 + length - 1] == std::byte{0};
}

}  // namespace

EisHandshake::State EisHandshake::read(std::span<const std::byte> bytes) {
  for (bool first = true; !bytes.empty(); first = false) {
    if (bytes.size() < headerSize) return State::partial;
    const auto object = valueAt<std::uint64_t>(bytes, 0);
    const auto length = valueAt<std::uint32_t>(bytes, 8);
    const auto opcode = valueAt<std::uint32_t>(bytes, 12);
    if (length < headerSize || length > longestMessage) return State::broken;
    // libei may have read messages that arrived after the previous peek, the end of the handshake
    // included. The server then continues with its first object, the connection, or answers libei's
    // first object.
    if (object == firstClientObject || object == firstServerObject) {
      return greeted && first ? State::complete : State::broken;
    }
    if (object != 0) return State::broken;
    const bool isGreeting = opcode == handshakeVersion;
    if (opcode > connection || (isGreeting ? !first : first && !greeted)) return State::broken;
    if (bytes.size() < length) return State::partial;
    if (!argumentsFit(opcode, bytes.first(length))) return State::broken;
    if (opcode == connection) {
      version = valueAt<std::uint32_t>(bytes, headerSize + 12);
      return State::complete;
    }
    bytes = bytes.subspan(length);
    if (isGreeting && bytes.empty()) {
      greeted = true;
      return State::greeting;
    }
  }
  return State::partial;
}

}  // namespace ostler
