#include "base/exit_guard.h"

#include <cstdlib>

#include <unistd.h>

namespace ostler {
namespace {

// exit() destroys the calling thread's thread-local objects before it runs the exit handlers of the
// process. When a thread ends normally, this destructor runs too, but no guard exists then.
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
