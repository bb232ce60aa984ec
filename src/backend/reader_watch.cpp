#include "backend/reader_watch.h"

#include "backend/interruption.h"

namespace ostler {
namespace {

using namespace std::chrono_literals;

constexpr auto slice = 5ms;  // between two looks for an interruption
constexpr auto quietBeforePaste = 30ms;
constexpr auto longestSettling = 1s;
// A program may ask for more types after the first.
constexpr auto quietAfterTarget = 30ms;
// The reader may be a clipboard manager, and the target may still have to read.
constexpr auto quietAfterOther = 500ms;
constexpr auto stalled = 2s;  // a reader that asks for no further piece

}  // namespace

void ReaderWatch::begin(bool byTarget) {
  const MutexLock lock(mutex);
  ++running;
  hasTargetRead = hasTargetRead || byTarget;
  lastActivity = Clock::now();
}

void ReaderWatch::progress() {
  const MutexLock lock(mutex);
  lastActivity = Clock::now();
}

void ReaderWatch::end(bool isComplete) {
  const MutexLock lock(mutex);
  --running;
  if (isComplete) ++ended;
  lastActivity = Clock::now();
  changed.notify_all();
}

void ReaderWatch::lose() {
  const MutexLock lock(mutex);
  isLost = true;
  changed.notify_all();
}

void ReaderWatch::regain() {
  const MutexLock lock(mutex);
  isLost = false;
}

void ReaderWatch::restart() {
  const MutexLock lock(mutex);
  ended = 0;
  hasTargetRead = isLost = false;
  lastActivity = Clock::now();
}

void ReaderWatch::settle() {
  const Clock::time_point deadline = Clock::now() + longestSettling;
  for (;;) {
    throwIfInterrupted();
    MutexLock lock(mutex);
    const Clock::time_point now = Clock::now();
    if (now >= deadline || (running == 0 && now - lastActivity >= quietBeforePaste)) {
      ended = 0;
      hasTargetRead = false;
      return;
    }
    lock.waitUntil(changed, now + slice);
  }
}

ReaderWatch::Outcome ReaderWatch::wait(std::chrono::milliseconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  for (;;) {
    throwIfInterrupted();
    MutexLock lock(mutex);
    const Clock::time_point now = Clock::now();
    const auto quiet = now - lastActivity;
    const bool isReading = running > 0 && quiet < stalled;
    if (ended > 0 && !isReading &&
        (isLost || quiet >= (hasTargetRead ? quietAfterTarget : quietAfterOther))) {
      return Outcome::read;
    }
    if (isLost && !isReading) return Outcome::lost;
    if (now >= deadline && !isReading) return ended > 0 ? Outcome::read : Outcome::unread;
    lock.waitUntil(changed, now + slice);
  }
}

}  // namespace ostler
