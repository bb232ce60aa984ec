#include "base/exit_guard.h"

#include <cstdlib>

#include <unistd.h>

namespace ostler {
namespace {

// exit() destroys the thread-local objects of its thread before it runs the
// handlers of the process. So does the end of a thread, but no guard lives then.
struct Sentinel {
  ~Sentinel() {
    if (liveGuards > 0 && !onMainThread) _exit(EXIT_FAILURE);
  }

  const bool onMainThread = gettid() == getpid();
  int liveGuards = 0;
};

thread_local Sentinel sentinel;

}  // namespace

ExitGuard::ExitGuard() { ++sentinel.liveGuards; }
ExitGuard::~ExitGuard() { --sentinel.liveGuards; }

}  // namespace ostler
