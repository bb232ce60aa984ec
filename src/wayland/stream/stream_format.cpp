#include "wayland/stream/stream_format.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <stdexcept>

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace ostler {
namespace {

// The pods are built value by value: SPA's one-line macros are not C++ that
// every compiler takes without a warning.
class ObjectBuilder {
public:
  ObjectBuilder(spa_pod_builder& podBuilder, std::uint32_t type, std::uint32_t id) : builder(podBuilder) {
    spa_pod_builder_push_object(&builder, &frame, type, id);
  }

  void addId(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_id(&builder, value);
  }

  void addInt(std::uint32_t key, std::int32_t value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_int(&builder, value);
  }

  // The default comes first, then the choices.
  void addIdEnum(std::uint32_t key, std::initializer_list<std::uint32_t> values) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    for (const std::uint32_t value : values) spa_pod_builder_id(&builder, value);
    spa_pod_builder_pop(&builder, &choice);
  }

  void addIntRange(std::uint32_t key, std::int32_t preferred, std::int32_t least, std::int32_t most) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const std::int32_t value : {preferred, least, most}) spa_pod_builder_int(&builder, value);
    spa_pod_builder_pop(&builder, &choice);
  }

  const spa_pod* finish() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame)); }

private:
  spa_pod_builder& builder;
  spa_pod_frame frame;
  spa_pod_frame choice;
};

spa_pod_builder builderIn(PodRoom& room) {
  spa_pod_builder builder;
  spa_pod_builder_init(&builder, room.bytes.data(), static_cast<std::uint32_t>(room.bytes.size()));
  return builder;
}

// A size that no buffer can have is left for the server to refuse.
std::int32_t clampToInt(std::int64_t value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

constexpr std::int32_t headerMetaSize = sizeof(spa_meta_header);

constexpr std::int32_t cursorMetaSize(int imageSide) {
  return static_cast<std::int32_t>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) +
         imageSide * imageSide * 4;
}

}  // namespace

const spa_pod* buildOfferedFormats(PodRoom& room) {
  spa_pod_builder builder = builderIn(room);
  ObjectBuilder object(builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  object.addId(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  object.addId(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
  object.addIdEnum(SPA_FORMAT_VIDEO_format, {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx,
                                             SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx});
  return object.finish();
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

std::array<const spa_pod*, 3> buildBufferParams(PodRoom& room, const StreamFormat& format) {
  spa_pod_builder builder = builderIn(room);
  // Clamped before the multiplication by the height, which could overflow otherwise.
  const std::int64_t rowBytes = clampToInt(format.width * std::int64_t{bytesPerFramePixel});

  ObjectBuilder buffers(builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  buffers.addIntRange(SPA_PARAM_BUFFERS_buffers, 4, 2, 8);
  buffers.addInt(SPA_PARAM_BUFFERS_blocks, 1);
  buffers.addInt(SPA_PARAM_BUFFERS_size, clampToInt(rowBytes * format.height));
  buffers.addInt(SPA_PARAM_BUFFERS_stride, static_cast<std::int32_t>(rowBytes));
  const spa_pod* const buffersPod = buffers.finish();

  ObjectBuilder header(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  header.addId(SPA_PARAM_META_type, SPA_META_Header);
  header.addInt(SPA_PARAM_META_size, headerMetaSize);
  const spa_pod* const headerPod = header.finish();

  // The cursor's image is never read, but a server leaves the whole metadata
  // out when there is no room for its image.
  ObjectBuilder cursor(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  cursor.addId(SPA_PARAM_META_type, SPA_META_Cursor);
  cursor.addIntRange(SPA_PARAM_META_size, cursorMetaSize(64), cursorMetaSize(1), cursorMetaSize(512));
  return {buffersPod, headerPod, cursor.finish()};
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
