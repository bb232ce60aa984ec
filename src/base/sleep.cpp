#include "base/sleep.h"

#include <cerrno>
#include <ctime>

namespace ostler {

void sleepFor(std::chrono::nanoseconds duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
  timespec remaining{};
  remaining.tv_sec = seconds.count();
  remaining.tv_nsec = (duration - seconds).count();
  while (nanosleep(&remaining, &remaining) == -1 && errno == EINTR) {
  }
}

}  // namespace ostler
