#pragma once

#include <atomic>
#include <cstdint>

namespace ostler {

// Set by the Escape watcher when the user presses Escape, cleared by the next
// driverLock; typing stops when it is set.
inline std::atomic<bool> escapePressed{false};

// True while the X11 key operation sends Escape itself, which must not stop typing.
inline std::atomic<bool> syntheticEscapeActive{false};

// The number of times that syntheticEscapeActive was raised, incremented after it.
// The watcher may read a synthetic press after the flag has been cleared, and
// recognises it by this count.
inline std::atomic<std::uint64_t> syntheticEscapeCount{0};

}  // namespace ostler
