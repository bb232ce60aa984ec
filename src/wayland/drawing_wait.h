#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

namespace ostler {

// Waits until the program with the focus has drawn what was typed last. Nothing else shows that a
// program on Wayland has read its keys. One that is stopped draws nothing, not even its caret.
class DrawingWait {
public:
  // `countPictures` returns how many pictures of the screen have arrived. These come only after a
  // change.
  explicit DrawingWait(std::function<std::uint64_t()> countPictures) : count(std::move(countPictures)) {}

  // Call this when a key was sent.
  void noteKey();
  // Waits until no picture comes that shows earlier keys. Call this before the key after which
  // wait() is called.
  void settle();
  // Waits for a picture that arrived after the last key, and until the pictures pause. If none
  // comes, because a password has no echo or the text is on a monitor that is not shared, the first
  // wait takes 1.2 s and later ones 150 ms, until a picture comes again. Can be interrupted.
  void wait();

private:
  using Clock = std::chrono::steady_clock;

  bool waitForPause(bool isPictureNeeded, Clock::time_point deadline);

  const std::function<std::uint64_t()> count;
  std::uint64_t before = 0;  // pictures when the last key was sent
  Clock::time_point lastKey;
  bool isBlind = false;  // the last wait has seen no picture
};

}  // namespace ostler
