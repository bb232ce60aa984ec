#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <node_api.h>

#include "base/annotated_mutex.h"

namespace ostler {

class WorkerState;

// Lets the user interrupt the host with the Escape key. A worker thread with an X connection of its
// own grabs the key, sets escapePressed on each press and queues the host's callback.
class EscapeWatcher {
public:
  static EscapeWatcher& instance();

  // Does nothing when a worker is running. Otherwise clears escapePressed and starts a worker on
  // the X server that DISPLAY names. Returns whether this call has started a worker; the watcher
  // then owns `onEscape` until stop().
  bool start(napi_threadsafe_function onEscape);

  // Returns why the last start() has failed.
  std::string startFailure();

  // Ends the worker, or abandons it when its X server is unresponsive, and releases the callback.
  // The callback is not called afterwards, not even by a queued call.
  void stop();

  // Ends the worker, or abandons it, when the process exits. Does nothing while another thread is
  // in start() or stop().
  void stopAtExit();

private:
  EscapeWatcher() = default;
  bool startWorker(const char* displayName, napi_threadsafe_function onEscape) OSTLER_REQUIRES(mutex);
  napi_threadsafe_function endWorker(std::chrono::nanoseconds budget) OSTLER_REQUIRES(mutex);
  void joinOrAbandon(std::chrono::nanoseconds budget) OSTLER_REQUIRES(mutex);

  // This is held during the whole of start() and stop(), which several JavaScript threads may call
  // at once.
  Mutex mutex;
  bool escapeGrabActive OSTLER_GUARDED_BY(mutex) = false;
  std::string failure OSTLER_GUARDED_BY(mutex);
  // Both belong to the current worker, if there is one.
  std::thread escapeThread OSTLER_GUARDED_BY(mutex);
  std::shared_ptr<WorkerState> worker OSTLER_GUARDED_BY(mutex);
  // Each expires when its worker ends.
  std::vector<std::weak_ptr<WorkerState>> abandonedWorkers OSTLER_GUARDED_BY(mutex);
};

}  // namespace ostler
