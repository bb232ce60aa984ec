#include "wayland/stream/capture_state.h"

#include <new>
#include <stdexcept>
#include <utility>

namespace ostler {
namespace {

// When the format changes, the new one follows the cleared one within this time.
constexpr std::chrono::seconds longestChange{1};

}  // namespace

void CaptureState::setFormat(const StreamFormat& format) {
  const MutexLock lock(frameMutex);
  videoFormat = format.videoFormat;
  frameWidth = format.width;
  frameHeight = format.height;
  formatCleared.reset();
  // A logical size is set once, by the portal or from the first format, so that the pointer's
  // coordinates keep their meaning.
  if (logicalWidth > 0 && logicalHeight > 0) return;
  logicalWidth = format.width;
  logicalHeight = format.height;
}

void CaptureState::clearFormat() {
  const MutexLock lock(frameMutex);
  if (!formatCleared) formatCleared = std::chrono::steady_clock::now();
}

StreamFormat CaptureState::format() const {
  const MutexLock lock(frameMutex);
  return {videoFormat, frameWidth, frameHeight};
}

// The allocator maps and unmaps each large frame, which takes several times as long as copying it.
// So the storage is reused: the last reference returns it, on whichever thread that is released.
std::shared_ptr<const Frame> CaptureState::share(Frame newFrame) {
  const auto reclaim = [this](Frame* replaced) noexcept {
    const std::unique_ptr<Frame> owner(replaced);
    const MutexLock lock(frameMutex);
    storage.swap(replaced->bytes);
  };
  return {new Frame(std::move(newFrame)), reclaim};
}

PixelBytes CaptureState::takeStorage() {
  const MutexLock lock(frameMutex);
  return std::exchange(storage, {});
}

void CaptureState::store(std::optional<Frame> newFrame, std::optional<Point> cursor) {
  // This releases the replaced frame after the lock, which the frame's deleter takes too.
  std::shared_ptr<const Frame> next;
  if (newFrame) next = share(std::move(*newFrame));
  {
    const MutexLock lock(frameMutex);
    if (next != nullptr) {
      frame.swap(next);
      frameReady = true;
      ++frames;
    }
    if (cursor) {
      streamCursorX = cursor->x;
      streamCursorY = cursor->y;
      streamCursorKnown = streamCursorVisible = true;
    }
  }
  frameCondition.notify_all();
}

void CaptureState::hideCursor() {
  {
    const MutexLock lock(frameMutex);
    streamCursorVisible = false;
  }
  frameCondition.notify_all();
}

void CaptureState::failStream(const char* error) noexcept {
  {
    const MutexLock lock(frameMutex);
    streamFailed = true;
    try {
      streamError = error;
    } catch (const std::bad_alloc&) {
      streamError.clear();
    }
  }
  frameCondition.notify_all();
}

void CaptureState::setLogicalSize(Size size) {
  const MutexLock lock(frameMutex);
  logicalWidth = size.width;
  logicalHeight = size.height;
}

void CaptureState::setLastPointer(Point position) {
  const MutexLock lock(frameMutex);
  lastPointerX = position.x;
  lastPointerY = position.y;
}

bool CaptureState::waitForFrameOrFailure(std::chrono::steady_clock::time_point deadline) {
  MutexLock lock(frameMutex);
  while (!frameReady && !streamFailed) {
    if (lock.waitUntil(frameCondition, deadline) == std::cv_status::timeout) break;
  }
  return frameReady || streamFailed;
}

void CaptureState::waitForFirstFrame(std::chrono::steady_clock::time_point deadline) {
  waitForFrameOrFailure(deadline);
  const MutexLock lock(frameMutex);
  if (streamFailed) throw std::runtime_error("Wayland ScreenCast stream failed: " + streamError);
  // If a compositor ends, or the scale changes on GNOME 48, the stream is paused without a format
  // or an error.
  if (frameReady && formatCleared && std::chrono::steady_clock::now() - *formatCleared > longestChange) {
    throw std::runtime_error("Wayland ScreenCast stream failed: the desktop has ended it");
  }
  if (!frameReady) throw std::runtime_error("Timed out waiting for the Wayland ScreenCast stream.");
}

std::shared_ptr<const Frame> CaptureState::latestFrame() const {
  const MutexLock lock(frameMutex);
  return frame;
}

std::uint64_t CaptureState::countFrames() const {
  const MutexLock lock(frameMutex);
  return frames;
}

Size CaptureState::display() const {
  const MutexLock lock(frameMutex);
  if (logicalWidth > 0 && logicalHeight > 0) return {logicalWidth, logicalHeight};
  if (frameWidth > 0 && frameHeight > 0) return {frameWidth, frameHeight};
  throw std::runtime_error("Wayland display size is not available yet.");
}

Point CaptureState::cursorPosition() const {
  const MutexLock lock(frameMutex);
  if (streamCursorKnown) return {streamCursorX, streamCursorY};
  return {lastPointerX, lastPointerY};
}

std::optional<Position> CaptureState::reportedPointer() const {
  const MutexLock lock(frameMutex);
  return pointerInDisplay();
}

std::optional<Position> CaptureState::waitForPointer(const std::optional<Position>& before,
                                                     std::chrono::steady_clock::time_point deadline) {
  MutexLock lock(frameMutex);
  while (pointerInDisplay() == before) {
    if (lock.waitUntil(frameCondition, deadline) == std::cv_status::timeout) break;
  }
  return pointerInDisplay();
}

std::optional<Position> CaptureState::pointerInDisplay() const {
  if (!streamCursorVisible || frameWidth <= 0 || frameHeight <= 0) return std::nullopt;
  return Position{static_cast<double>(streamCursorX) * logicalWidth / frameWidth,
                  static_cast<double>(streamCursorY) * logicalHeight / frameHeight};
}

}  // namespace ostler
