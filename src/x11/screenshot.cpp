#include <utility>

#include "image/finish_capture.h"
#include "x11/channel_scale.h"
#include "x11/x11_backend.h"

namespace ostler {
namespace {

RgbImage toRgb(XImage* image) {
  RgbImage result(image->width, image->height);
  const ChannelScale red(image->red_mask), green(image->green_mask), blue(image->blue_mask);
  unsigned char* out = result.bytes.data();
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      const unsigned long pixel = XGetPixel(image, x, y);
      *out++ = red.byteOf(pixel);
      *out++ = green.byteOf(pixel);
      *out++ = blue.byteOf(pixel);
    }
  }
  return result;
}

}  // namespace

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
