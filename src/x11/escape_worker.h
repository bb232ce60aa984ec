#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <string>

#include <node_api.h>

#include "base/annotated_mutex.h"

namespace ostler {

// What the Escape watcher and its worker thread share. Both own it, because an
// abandoned worker outlives the call that abandons it.
class WorkerState {
public:
  WorkerState(std::string nameOfDisplay, napi_threadsafe_function onEscape);

  const std::string displayName;

  // Called by the watcher.

  // Whether the worker holds the grab within the given time. Dismisses it otherwise.
  bool waitUntilRunning(std::chrono::nanoseconds budget);
  // Tells the worker to end. Returns the host's callback, which the worker does
  // not use from now on; null when the host's environment has taken it away.
  napi_threadsafe_function dismiss();
  // Whether the worker's last action is done within the given time.
  bool waitUntilEnded(std::chrono::nanoseconds budget);

  // Called by the worker.

  bool isDismissed();
  // False when the worker has been dismissed.
  bool reportRunning();
  // Sets escapePressed and queues the host's callback.
  void reportPress();
  void reportEnd();

private:
  enum class Stage { starting, running, ended };

  Mutex mutex;
  std::condition_variable changed;  // signalled when the stage changes
  Stage stage OSTLER_GUARDED_BY(mutex) = Stage::starting;
  bool dismissed OSTLER_GUARDED_BY(mutex) = false;
  napi_threadsafe_function escapeFunction OSTLER_GUARDED_BY(mutex);
};

// The worker's thread: grabs Escape and reports each press of the user until it
// is dismissed.
void watchEscape(const std::shared_ptr<WorkerState>& state);

}  // namespace ostler
