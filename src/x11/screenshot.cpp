#include <utility>

#include "image/finish_capture.h"
#include "x11/to_rgb.h"
#include "x11/x11_backend.h"

namespace ostler {
std::vector<unsigned char> X11Backend::screenshot(Size target, Rect crop, double quality) {
  const Size screen = display();
  XSync(xDisplay, False);
  ImageOwner capture(XGetImage(xDisplay, rootWindow, 0, 0, static_cast<unsigned>(screen.width),
                               static_cast<unsigned>(screen.height), AllPlanes, ZPixmap));
  if (capture == nullptr) return {};
  RgbImage image = toRgb(capture.get());
  capture.reset();
  const double scaleX = static_cast<double>(image.width) / screen.width;
  const double scaleY = static_cast<double>(image.height) / screen.height;
  return finishCapture(std::move(image), scaleX, scaleY, target, crop, quality);
}

}  // namespace ostler
