#pragma once

namespace ostler {

// While a guard exists, exit() on its thread ends the process at once with code 1 and without
// running exit handlers, unless it is the main thread. Xlib calls exit(1) on the thread that
// notices the loss of the X server, and exit() would destroy objects that other threads are using.
class ExitGuard {
public:
  ExitGuard();
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;
  ~ExitGuard();
};

}  // namespace ostler
