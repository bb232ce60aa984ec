#include "x11/escape_worker.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "backend/escape_flags.h"
#include "base/exit_guard.h"
#include "base/sleep.h"
#include "x11/escape_grab.h"

namespace ostler {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds pause{100};
constexpr char unreachable[] = "the X server cannot be reached";

// Reports the end of the worker when it is destroyed. It is declared before everything that the
// worker uses, so all of that has been destroyed by then.
class EndReport {
public:
  explicit EndReport(WorkerState& reportTo) : state(reportTo) {}
  EndReport(const EndReport&) = delete;
  EndReport& operator=(const EndReport&) = delete;
  ~EndReport() { state.reportEnd(); }

private:
  WorkerState& state;
};

// Distinguishes the user's presses from those that the key operation sends. A synthetic press
// usually arrives after syntheticEscapeActive has been cleared, so these presses are counted. By
// that time the server has delivered the press, and a round trip brings it into the queue.
class SyntheticPresses {
public:
  // Handles all events that have arrived, and calls `onUsersPress` for each press of the user.
  template <typename OnUsersPress>
  void read(Display* display, EscapeGrab& grab, OnUsersPress onUsersPress) {
    const std::uint64_t sent = syntheticEscapeCount;
    const bool allDelivered = !syntheticEscapeActive;
    if (sent != seen) XSync(display, False);
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (event.type == MappingNotify) grab.follow();
      if (grab.isPress(event) && !isSynthetic()) onUsersPress();
    }
    // A synthetic press that has not arrived by now went to another client's grab.
    if (allDelivered) seen = std::max(seen, sent);
  }

private:
  bool isSynthetic() {
    if (seen == syntheticEscapeCount) return syntheticEscapeActive;
    ++seen;
    return true;
  }

  std::uint64_t seen = syntheticEscapeCount;
};

}  // namespace

WorkerState::WorkerState(std::string nameOfDisplay, napi_threadsafe_function onEscape)
    : displayName(std::move(nameOfDisplay)), escapeFunction(onEscape) {}

bool WorkerState::waitUntilRunning(std::chrono::nanoseconds budget) {
  const auto deadline = steady_clock::now() + budget;
  MutexLock lock(mutex);
  while (stage == Stage::starting && lock.waitUntil(changed, deadline) == std::cv_status::no_timeout) {
  }
  dismissed = stage != Stage::running;
  return !dismissed;
}

napi_threadsafe_function WorkerState::dismiss() {
  const MutexLock lock(mutex);
  dismissed = true;
  return std::exchange(escapeFunction, nullptr);
}

bool WorkerState::waitUntilEnded(std::chrono::nanoseconds budget) {
  const auto deadline = steady_clock::now() + budget;
  MutexLock lock(mutex);
  while (stage != Stage::ended && lock.waitUntil(changed, deadline) == std::cv_status::no_timeout) {
  }
  return stage == Stage::ended;
}

bool WorkerState::isDismissed() {
  const MutexLock lock(mutex);
  return dismissed;
}

bool WorkerState::reportRunning() {
  const MutexLock lock(mutex);
  if (dismissed) return false;
  stage = Stage::running;
  changed.notify_one();
  return true;
}

// The lock is held while the callback is queued, because the function may be released as soon as
// dismiss() returns. Queueing never blocks.
void WorkerState::reportPress() {
  const MutexLock lock(mutex);
  if (dismissed) return;
  escapePressed.exchange(true);
  if (escapeFunction == nullptr) return;
  // When the host's environment is ending, this status also means that our reference to the
  // function has been released: it must be neither called nor released again.
  if (napi_call_threadsafe_function(escapeFunction, nullptr, napi_tsfn_nonblocking) == napi_closing) {
    escapeFunction = nullptr;
  }
}

void WorkerState::reportFailure(std::string reason) {
  const MutexLock lock(mutex);
  failure = std::move(reason);
}

std::string WorkerState::startFailure() {
  const MutexLock lock(mutex);
  return failure;
}

void WorkerState::reportEnd() {
  const MutexLock lock(mutex);
  stage = Stage::ended;
  changed.notify_one();
}

void watchEscape(const std::shared_ptr<WorkerState>& state) {
  const ExitGuard exitGuard;
  const EndReport endReport(*state);
  const char* const displayName = state->displayName.c_str();
  // This connection stays open until the second one exists, because a server may reset itself or
  // end when its last client disconnects.
  XcbConnection first = connectWhenAnswered(displayName);
  if (first == nullptr) return state->reportFailure(unreachable);
  if (state->isDismissed()) return;
  const DisplayConnection connection(XOpenDisplay(displayName));
  first.reset();
  if (connection == nullptr) return state->reportFailure(unreachable);
  SyntheticPresses synthetic;
  EscapeGrab grab(connection.get());
  if (!grab.held()) return state->reportFailure(grab.failure());
  if (!state->reportRunning()) return;
  while (!state->isDismissed()) {
    synthetic.read(connection.get(), grab, [&] { state->reportPress(); });
    sleepFor(pause);
  }
}

}  // namespace ostler
