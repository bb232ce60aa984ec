#pragma once

#include <cstdint>

namespace ostler {

// Returns the highest version of the connection interface that the loaded libei announces to a
// server, or 1, which every libei supports, if that cannot be determined.
std::uint32_t announcedConnectionVersion();

}  // namespace ostler
