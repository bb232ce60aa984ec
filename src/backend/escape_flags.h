#pragma once

#include <atomic>
#include <cstdint>

namespace ostler {

// The Escape watcher sets this when the user presses Escape, and the next driverLock clears it.
// Typing stops when it is set.
inline std::atomic<bool> escapePressed{false};

// Why an operation that cannot end early without an error was stopped.
inline constexpr char stoppedByUser[] = "The user has pressed Escape.";

// This is true while the X11 key operation sends Escape, which must not stop typing.
inline std::atomic<bool> syntheticEscapeActive{false};

// Counts how often syntheticEscapeActive was set; it is incremented after the flag is set. The
// watcher may read a synthetic press after the flag has been cleared, and recognises the press by
// this count.
inline std::atomic<std::uint64_t> syntheticEscapeCount{0};

}  // namespace ostler
