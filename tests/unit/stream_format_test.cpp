#include "wayland/stream/stream_format.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

// SPA's own one-line builders are the witness here.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpedantic"
#endif

namespace ostler {
namespace {

std::string bytesOf(const spa_pod* pod) {
  return std::string(reinterpret_cast<const char*>(pod), SPA_POD_SIZE(pod));
}

struct Witness {
  Witness() { spa_pod_builder_init(&builder, room, sizeof room); }
  alignas(8) unsigned char room[1024];
  spa_pod_builder builder;
};

TEST(StreamFormat, OffersThreeFormatsAndNothingElse) {
  PodRoom room;
  Witness witness;
  const void* expected = spa_pod_builder_add_object(
      &witness.builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
      SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
      SPA_FORMAT_VIDEO_format,
      SPA_POD_CHOICE_ENUM_Id(4, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA,
                             SPA_VIDEO_FORMAT_RGBx));
  EXPECT_EQ(bytesOf(buildOfferedFormats(room)), bytesOf(static_cast<const spa_pod*>(expected)));
}

TEST(StreamFormat, AsksForBuffersOfTheSizeOfAFrame) {
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const struct {
    const char* name;
    std::int32_t width, height, size, stride;
  } cases[] = {
      {"1080p", 1920, 1080, 8294400, 7680},
      {"no size", 0, 0, 0, 0},
      {"rows longer than a buffer", most, 1, most, most},
      {"the largest size", most, most, most, most},
      {"the smallest size", least, least, most, least},
  };
  for (const auto& [name, width, height, size, stride] : cases) {
    PodRoom room;
    const spa_pod* const pod = buildBufferParams(room, {SPA_VIDEO_FORMAT_BGRx, width, height})[0];
    const auto valueOf = [&](std::uint32_t key) {
      std::int32_t value = -1;
      spa_pod_get_int(&spa_pod_find_prop(pod, nullptr, key)->value, &value);
      return value;
    };
    EXPECT_EQ(valueOf(SPA_PARAM_BUFFERS_size), size) << name;
    EXPECT_EQ(valueOf(SPA_PARAM_BUFFERS_stride), stride) << name;
  }
}

TEST(StreamFormat, ReadsRawVideoOnly) {
  const auto parse = [](std::uint32_t type, std::uint32_t subtype, bool sized) {
    Witness witness;
    spa_pod_frame frame;
    spa_pod_builder_push_object(&witness.builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_Format);
    spa_pod_builder_add(&witness.builder, SPA_FORMAT_mediaType, SPA_POD_Id(type), SPA_FORMAT_mediaSubtype,
                        SPA_POD_Id(subtype), SPA_FORMAT_VIDEO_format, SPA_POD_Id(SPA_VIDEO_FORMAT_RGBA), 0);
    const spa_rectangle size{1920, 1080};
    if (sized) spa_pod_builder_add(&witness.builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
    return parseFormat(static_cast<spa_pod*>(spa_pod_builder_pop(&witness.builder, &frame)));
  };
  EXPECT_EQ(parse(SPA_MEDIA_TYPE_video, SPA_MEDIA_SUBTYPE_raw, true),
            (StreamFormat{SPA_VIDEO_FORMAT_RGBA, 1920, 1080}));
  EXPECT_EQ(parse(SPA_MEDIA_TYPE_video, SPA_MEDIA_SUBTYPE_raw, false),
            (StreamFormat{SPA_VIDEO_FORMAT_RGBA, 0, 0}));
  EXPECT_FALSE(parse(SPA_MEDIA_TYPE_video, SPA_MEDIA_SUBTYPE_h264, true));
  EXPECT_FALSE(parse(SPA_MEDIA_TYPE_image, SPA_MEDIA_SUBTYPE_raw, true));
  const spa_pod_int number{{sizeof(std::int32_t), SPA_TYPE_Int}, 1, 0};
  EXPECT_FALSE(parseFormat(&number.pod));
}

}  // namespace
}  // namespace ostler
