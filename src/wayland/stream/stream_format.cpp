#include "wayland/stream/stream_format.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

// SPA's macros for pods use a GNU extension.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wgnu-statement-expression"
#endif

namespace ostler {
namespace {

spa_pod_builder builderIn(PodStorage& storage) {
  spa_pod_builder builder;
  spa_pod_builder_init(&builder, storage.bytes.data(), static_cast<std::uint32_t>(storage.bytes.size()));
  return builder;
}

// The server refuses a size that no buffer can have, so clamping is enough.
std::int32_t clampToInt(std::int64_t value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

// The first value of the choice of video formats is the default.
template <typename... Properties>
const spa_pod* buildFormats(PodStorage& storage, const Properties&... more) {
  spa_pod_builder builder = builderIn(storage);
  const void* const pod =
      spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
                                 SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype,
                                 SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), SPA_FORMAT_VIDEO_format,
                                 SPA_POD_CHOICE_ENUM_Id(4, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx,
                                                        SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx),
                                 more...);
  return static_cast<const spa_pod*>(pod);
}

constexpr std::int32_t headerMetaSize = sizeof(spa_meta_header);

constexpr std::int32_t cursorMetaSize(int imageSide) {
  return static_cast<std::int32_t>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) +
         imageSide * imageSide * 4;
}

}  // namespace

const spa_pod* buildOfferedFormats(PodStorage& storage) { return buildFormats(storage); }

// GNOME limits the rate of a stream to the one that was negotiated, unless its numerator is 0.
// PipeWire compares fractions by cross multiplication, so 0/0 counts as equal to each of them and
// lies within every range that is offered.
const spa_pod* buildUnlimitedFormats(PodStorage& storage) {
  const spa_fraction unlimited{0, 0};
  return buildFormats(storage, SPA_FORMAT_VIDEO_maxFramerate, SPA_POD_Fraction(&unlimited));
}

std::optional<StreamFormat> parseFormat(const spa_pod* param) {
  std::uint32_t mediaType = 0;
  std::uint32_t mediaSubtype = 0;
  if (spa_format_parse(param, &mediaType, &mediaSubtype) < 0) return std::nullopt;
  if (mediaType != SPA_MEDIA_TYPE_video || mediaSubtype != SPA_MEDIA_SUBTYPE_raw) return std::nullopt;
  spa_video_info_raw info{};
  if (spa_format_video_raw_parse(param, &info) < 0) return std::nullopt;
  return StreamFormat{info.format, static_cast<std::int32_t>(info.size.width),
                      static_cast<std::int32_t>(info.size.height)};
}

std::array<const spa_pod*, 3> buildBufferParams(PodStorage& storage, const StreamFormat& format) {
  spa_pod_builder builder = builderIn(storage);
  // Clamped before the multiplication by the height, which could overflow otherwise.
  const std::int32_t rowBytes = clampToInt(format.width * std::int64_t{bytesPerFramePixel});
  const std::int32_t frameBytes = clampToInt(std::int64_t{rowBytes} * format.height);
  const void* const buffers = spa_pod_builder_add_object(
      &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
      SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
      SPA_POD_Int(frameBytes), SPA_PARAM_BUFFERS_stride, SPA_POD_Int(rowBytes));
  const void* const header = spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                                                        SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header),
                                                        SPA_PARAM_META_size, SPA_POD_Int(headerMetaSize));
  // The cursor's image is never read, but a server omits the whole cursor metadata if its image
  // does not fit.
  const void* const cursor = spa_pod_builder_add_object(
      &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Cursor),
      SPA_PARAM_META_size,
      SPA_POD_CHOICE_RANGE_Int(cursorMetaSize(64), cursorMetaSize(1), cursorMetaSize(512)));
  return {static_cast<const spa_pod*>(buffers), static_cast<const spa_pod*>(header),
          static_cast<const spa_pod*>(cursor)};
}

void requireSupportedFormat(std::uint32_t videoFormat) {
  switch (videoFormat) {
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_RGBA:
    case SPA_VIDEO_FORMAT_BGRA:
      return;
    default:
      throw std::runtime_error("Unsupported Wayland/PipeWire pixel format.");
  }
}

}  // namespace ostler
