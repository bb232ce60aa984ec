#include "x11/to_rgb.h"

#include "x11/channel_scale.h"

namespace ostler {

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

}  // namespace ostler
