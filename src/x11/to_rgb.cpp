#include "x11/to_rgb.h"

#include "x11/channel_scale.h"

namespace ostler {

RgbImage toRgb(XImage* image, const Rect& part) {
  RgbImage result(part.width, part.height);
  const ChannelScale red(image->red_mask), green(image->green_mask), blue(image->blue_mask);
  unsigned char* out = result.bytes.data();
  for (int y = part.y; y < part.y + part.height; ++y) {
    for (int x = part.x; x < part.x + part.width; ++x) {
      const unsigned long pixel = XGetPixel(image, x, y);
      *out++ = red.byteOf(pixel);
      *out++ = green.byteOf(pixel);
      *out++ = blue.byteOf(pixel);
    }
  }
  return result;
}

}  // namespace ostler
