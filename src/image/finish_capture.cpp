#include "image/finish_capture.h"

#include <utility>

#include "image/capture.h"
#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/resample.h"

namespace ostler {
namespace {

RgbImage cropOrResample(Capture capture, double scaleX, double scaleY, Size target, Rect crop, bool jpeg) {
  if (crop.width > 0 && crop.height > 0) {
    return cropImage(capture, toImagePixels(crop, scaleX, scaleY));
  }
  const Rect whole{0, 0, capture.size.width, capture.size.height};
  if (target.width <= 0 || target.height <= 0 || target == capture.size) return capture.toRgb(whole);
  RgbImage::byteCount(target.width, target.height);  // throws when no vector can hold the target
  // Resampling to a size that the encoder rejects could take minutes and gigabytes.
  if (!(jpeg ? fitsJpeg(target) : fitsPng(target))) return RgbImage(0, 0);
  const RgbImage image = capture.toRgb(whole);
  capture.toRgb = nullptr;  // so that no more than two pictures are in memory
  return resampleImage(image, target.width, target.height);
}

}  // namespace

std::vector<unsigned char> finishCapture(Capture capture, double scaleX, double scaleY, Size target,
                                         Rect crop, double quality) {
  const bool jpeg = quality >= 0.0;
  const RgbImage result = cropOrResample(std::move(capture), scaleX, scaleY, target, crop, jpeg);
  return jpeg ? encodeJpeg(result, quality) : encodePng(result);
}

}  // namespace ostler
