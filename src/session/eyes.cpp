#include "session/eyes.h"

#include <cstring>
#include <map>
#include <stdexcept>

#include "addon/call_frame.h"
#include "image/encode_fast_png.h"
#include "session/mapped_file.h"
#include "session/session.h"

namespace ostler {
namespace {

void writeRows(unsigned char* target, const PixelRows& rows) {
  const std::size_t rowSize = 4 * static_cast<std::size_t>(rows.width);
  for (std::int32_t y = 0; y < rows.height; ++y) {
    writeRgba(target + static_cast<std::size_t>(y) * rowSize, rows, y);
  }
}

MappedFile results;

// The picture of a part at one time.
class Watched {
public:
  explicit Watched(const Rect& watchedPart) : part(watchedPart) { hasChanged(); }

  // Keeps what the part shows now. Returns whether that is something else than before. A moment
  // without a picture counts as no change.
  bool hasChanged() {
    const Sight sight = openedSession().look(part);
    const PixelRows& rows = sight.rows;
    if (rows.width == 0 || rows.height == 0) return false;
    const bool isFirst = kept.width == 0;
    const bool isSame = rows.width == kept.width && rows.height == kept.height && rows.order == kept.order &&
                        haveSameColours(rows, kept);
    if (!isSame) keep(rows);
    return !isSame && !isFirst;
  }

  std::vector<unsigned char> png() const {
    if (kept.width == 0) return {};
    return encodeFastPng(kept);
  }

private:
  void keep(const PixelRows& rows) {
    bytes.resize(rows.rowSize() * static_cast<std::size_t>(rows.height));
    for (std::int32_t y = 0; y < rows.height; ++y) {
      std::memcpy(bytes.data() + static_cast<std::size_t>(y) * rows.rowSize(), rows.row(y), rows.rowSize());
    }
    kept = rows;
    kept.first = bytes.data();
    kept.stride = static_cast<std::ptrdiff_t>(rows.rowSize());
  }

  const Rect part;
  PixelBytes bytes;
  PixelRows kept;
};

std::map<std::int32_t, Watched> watchedParts;

Watched& watchedPart(std::int32_t number) {
  const auto row = watchedParts.find(number);
  if (row == watchedParts.end()) throw std::runtime_error("This part is not watched.");
  return row->second;
}

}  // namespace

std::vector<unsigned char> picture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                   std::int32_t targetWidth, std::int32_t targetHeight, double quality,
                                   bool fast) {
  return openedSession().picture({targetWidth, targetHeight}, {x, y, width, height}, quality,
                                 fast ? PngCompression::fast : PngCompression::small);
}

napi_value toValue(napi_env env, const std::optional<Pixels>& pixels) {
  if (!pixels) return nullValue(env);
  napi_value object = nullptr;
  napi_create_object(env, &object);
  napi_set_named_property(env, object, "width", toValue(env, pixels->size.width));
  napi_set_named_property(env, object, "height", toValue(env, pixels->size.height));
  if (!pixels->data.empty()) napi_set_named_property(env, object, "data", toValue(env, pixels->data));
  return object;
}

std::optional<Pixels> pixels(std::int32_t file, std::int32_t offset, std::int32_t x, std::int32_t y,
                             std::int32_t width, std::int32_t height) {
  const Sight sight = openedSession().look({x, y, width, height});
  const PixelRows& rows = sight.rows;
  if (rows.width == 0 || rows.height == 0) return std::nullopt;
  Pixels result{{rows.width, rows.height}, {}};
  const std::size_t size = 4 * static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.height);
  unsigned char* target = file < 0 ? nullptr : results.at(file, static_cast<std::size_t>(offset), size);
  if (target == nullptr) {
    result.data.resize(size);
    target = result.data.data();
  }
  writeRows(target, rows);
  return result;
}

void watch(std::int32_t number, std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
  watchedParts.try_emplace(number, Rect{x, y, width, height});
}

bool hasChanged(std::int32_t number) { return watchedPart(number).hasChanged(); }

std::vector<unsigned char> watchedPicture(std::int32_t number) { return watchedPart(number).png(); }

void endWatch(std::int32_t number) { watchedParts.erase(number); }

}  // namespace ostler
