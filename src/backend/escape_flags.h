#pragma once

#include <atomic>
#include <cstdint>

namespace ostler {

// Set by the Escape watcher when a person presses Escape, cleared by the next
// driverLock; the type operations stop on it.
inline std::atomic<bool> escapePressed{false};

// True while the X11 key operation sends Escape itself, which is no reason to stop.
inline std::atomic<bool> syntheticEscapeActive{false};

// How often that was so, counted after the flag is raised. The watcher may come
// to read such a press when the flag is down again, and knows it by the count.
inline std::atomic<std::uint64_t> syntheticEscapeCount{0};

}  // namespace ostler
