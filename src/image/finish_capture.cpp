#include "image/finish_capture.h"

#include <cmath>
#include <utility>

#include "image/crop.h"
#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/resample.h"

namespace ostler {
namespace {

std::int32_t toImagePixels(std::int32_t displayUnits, double scale) {
  return static_cast<std::int32_t>(static_cast<std::int64_t>(std::round(displayUnits * scale)));
}

RgbImage fitted(RgbImage image, double scaleX, double scaleY, Size target, Rect crop, bool jpeg) {
  if (crop.width > 0 && crop.height > 0) {
    return cropImage(image, toImagePixels(crop.x, scaleX), toImagePixels(crop.y, scaleY),
                     toImagePixels(crop.width, scaleX), toImagePixels(crop.height, scaleY));
  }
  if (target.width > 0 && target.height > 0 && target != Size{image.width, image.height}) {
    RgbImage::byteCount(target.width, target.height);  // throws when it cannot be counted
    // Resampling to a size that the encoder rejects could take minutes and gigabytes.
    if (!(jpeg ? fitsJpeg(target) : fitsPng(target))) return RgbImage(0, 0);
    return resampleImage(image, target.width, target.height);
  }
  return image;
}

}  // namespace

std::vector<unsigned char> finishCapture(RgbImage image, double scaleX, double scaleY, Size target, Rect crop,
                                         double quality) {
  const bool jpeg = quality >= 0.0;
  const RgbImage result = fitted(std::move(image), scaleX, scaleY, target, crop, jpeg);
  return jpeg ? encodeJpeg(result, quality) : encodePng(result);
}

}  // namespace ostler
