#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ostler {

// Checks the server's side of the handshake that begins an EIS connection: a greeting, then, once
// the client has answered it, the remaining messages.
class EisHandshake {
public:
  enum class State {
    partial,   // more bytes are needed
    greeting,  // the greeting has arrived and may be answered
    complete,  // the handshake is complete; later bytes are not checked
    broken,    // the bytes are not a valid handshake
  };

  // `bytes` is everything that can be read from the socket.
  State read(std::span<const std::byte> bytes);

  // The version that the server gives the connection object; 0 if that message has not been seen.
  std::uint32_t connectionVersion() const { return version; }

private:
  std::uint32_t version = 0;
  bool greeted = false;
};

}  // namespace ostler
