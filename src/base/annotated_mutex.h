#pragma once

#include <condition_variable>
#include <mutex>

// Clang's -Wthread-safety understands this mutex. It warns where a field marked OSTLER_GUARDED_BY
// is read or written, or a function marked OSTLER_REQUIRES is called, without the lock. Other
// compilers ignore the annotations.
#if defined(__clang__)
#define OSTLER_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define OSTLER_THREAD_ANNOTATION(x)
#endif

#define OSTLER_GUARDED_BY(mutex) OSTLER_THREAD_ANNOTATION(guarded_by(mutex))
#define OSTLER_REQUIRES(mutex) OSTLER_THREAD_ANNOTATION(requires_capability(mutex))

namespace ostler {

class OSTLER_THREAD_ANNOTATION(capability("mutex")) Mutex {
public:
  // After success, pass std::adopt_lock to the MutexLock that will unlock the mutex.
  bool tryLock() OSTLER_THREAD_ANNOTATION(try_acquire_capability(true)) { return mutex.try_lock(); }

private:
  friend class MutexLock;
  std::mutex mutex;
};

class OSTLER_THREAD_ANNOTATION(scoped_lockable) MutexLock {
public:
  explicit MutexLock(Mutex& held) OSTLER_THREAD_ANNOTATION(acquire_capability(held)) : lock(held.mutex) {}
  MutexLock(Mutex& held, std::adopt_lock_t adopt) OSTLER_REQUIRES(held) : lock(held.mutex, adopt) {}
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
