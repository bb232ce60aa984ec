#include "backend/session_backend.h"
#include "image/encode_fast_png.h"
#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/resample.h"

namespace ostler {

// Has the results of finishCapture().
std::vector<unsigned char> SessionBackend::picture(Size target, Rect crop, double quality,
                                                   PngCompression compression) {
  const bool jpeg = quality >= 0.0, isPart = crop.width > 0 && crop.height > 0;
  const auto encode = [&](const PixelRows& rows) {
    if (jpeg) return encodeJpegRows(rows, quality);
    return compression == PngCompression::fast ? encodeFastPng(rows) : encodePngRows(rows);
  };
  Sight sight = look(crop);
  if (sight.rows.width == 0 || sight.rows.height == 0) return {};
  const Size size{sight.rows.width, sight.rows.height};
  if (isPart || target.width <= 0 || target.height <= 0 || target == size) return encode(sight.rows);
  // Resampling to a size that the encoder rejects could take minutes and gigabytes.
  if (!(jpeg ? fitsJpeg(target) : fitsPng(target))) return {};
  const RgbImage image = toRgbImage(sight.rows);
  sight.owner.reset();
  return encode(rowsOf(resampleImage(image, target.width, target.height)));
}

}  // namespace ostler
