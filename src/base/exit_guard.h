#pragma once

namespace ostler {

// While one lives, exit() on this thread ends the process at once with code 1,
// unless this is the main thread. Xlib calls exit(1) on the thread that finds
// the X server gone, and what exit() destroys is in use on other threads.
class ExitGuard {
public:
  ExitGuard();
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;
  ~ExitGuard();
};

}  // namespace ostler
