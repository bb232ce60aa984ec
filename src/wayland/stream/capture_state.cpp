#include "wayland/stream/capture_state.h"

#include <new>
#include <stdexcept>
#include <utility>

namespace ostler {
namespace {

// After a format has been cleared the next one of a change comes sooner.
constexpr std::chrono::seconds longestChange{1};

}  // namespace

void CaptureState::setFormat(const StreamFormat& format) {
  const MutexLock lock(frameMutex);
  videoFormat = format.videoFormat;
  frameWidth = format.width;
  frameHeight = format.height;
  formatLost.reset();
  // A logical size from the portal stays; one taken from the stream stays at
  // the first, so that the pointer's coordinates keep their meaning.
  if (logicalWidth > 0 && logicalHeight > 0) return;
  logicalWidth = format.width;
  logicalHeight = format.height;
}

void CaptureState::loseFormat() {
  const MutexLock lock(frameMutex);
  if (!formatLost) formatLost = std::chrono::steady_clock::now();
}

StreamFormat CaptureState::format() const {
  const MutexLock lock(frameMutex);
  return {videoFormat, frameWidth, frameHeight};
}

// Large frames are mapped and unmapped by the allocator one by one, which takes
// several times as long as copying them. So the last reference hands the
// storage back, on whichever thread it goes.
std::shared_ptr<const Frame> CaptureState::share(Frame newFrame) {
  const auto handBack = [this](Frame* replaced) noexcept {
    const std::unique_ptr<Frame> owner(replaced);
    const MutexLock lock(frameMutex);
    storage.swap(replaced->bytes);
  };
  return {new Frame(std::move(newFrame)), handBack};
}

PixelBytes CaptureState::takeStorage() {
  const MutexLock lock(frameMutex);
  return std::exchange(storage, {});
}

void CaptureState::store(std::optional<Frame> newFrame, std::optional<Point> cursor) {
  // The replaced frame goes with this reference, after the lock.
  std::shared_ptr<const Frame> next;
  if (newFrame) next = share(std::move(*newFrame));
  {
    const MutexLock lock(frameMutex);
    if (next != nullptr) {
      frame.swap(next);
      frameReady = true;
    }
    if (cursor) {
      streamCursorX = cursor->x;
      streamCursorY = cursor->y;
      streamCursorKnown = true;
    }
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

bool CaptureState::waitForNews(std::chrono::steady_clock::time_point deadline) {
  MutexLock lock(frameMutex);
  while (!frameReady && !streamFailed) {
    if (lock.waitUntil(frameCondition, deadline) == std::cv_status::timeout) break;
  }
  return frameReady || streamFailed;
}

void CaptureState::waitForFirstFrame(std::chrono::steady_clock::time_point deadline) {
  waitForNews(deadline);
  const MutexLock lock(frameMutex);
  if (streamFailed) throw std::runtime_error("Wayland ScreenCast stream failed: " + streamError);
  // A GNOME 48 desktop whose scale changes, and any compositor that ends, leaves
  // a stream that is paused, without a format or an error.
  if (frameReady && formatLost && std::chrono::steady_clock::now() - *formatLost > longestChange) {
    throw std::runtime_error("Wayland ScreenCast stream failed: the desktop has ended it");
  }
  if (!frameReady) throw std::runtime_error("Timed out waiting for the Wayland ScreenCast stream.");
}

std::shared_ptr<const Frame> CaptureState::latestFrame() const {
  const MutexLock lock(frameMutex);
  return frame;
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

}  // namespace ostler
