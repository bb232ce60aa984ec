#pragma once

#include <atomic>

namespace ostler {

// Set by the Escape watcher when a person presses Escape, cleared by the next
// driverLock; the type operations stop on it.
inline std::atomic<bool> escapePressed{false};

// True while the X11 key operation sends Escape itself, which is no reason to stop.
inline std::atomic<bool> syntheticEscapeActive{false};

}  // namespace ostler
