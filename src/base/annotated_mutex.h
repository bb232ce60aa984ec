#pragma once

#include <condition_variable>
#include <mutex>

// A mutex of which clang knows what it guards (-Wthread-safety): reading or
// writing a field marked OSTLER_GUARDED_BY without the lock is a warning there.
#if defined(__clang__)
#define OSTLER_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define OSTLER_THREAD_ANNOTATION(x)
#endif

#define OSTLER_GUARDED_BY(mutex) OSTLER_THREAD_ANNOTATION(guarded_by(mutex))

namespace ostler {

class OSTLER_THREAD_ANNOTATION(capability("mutex")) Mutex {
private:
  friend class MutexLock;
  std::mutex mutex;
};

class OSTLER_THREAD_ANNOTATION(scoped_lockable) MutexLock {
public:
  explicit MutexLock(Mutex& held) OSTLER_THREAD_ANNOTATION(acquire_capability(held)) : lock(held.mutex) {}
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock() OSTLER_THREAD_ANNOTATION(release_capability()) {}

  template <typename TimePoint>
  std::cv_status waitUntil(std::condition_variable& condition, TimePoint deadline) {
    return condition.wait_until(lock, deadline);
  }

private:
  std::unique_lock<std::mutex> lock;
};

}  // namespace ostler
