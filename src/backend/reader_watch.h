#pragma once

#include <chrono>
#include <condition_variable>

#include "base/annotated_mutex.h"

namespace ostler {

// Counts the reads of what the clipboard offers, so that a paste knows when its target has read. A
// read is not always the target's: clipboard managers read each new content. These read at once, so
// settle() lets them read before the paste begins.
class ReaderWatch {
public:
  enum class Outcome { read, unread, lost };

  // These are called on the thread that serves the content.
  void begin(bool byTarget);  // byTarget: the reader certainly has the keyboard
  void progress();
  void end(bool isComplete);
  void lose();    // another program has copied something
  void regain();  // that was before this content was offered

  // Forgets all reads. Call this before a new content is offered.
  void restart();

  // Waits until nobody is reading, and forgets the reads so far.
  void settle();

  // Waits until the content has been read since settle(), and its reader asks for no more. A read
  // that has begun within `limit` may end later.
  Outcome wait(std::chrono::milliseconds limit);

private:
  using Clock = std::chrono::steady_clock;

  Mutex mutex;
  std::condition_variable changed;
  int running OSTLER_GUARDED_BY(mutex) = 0;
  int ended OSTLER_GUARDED_BY(mutex) = 0;
  bool hasTargetRead OSTLER_GUARDED_BY(mutex) = false;
  bool isLost OSTLER_GUARDED_BY(mutex) = false;
  Clock::time_point lastActivity OSTLER_GUARDED_BY(mutex);
};

}  // namespace ostler
