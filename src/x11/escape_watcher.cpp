#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "backend/escape_flags.h"
#include "backend/waits.h"
#include "base/exit_guard.h"
#include "driver/driver.h"
#include "driver/session.h"
#include "x11/escape_grab.h"

namespace ostler {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds startBudget = 5s;
constexpr std::chrono::nanoseconds pause = 100ms;
// For a worker that is to end: one whose server has gone silent does not.
constexpr std::chrono::nanoseconds unlockBudget = 5s;
constexpr std::chrono::nanoseconds exitBudget = 1s;

// What a worker and the calls that start and end it tell each other. Both own
// it: a worker that is late outlives the call that gave it up.
struct Handshake {
  Handshake(const char* name, napi_threadsafe_function function)
      : displayName(name), escapeFunction(function) {}

  const std::string displayName;
  std::mutex mutex;  // guards the three fields that follow
  enum class Stage { starting, running, ended } stage = Stage::starting;
  bool dismissed = false;
  // The host's callback; null once the worker is dismissed.
  napi_threadsafe_function escapeFunction;
  std::condition_variable changed;  // signalled for the stage
};
using Stage = Handshake::Stage;

// Guards what follows, all through lock and unlock: they can be called in
// several JavaScript threads.
std::mutex watcherMutex;
// Never destroyed: the end of a joinable thread object ends the process.
std::thread& escapeThread = *new std::thread;
// With the thread that it belongs to.
std::shared_ptr<Handshake> currentHandshake;
// The workers that were given up; they are gone when they live no more.
std::vector<std::weak_ptr<Handshake>> lateHandshakes;

std::atomic<bool> escapeGrabActive{false};

// Tells, when it goes, that the worker touches nothing any more.
class EndSignal {
public:
  explicit EndSignal(Handshake& with) : handshake(with) {}
  EndSignal(const EndSignal&) = delete;
  EndSignal& operator=(const EndSignal&) = delete;
  ~EndSignal() {
    const std::lock_guard lock(handshake.mutex);
    handshake.stage = Stage::ended;
    handshake.changed.notify_one();
  }

private:
  Handshake& handshake;
};

bool isDismissed(Handshake& handshake) {
  const std::lock_guard lock(handshake.mutex);
  return handshake.dismissed;
}

// Raises the flag on which the starter takes the worker for running, unless it
// has given the worker up.
bool reportRunning(Handshake& handshake) {
  const std::lock_guard lock(handshake.mutex);
  if (handshake.dismissed) return false;
  escapeGrabActive.exchange(true);
  handshake.stage = Stage::running;
  handshake.changed.notify_one();
  return true;
}

// Tells the presses that the key operation sent from a person's. They arrive
// here some time after they were sent, mostly when syntheticEscapeActive is down
// again; but once it is, the server has handed them out, and a round trip
// brings them in.
class SyntheticPresses {
public:
  // Reads what has happened so far, and calls back for each press of a person.
  template <typename OnPress>
  void read(Display* display, EscapeGrab& grab, OnPress onPersonsPress) {
    const std::uint64_t sent = syntheticEscapeCount;
    const bool allHandedOut = !syntheticEscapeActive;
    if (sent != seen) XSync(display, False);
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (event.type == MappingNotify) grab.follow();
      if (grab.isPress(event) && !isSynthetic()) onPersonsPress();
    }
    // What has not come by now went to somebody else's grab.
    if (allHandedOut) seen = std::max(seen, sent);
  }

private:
  bool isSynthetic() {
    if (seen == syntheticEscapeCount) return syntheticEscapeActive;
    ++seen;
    return true;
  }

  std::uint64_t seen = syntheticEscapeCount;
};

// Holds the lock across the call, which only queues the callback and never
// waits: whoever dismisses the worker releases the function next.
void reportPress(Handshake& handshake) {
  const std::lock_guard lock(handshake.mutex);
  if (handshake.dismissed) return;
  escapePressed.exchange(true);
  if (handshake.escapeFunction == nullptr) return;
  const napi_status status =
      napi_call_threadsafe_function(handshake.escapeFunction, nullptr, napi_tsfn_nonblocking);
  // The host's environment is ending. With this answer our hold on the function
  // has gone, so it is neither called nor released any more.
  if (status == napi_closing) handshake.escapeFunction = nullptr;
}

void watchEscape(const std::shared_ptr<Handshake>& handshake) {
  const ExitGuard exitGuard;
  const EndSignal atTheEnd(*handshake);
  const char* const displayName = handshake->displayName.c_str();
  // A server whose only client goes may reset itself or end, so the first
  // connection stays until there is the second.
  XcbConnection first = connectWhenAnswered(displayName);
  if (first == nullptr || isDismissed(*handshake)) return;
  const DisplayConnection connection(XOpenDisplay(displayName));
  first.reset();
  if (connection == nullptr) return;
  SyntheticPresses synthetic;
  EscapeGrab grab(connection.get());
  if (!grab.held() || !reportRunning(*handshake)) return;
  while (!isDismissed(*handshake)) {
    synthetic.read(connection.get(), grab, [&] { reportPress(*handshake); });
    sleepFor(pause);
  }
}

// Ends the worker, or leaves it to end by itself when it does not in time.
// Returns the host's callback, which the worker does not touch any more.
napi_threadsafe_function dismissWorker(std::chrono::nanoseconds budget) {
  const std::shared_ptr<Handshake> handshake = std::exchange(currentHandshake, nullptr);
  napi_threadsafe_function function = nullptr;
  bool ended = false;
  {
    std::unique_lock lock(handshake->mutex);
    handshake->dismissed = true;
    function = std::exchange(handshake->escapeFunction, nullptr);
    ended = handshake->changed.wait_for(lock, budget, [&] { return handshake->stage == Stage::ended; });
  }
  if (ended) {
    escapeThread.join();
  } else {
    escapeThread.detach();
    lateHandshakes.push_back(handshake);
  }
  return function;
}

// Blocks the signals that the host may handle, on this thread and on those that
// it starts meanwhile. The ones by which a thread reports its own fault stay.
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

bool startWorker(const char* displayName, napi_threadsafe_function onEscape) {
  std::erase_if(lateHandshakes, [](const auto& late) { return late.expired(); });
  // One thread that waits for a silent server is enough.
  for (const auto& late : lateHandshakes) {
    if (const auto handshake = late.lock(); handshake && handshake->displayName == displayName) return false;
  }
  lateHandshakes.reserve(lateHandshakes.size() + 1);
  currentHandshake = std::make_shared<Handshake>(displayName, onEscape);
  {
    const SignalBlock forTheWorker;
    escapeThread = std::thread(watchEscape, currentHandshake);
  }
  {
    Handshake& handshake = *currentHandshake;
    std::unique_lock lock(handshake.mutex);
    handshake.changed.wait_for(lock, startBudget, [&] { return handshake.stage != Stage::starting; });
    if (escapeGrabActive) return true;
    handshake.dismissed = true;
  }
  dismissWorker(0s);
  return false;
}

// Ends the worker before the process takes apart what it uses.
struct StopAtExit {
  ~StopAtExit() {
    const std::unique_lock lock(watcherMutex, std::try_to_lock);
    if (!lock || !escapeThread.joinable()) return;
    escapeGrabActive.exchange(false);
    dismissWorker(exitBudget);
  }
} stopAtExit;

}  // namespace
}  // namespace ostler

bool driverLock(napi_threadsafe_function onEscape) {
  using namespace ostler;
  const std::lock_guard lock(watcherMutex);
  if (escapeGrabActive) return false;
  if (detectSessionKind() == "wayland") return false;
  if (waylandSocketPresent()) return false;
  escapePressed.exchange(false);
  try {
    const char* displayName = std::getenv("DISPLAY");
    return displayName != nullptr && *displayName != '\0' && startWorker(displayName, onEscape);
  } catch (const std::exception&) {
    return false;  // no thread, or no memory for one
  }
}

void driverUnlock() {
  using namespace ostler;
  const std::lock_guard lock(watcherMutex);
  escapeGrabActive.exchange(false);
  if (!escapeThread.joinable()) return;
  const napi_threadsafe_function function = dismissWorker(unlockBudget);
  // Drops the calls that are queued: none may come after this.
  if (function != nullptr) napi_release_threadsafe_function(function, napi_tsfn_abort);
}
