#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <string>

#include <node_api.h>

#include "base/annotated_mutex.h"

namespace ostler {

// The Escape watcher and its worker thread share and own this object, because an abandoned worker
// outlives the call that abandons it.
class WorkerState {
public:
  WorkerState(std::string nameOfDisplay, napi_threadsafe_function onEscape);

  const std::string displayName;

  // The watcher calls these functions.

  // Returns whether the worker holds the grab within the given time. Dismisses it if not.
  bool waitUntilRunning(std::chrono::nanoseconds budget);
  // Returns why the worker could not start.
  std::string startFailure();
  // Tells the worker to end. Returns the host's callback, which the worker does not use from now
  // on, or null when the host's environment has released it.
  napi_threadsafe_function dismiss();
  // Returns whether the worker ends within the given time. It has then released its X connection
  // and the grab.
  bool waitUntilEnded(std::chrono::nanoseconds budget);

  // The worker calls these functions.

  bool isDismissed();
  // Returns false when the worker has been dismissed.
  bool reportRunning();
  // Reports why the worker cannot watch; it then ends.
  void reportFailure(std::string reason);
  // Sets escapePressed and queues the host's callback.
  void reportPress();
  void reportEnd();

private:
  enum class Stage { starting, running, ended };

  Mutex mutex;
  std::condition_variable changed;  // signalled when the stage changes
  Stage stage OSTLER_GUARDED_BY(mutex) = Stage::starting;
  bool dismissed OSTLER_GUARDED_BY(mutex) = false;
  std::string failure OSTLER_GUARDED_BY(mutex) = "the X server does not respond";
  napi_threadsafe_function escapeFunction OSTLER_GUARDED_BY(mutex);
};

// Runs the worker on its thread: grabs Escape and reports each press of the user until the worker
// is dismissed.
void watchEscape(const std::shared_ptr<WorkerState>& state);

}  // namespace ostler
