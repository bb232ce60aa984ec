#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/annotated_mutex.h"
#include "base/geometry.h"
#include "wayland/stream/frame.h"

namespace ostler {

// What the PipeWire thread and the caller's thread share. The lock is held only
// to read or write fields, never during a copy or a call of PipeWire. Outlives
// the stream that writes to it.
class CaptureState {
public:
  // The stream's side.
  void setFormat(const StreamFormat& format);
  StreamFormat format() const;
  // Either may be missing: then the last one stays.
  void store(std::optional<Frame> newFrame, std::optional<Point> cursor);
  // The storage of a replaced frame that nobody shares any more, for the next
  // frame. Empty when there is none.
  PixelBytes takeStorage();
  // Until the next format.
  void loseFormat();
  // For good: no frame that follows makes up for it.
  void failStream(const char* error) noexcept;

  // The caller's side.
  void setLogicalSize(Size size);
  void setLastPointer(Point position);
  // Waits for a frame or the stream's failure, and returns whether one has come.
  bool waitForNews(std::chrono::steady_clock::time_point deadline);
  // Returns when there is a frame and the stream has not failed. Throws when it
  // has, with or without a frame, when no frame came in time, and when the
  // desktop has ended the stream.
  void waitForFirstFrame(std::chrono::steady_clock::time_point deadline);
  // Null before the first frame.
  std::shared_ptr<const Frame> latestFrame() const;
  // In display units, else stream pixels; throws while neither is known.
  Size display() const;
  // The stream's last word on it, or else where the pointer was sent last.
  Point cursorPosition() const;

private:
  std::shared_ptr<const Frame> share(Frame newFrame);

  mutable Mutex frameMutex;
  std::condition_variable frameCondition;  // signalled for frameReady and streamFailed
  std::optional<std::chrono::steady_clock::time_point> formatLost OSTLER_GUARDED_BY(frameMutex);
  bool frameReady OSTLER_GUARDED_BY(frameMutex) = false;
  bool streamFailed OSTLER_GUARDED_BY(frameMutex) = false;
  std::string streamError OSTLER_GUARDED_BY(frameMutex);
  std::uint32_t videoFormat OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t frameWidth OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t frameHeight OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t logicalWidth OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t logicalHeight OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t streamCursorX OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t streamCursorY OSTLER_GUARDED_BY(frameMutex) = 0;
  bool streamCursorKnown OSTLER_GUARDED_BY(frameMutex) = false;
  std::int32_t lastPointerX OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t lastPointerY OSTLER_GUARDED_BY(frameMutex) = 0;
  PixelBytes storage OSTLER_GUARDED_BY(frameMutex);
  // Hands its storage back when it goes, so it goes first.
  std::shared_ptr<const Frame> frame OSTLER_GUARDED_BY(frameMutex);
};

}  // namespace ostler
