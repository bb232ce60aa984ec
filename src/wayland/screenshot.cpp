#include <chrono>
#include <utility>

#include "image/finish_capture.h"
#include "wayland/stream/unpack.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

double scaleOf(std::int32_t pixels, std::int32_t displayUnits) {
  return displayUnits > 0 ? static_cast<double>(pixels) / displayUnits : 1.0;
}

}  // namespace

// Returns the last frame that arrived. The compositor sends one only when the screen changes.
std::vector<unsigned char> WaylandBackend::screenshot(Size target, Rect crop, double quality) {
  requireSession();
  capture.waitForFirstFrame(std::chrono::steady_clock::now() + std::chrono::seconds(5));
  std::shared_ptr<const Frame> frame = capture.latestFrame();
  if (frame == nullptr || frame->format.width <= 0 || frame->format.height <= 0) return {};
  const Size size{frame->format.width, frame->format.height}, units = display();
  const double scaleX = scaleOf(size.width, units.width), scaleY = scaleOf(size.height, units.height);
  auto convert = [frame = std::move(frame)](const Rect& part) { return unpack(*frame, part); };
  return finishCapture({size, std::move(convert)}, scaleX, scaleY, target, crop, quality);
}

Size WaylandBackend::display() { return capture.display(); }

Point WaylandBackend::cursorPosition() { return capture.cursorPosition(); }

}  // namespace ostler
