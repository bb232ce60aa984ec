#pragma once

#include <cstdint>

namespace ostler {

// The highest version of a connection that the loaded libei announces to a
// server; 1, which all have, when that cannot be told.
std::uint32_t announcedConnectionVersion();

}  // namespace ostler
