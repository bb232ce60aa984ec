#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ostler {

// What a server says in the handshake, which begins its side of an EIS
// connection: a greeting, and when that is answered all the rest.
class EisHandshake {
public:
  enum class State {
    partial,   // more has to come
    greeting,  // may be answered
    complete,  // is through; what follows is not looked at
    broken,    // is not a handshake
  };

  // Of all that is there to be read.
  State read(std::span<const std::byte> bytes);

  // The version that the server gives its connection, once that is complete;
  // 0 when it was not seen.
  std::uint32_t connectionVersion() const { return version; }

private:
  std::uint32_t version = 0;
  bool greeted = false;
};

}  // namespace ostler
