#include <memory>
#include <utility>

#include "image/finish_capture.h"
#include "x11/read_window.h"
#include "x11/to_rgb.h"
#include "x11/x11_backend.h"

namespace ostler {

std::vector<unsigned char> X11Backend::screenshot(Size target, Rect crop, double quality) {
  const Size screen = display();
  std::shared_ptr<XImage> image = readWindow(xDisplay, rootWindow, {0, 0, screen.width, screen.height});
  if (image == nullptr) return {};
  const Size size{image->width, image->height};
  const double scaleX = static_cast<double>(size.width) / screen.width;
  const double scaleY = static_cast<double>(size.height) / screen.height;
  auto convert = [image = std::move(image)](const Rect& part) { return toRgb(image.get(), part); };
  return finishCapture({size, std::move(convert)}, scaleX, scaleY, target, crop, quality);
}

}  // namespace ostler
