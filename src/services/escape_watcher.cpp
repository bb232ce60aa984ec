#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include <pthread.h>

#include "driver/driver.h"
#include "driver/escape_flags.h"
#include "driver/session.h"
#include "driver/sleep.h"
#include "services/escape_grab.h"

namespace ostler {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds startBudget = 5s;
constexpr std::chrono::nanoseconds pause = 100ms;
constexpr std::chrono::seconds exitBudget = 1s;

// What the two threads tell each other while the worker starts. Both own it: a
// worker that is late outlives the call that started it.
struct Handshake {
  explicit Handshake(const char* name) : displayName(name) {}

  const std::string displayName;
  std::mutex mutex;  // guards the two flags
  std::condition_variable changed;
  bool ready = false;
  bool abandoned = false;
};

// Guards escapeThread, escapeFunction and lateHandshake, all through lock and
// unlock: they can be called in several JavaScript threads.
std::mutex watcherMutex;
// Never destroyed: the end of a joinable thread object ends the process.
std::thread& escapeThread = *new std::thread;
// The worker touches it too, between its start and its join.
napi_threadsafe_function escapeFunction = nullptr;
// The last worker that was given up, while it lives.
std::weak_ptr<Handshake> lateHandshake;

std::atomic<bool> escapeGrabActive{false};

// Tells the starter, when it goes, that the worker is ready or will never be.
class ReadySignal {
public:
  explicit ReadySignal(Handshake& with) : handshake(with) {}
  ReadySignal(const ReadySignal&) = delete;
  ReadySignal& operator=(const ReadySignal&) = delete;
  ~ReadySignal() {
    const std::lock_guard lock(handshake.mutex);
    handshake.ready = true;
    handshake.changed.notify_one();
  }

private:
  Handshake& handshake;
};

bool isAbandoned(Handshake& handshake) {
  const std::lock_guard lock(handshake.mutex);
  return handshake.abandoned;
}

// Raises the flag on which the starter takes the worker for running, unless it
// has given the worker up.
bool reportRunning(Handshake& handshake) {
  const std::lock_guard lock(handshake.mutex);
  if (handshake.abandoned) return false;
  escapeGrabActive.exchange(true);
  handshake.ready = true;
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
  void read(Display* display, const EscapeGrab& grab, OnPress onPersonsPress) {
    const std::uint64_t sent = syntheticEscapeCount;
    const bool allHandedOut = !syntheticEscapeActive;
    if (sent != seen) XSync(display, False);
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
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

void reportPress() {
  escapePressed.exchange(true);
  if (escapeFunction == nullptr) return;
  const napi_status status = napi_call_threadsafe_function(escapeFunction, nullptr, napi_tsfn_nonblocking);
  // The host's environment is ending. With this answer our hold on the function
  // has gone, so it is neither called nor released any more.
  if (status == napi_closing) escapeFunction = nullptr;
}

void watchEscape(const std::shared_ptr<Handshake>& handshake) {
  const ReadySignal atTheEnd(*handshake);
  const char* const displayName = handshake->displayName.c_str();
  if (!displayAnswers(displayName) || isAbandoned(*handshake)) return;
  const DisplayConnection connection(XOpenDisplay(displayName));
  if (connection == nullptr) return;
  SyntheticPresses synthetic;
  const EscapeGrab grab(connection.get());
  if (!grab.held() || !reportRunning(*handshake)) return;
  while (escapeGrabActive) {
    synthetic.read(connection.get(), grab, reportPress);
    sleepFor(pause);
  }
}

bool startWorker(const char* displayName) {
  // One thread that waits for a silent server is enough.
  if (const auto late = lateHandshake.lock(); late && late->displayName == displayName) return false;
  const auto handshake = std::make_shared<Handshake>(displayName);
  escapeThread = std::thread(watchEscape, handshake);
  {
    std::unique_lock lock(handshake->mutex);
    handshake->changed.wait_for(lock, startBudget, [&] { return handshake->ready; });
    if (escapeGrabActive) return true;
    handshake->abandoned = !handshake->ready;
  }
  if (handshake->abandoned) {
    lateHandshake = handshake;
    escapeThread.detach();
  } else {
    escapeThread.join();
  }
  return false;
}

// Ends the worker before the process takes apart what it uses.
struct StopAtExit {
  ~StopAtExit() {
    const std::unique_lock lock(watcherMutex, std::try_to_lock);
    if (!lock || !escapeThread.joinable()) return;
    // Xlib calls exit() on the worker itself when the server has gone.
    if (escapeThread.get_id() == std::this_thread::get_id()) return;
    escapeGrabActive.exchange(false);
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += exitBudget.count();  // the server may have gone silent
    pthread_timedjoin_np(escapeThread.native_handle(), nullptr, &deadline);
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
  escapeFunction = onEscape;
  escapePressed.exchange(false);
  bool running = false;
  try {
    const char* displayName = std::getenv("DISPLAY");
    running = displayName != nullptr && *displayName != '\0' && startWorker(displayName);
  } catch (const std::exception&) {
    // No thread, or no memory for one.
  }
  if (!running) escapeFunction = nullptr;
  return running;
}

void driverUnlock() {
  using namespace ostler;
  const std::lock_guard lock(watcherMutex);
  escapeGrabActive.exchange(false);
  if (escapeThread.joinable()) escapeThread.join();
  const napi_threadsafe_function function = std::exchange(escapeFunction, nullptr);
  if (function != nullptr) napi_release_threadsafe_function(function, napi_tsfn_release);
}
