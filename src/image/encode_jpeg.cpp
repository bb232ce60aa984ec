#include "image/encode_jpeg.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>  // jpeglib.h needs FILE
#include <cstdlib>

#include <jpeglib.h>

namespace ostler {
namespace {

struct Compressor {
  Compressor() = default;
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;
  ~Compressor() {
    jpeg_destroy_compress(&info);
    std::free(output);
  }

  jpeg_compress_struct info{};
  // libjpeg passes a pointer to `manager`, which jumpOut() casts to the whole struct, so `manager`
  // has to be the first field.
  struct {
    jpeg_error_mgr manager;
    std::jmp_buf context;
  } error{};
  unsigned char* output = nullptr;
  unsigned long outputSize = 0;
};

extern "C" [[noreturn]] void jumpOut(j_common_ptr info) {
  std::longjmp(reinterpret_cast<decltype(Compressor::error)*>(info->err)->context, 1);
}

J_COLOR_SPACE colourSpaceOf(PixelOrder order) {
  switch (order) {
    case PixelOrder::rgbx:
      return JCS_EXT_RGBX;
    case PixelOrder::bgrx:
      return JCS_EXT_BGRX;
    case PixelOrder::rgb:
      break;
  }
  return JCS_RGB;
}

// When libjpeg fails it leaves this function by longjmp, so no object in it may have a destructor.
bool compress(Compressor& compressor, const PixelRows& image, int quality) {
  jpeg_compress_struct* info = &compressor.info;
  info->err = jpeg_std_error(&compressor.error.manager);
  info->err->error_exit = jumpOut;
  if (setjmp(compressor.error.context) != 0) {
    // libjpeg replaces the output block when it is full, and sets our pointer to the new block only
    // here.
    if (compressor.output != nullptr) info->dest->term_destination(info);
    return false;
  }
  jpeg_create_compress(info);
  jpeg_mem_dest(info, &compressor.output, &compressor.outputSize);
  info->image_width = static_cast<JDIMENSION>(image.width);
  info->image_height = static_cast<JDIMENSION>(image.height);
  info->input_components = image.order == PixelOrder::rgb ? 3 : 4;
  info->in_color_space = colourSpaceOf(image.order);
  jpeg_set_defaults(info);
  jpeg_set_quality(info, quality, TRUE);
  jpeg_start_compress(info, TRUE);
  while (info->next_scanline < info->image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(image.row(static_cast<std::int32_t>(info->next_scanline)));
    jpeg_write_scanlines(info, &row, 1);
  }
  jpeg_finish_compress(info);
  return true;
}

}  // namespace

std::vector<unsigned char> encodeJpegRows(const PixelRows& image, double quality) {
  const double percent = std::clamp(quality * 100.0, 0.0, 100.0);
  Compressor compressor;
  if (!compress(compressor, image, static_cast<int>(std::lround(percent)))) return {};
  return {compressor.output, compressor.output + compressor.outputSize};
}

bool fitsJpeg(Size size) { return size.width <= JPEG_MAX_DIMENSION && size.height <= JPEG_MAX_DIMENSION; }

}  // namespace ostler
