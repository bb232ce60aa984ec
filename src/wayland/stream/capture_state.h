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

// State shared by the PipeWire thread and the caller's thread. The lock is held only to read or
// write fields, never while a frame is copied or PipeWire is called. The object must outlive the
// stream that writes to it.
class CaptureState {
public:
  // The stream's side.
  void setFormat(const StreamFormat& format);
  StreamFormat format() const;
  // If one of them is missing, its last value stays.
  void store(std::optional<Frame> newFrame, std::optional<Point> cursor);
  // Records that the pointer is hidden or on another screen.
  void hideCursor();
  // Returns the storage of a released frame for reuse by the next one, or empty storage if there is
  // none.
  PixelBytes takeStorage();
  // Marks the stream as having no format, until setFormat() is called.
  void clearFormat();
  // Marks the stream as failed for good, even if frames follow.
  void failStream(const char* error) noexcept;

  // The caller's side.
  void setLogicalSize(Size size);
  void setLastPointer(Point position);
  // Waits for the first frame or the stream's failure. Returns false on time-out.
  bool waitForFrameOrFailure(std::chrono::steady_clock::time_point deadline);
  // Waits for the first frame. Throws if the stream has failed, even if there is a frame, if no
  // frame arrived in time, or if the desktop has ended the stream.
  void waitForFirstFrame(std::chrono::steady_clock::time_point deadline);
  // Null before the first frame.
  std::shared_ptr<const Frame> latestFrame() const;
  // How many frames have arrived.
  std::uint64_t countFrames() const;
  // The size in display units, or in stream pixels if that is unknown. Throws while neither is
  // known.
  Size display() const;
  // The last position that the stream reported, or the target of the last move if it has reported
  // none.
  Point cursorPosition() const;
  // Where the pointer is in display units, as the stream last reported. Empty if it has reported
  // nothing, or that the pointer is hidden or on another screen.
  std::optional<Position> reportedPointer() const;
  // Waits until the report differs from `before`, and returns it.
  std::optional<Position> waitForPointer(const std::optional<Position>& before,
                                         std::chrono::steady_clock::time_point deadline);

private:
  std::optional<Position> pointerInDisplay() const OSTLER_REQUIRES(frameMutex);
  std::shared_ptr<const Frame> share(Frame newFrame);

  mutable Mutex frameMutex;
  // Signalled for frameReady, streamFailed and the cursor.
  std::condition_variable frameCondition;
  std::optional<std::chrono::steady_clock::time_point> formatCleared OSTLER_GUARDED_BY(frameMutex);
  bool frameReady OSTLER_GUARDED_BY(frameMutex) = false;
  std::uint64_t frames OSTLER_GUARDED_BY(frameMutex) = 0;
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
  bool streamCursorVisible OSTLER_GUARDED_BY(frameMutex) = false;
  std::int32_t lastPointerX OSTLER_GUARDED_BY(frameMutex) = 0;
  std::int32_t lastPointerY OSTLER_GUARDED_BY(frameMutex) = 0;
  PixelBytes storage OSTLER_GUARDED_BY(frameMutex);
  // Declared last, and so destroyed first, because its deleter writes to `storage`.
  std::shared_ptr<const Frame> frame OSTLER_GUARDED_BY(frameMutex);
};

}  // namespace ostler
