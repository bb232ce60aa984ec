#pragma once

#include <cstdint>
#include <string>

namespace ostler {

// Locks a file, which is created if it does not exist, and returns the descriptor that holds the
// lock. The lock ends when the descriptor is closed or the process ends, however it ends. While
// another process holds it, this waits or returns -1. Throws std::runtime_error when the file
// cannot be locked.
std::int32_t lockFile(const std::string& path, bool wait);

}  // namespace ostler
