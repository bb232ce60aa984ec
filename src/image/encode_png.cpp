#include "image/encode_png.h"

#include <csetjmp>
#include <new>

#include <png.h>

namespace ostler {
namespace {

// libpng's default handlers print to stderr.
extern "C" [[noreturn]] void leaveLibpng(png_structp png, png_const_charp) { png_longjmp(png, 1); }
extern "C" void ignoreWarning(png_structp, png_const_charp) {}

struct Writer {
  Writer() : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr)) {
    if (png == nullptr) return;
    png_set_error_fn(png, nullptr, leaveLibpng, ignoreWarning);
    info = png_create_info_struct(png);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { png_destroy_write_struct(&png, &info); }

  png_structp png;
  png_infop info = nullptr;
};

struct Output {
  std::vector<unsigned char> bytes;
  bool outOfMemory = false;
};

bool append(Output& output, png_bytep data, png_size_t size) noexcept {
  try {
    output.bytes.insert(output.bytes.end(), data, data + size);
    return true;
  } catch (...) {
    output.outOfMemory = true;
    return false;
  }
}

extern "C" void appendToOutput(png_structp png, png_bytep data, png_size_t size) {
  if (!append(*static_cast<Output*>(png_get_io_ptr(png)), data, size)) png_error(png, "");
}

extern "C" void flushNothing(png_structp) {}

// When libpng fails it leaves this function by longjmp, so no object in it may have a destructor.
bool write(const Writer& writer, Output& output, const PixelRows& image, png_bytepp rows) {
  if (setjmp(png_jmpbuf(writer.png)) != 0) return false;
  png_set_write_fn(writer.png, &output, appendToOutput, flushNothing);
  png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(image.width),
               static_cast<png_uint_32>(image.height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(writer.png, writer.info);
  if (image.order == PixelOrder::bgrx) png_set_bgr(writer.png);
  if (image.order != PixelOrder::rgb) png_set_filler(writer.png, 0, PNG_FILLER_AFTER);
  png_write_image(writer.png, rows);
  png_write_end(writer.png, writer.info);
  return true;
}

}  // namespace

std::vector<unsigned char> encodePngRows(const PixelRows& image) {
  const Writer writer;
  if (writer.png == nullptr || writer.info == nullptr) return {};
  std::vector<png_bytep> rows;
  rows.reserve(static_cast<std::size_t>(image.height));
  for (std::int32_t y = 0; y < image.height; ++y) rows.push_back(const_cast<png_bytep>(image.row(y)));
  Output output;
  if (write(writer, output, image, rows.data())) return std::move(output.bytes);
  if (output.outOfMemory) throw std::bad_alloc();
  return {};
}

bool fitsPng(Size size) { return size.width <= PNG_USER_WIDTH_MAX && size.height <= PNG_USER_HEIGHT_MAX; }

}  // namespace ostler
