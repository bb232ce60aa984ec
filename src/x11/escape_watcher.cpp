#include "x11/escape_watcher.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <utility>

#include "backend/escape_flags.h"
#include "x11/escape_worker.h"

namespace ostler {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds startBudget = 5s;
// A worker ends within its pause, unless its X server is unresponsive.
constexpr std::chrono::nanoseconds stopBudget = 5s;
constexpr std::chrono::nanoseconds exitBudget = 1s;

// Blocks the signals that the host may handle, on this thread and on threads that it starts
// meanwhile. Signals that report a thread's own fault stay unblocked.
class SignalBlock {
public:
  SignalBlock() {
    sigset_t signals;
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
      sigdelset(&signals, fault);
    }
    pthread_sigmask(SIG_BLOCK, &signals, &before);
  }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
  sigset_t before{};
};

// This object is created when the addon is loaded, so that the worker ends before the process
// destroys what the worker uses.
struct StopAtExit {
  ~StopAtExit() { EscapeWatcher::instance().stopAtExit(); }
} stopWorkerAtExit;

}  // namespace

// The watcher is never destroyed. At process exit another thread may be in start() or stop(), and
// the destructor of a joinable thread object would terminate the process.
EscapeWatcher& EscapeWatcher::instance() {
  static EscapeWatcher& watcher = *new EscapeWatcher;
  return watcher;
}

bool EscapeWatcher::start(napi_threadsafe_function onEscape) {
  const MutexLock lock(mutex);
  failure = "it is being watched already";
  if (escapeGrabActive) return false;
  escapePressed.exchange(false);
  failure = "DISPLAY is not set";
  try {
    const char* const displayName = std::getenv("DISPLAY");
    return displayName != nullptr && *displayName != '\0' && startWorker(displayName, onEscape);
  } catch (const std::exception& error) {
    failure = error.what();  // no thread, or no memory for one
    return false;
  }
}

std::string EscapeWatcher::startFailure() {
  const MutexLock lock(mutex);
  return failure;
}

void EscapeWatcher::stop() {
  const MutexLock lock(mutex);
  if (!escapeGrabActive) return;
  const napi_threadsafe_function function = endWorker(stopBudget);
  // The abort mode also drops queued calls.
  if (function != nullptr) napi_release_threadsafe_function(function, napi_tsfn_abort);
}

void EscapeWatcher::stopAtExit() {
  if (!mutex.tryLock()) return;
  const MutexLock lock(mutex, std::adopt_lock);
  if (escapeGrabActive) endWorker(exitBudget);
}

bool EscapeWatcher::startWorker(const char* displayName, napi_threadsafe_function onEscape) {
  std::erase_if(abandonedWorkers, [](const auto& abandoned) { return abandoned.expired(); });
  // One thread at a time may wait for an unresponsive server.
  for (const auto& abandoned : abandonedWorkers) {
    const auto state = abandoned.lock();
    if (state == nullptr || state->displayName != displayName) continue;
    failure = state->startFailure();
    return false;
  }
  abandonedWorkers.reserve(abandonedWorkers.size() + 1);
  worker = std::make_shared<WorkerState>(displayName, onEscape);
  {
    const SignalBlock inWorker;
    escapeThread = std::thread(watchEscape, worker);
  }
  escapeGrabActive = worker->waitUntilRunning(startBudget);
  if (!escapeGrabActive) {
    failure = worker->startFailure();
    joinOrAbandon(0s);
  }
  return escapeGrabActive;
}

// Returns the host's callback, which the worker no longer uses.
napi_threadsafe_function EscapeWatcher::endWorker(std::chrono::nanoseconds budget) {
  escapeGrabActive = false;
  const napi_threadsafe_function function = worker->dismiss();
  joinOrAbandon(budget);
  return function;
}

void EscapeWatcher::joinOrAbandon(std::chrono::nanoseconds budget) {
  if (worker->waitUntilEnded(budget)) {
    escapeThread.join();
  } else {
    escapeThread.detach();
    abandonedWorkers.push_back(worker);
  }
  worker.reset();
}

}  // namespace ostler
