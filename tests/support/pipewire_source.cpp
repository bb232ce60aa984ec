// Provides a screen to the PipeWire daemon of a test, and links it to every new stream, as a
// session manager would.
//
// Each line of stdin sets what the screen shows: FORMAT WIDTH HEIGHT SEED [CURSOR_X CURSOR_Y].
// Pixel (x, y) has red x, green y and blue SEED, each modulo 256; with SEED 0 nothing is sent. A
// format that differs from the previous one is negotiated first. After "cursor X Y" the pointer
// moves there in buffers that hold only the cursor and black pixels, as KWin sends them. After
// "limited" they come instead of the picture, without memory for one, as long as the frame rate is
// limited, as GNOME 48 can send them. After "still N" the picture is sent once at each start of the
// stream from the Nth on. After "fail TEXT" the newest stream gets errors instead. Prints the
// number of its node after the first line, and exits when stdin ends.

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <unistd.h>

// PipeWire's macros are not standard C++.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpedantic"
#endif

namespace {

struct Picture {
  std::uint32_t format = 0, width = 0, height = 0, seed = 0;
  spa_point cursor{-1, -1};
};

const std::map<std::string, std::uint32_t> formats = {
    {"BGRx", SPA_VIDEO_FORMAT_BGRx}, {"BGRA", SPA_VIDEO_FORMAT_BGRA}, {"RGBx", SPA_VIDEO_FORMAT_RGBx}};

pw_core* core;
pw_stream* stream;
pw_registry* registry;
std::uint32_t outputPort, consumerNode;
pw_client* consumer;
Picture picture;
bool negotiated;  // whether the picture's format has been negotiated
bool cursorOnly;
bool rateLimited, limitSeen;  // whether the negotiated frame rate is limited, and whether it counts
int starts, firstSeen;        // the starts of the stream, and the first at which a still picture is sent
std::string failure;

// Offers the format and the cursor. The other side decides about the buffers.
void offer(bool first) {
  alignas(8) unsigned char room[1024];
  spa_pod_builder pods;
  spa_pod_builder_init(&pods, room, sizeof room);
  const spa_rectangle size{picture.width, picture.height};
  const spa_fraction slowest{1, 1}, fastest{60, 1};
  // GNOME offers this size.
  const int cursorSize = sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + 384 * 384 * 4;
  const spa_pod* params[] = {
      static_cast<const spa_pod*>(spa_pod_builder_add_object(
          &pods, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
          SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
          SPA_FORMAT_VIDEO_format, SPA_POD_Id(picture.format), SPA_FORMAT_VIDEO_size,
          SPA_POD_Rectangle(&size), SPA_FORMAT_VIDEO_maxFramerate,
          SPA_POD_CHOICE_RANGE_Fraction(&fastest, &slowest, &fastest))),
      static_cast<const spa_pod*>(spa_pod_builder_add_object(&pods, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                                                             SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Cursor),
                                                             SPA_PARAM_META_size, SPA_POD_Int(cursorSize)))};
  const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
  if (first) {
    pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, params, 2);
  } else {
    pw_stream_update_params(stream, params, 2);
  }
}

void onParamChanged(void*, std::uint32_t id, const spa_pod* param) {
  if (param == nullptr || id != SPA_PARAM_Format) return;
  negotiated = true;
  spa_video_info_raw info{};
  spa_format_video_raw_parse(param, &info);
  rateLimited = info.max_framerate.num != 0;
}

void onStateChanged(void*, pw_stream_state, pw_stream_state state, const char*) {
  if (state == PW_STREAM_STATE_STREAMING) ++starts;
}

void sendPicture(void*, std::uint64_t) {
  if (firstSeen > starts) return;
  if (!failure.empty() && consumer != nullptr) pw_client_error(consumer, consumerNode, -EIO, failure.c_str());
  if (!negotiated || picture.seed == 0 || !failure.empty()) return;
  if (pw_stream_get_state(stream, nullptr) != PW_STREAM_STATE_STREAMING) return;
  pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
  if (buffer == nullptr) return;
  spa_data& data = buffer->buffer->datas[0];
  if (data.maxsize < picture.width * picture.height * 4) return;
  const int red = picture.format == SPA_VIDEO_FORMAT_RGBx ? 0 : 2;
  auto* to = static_cast<unsigned char*>(data.data);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x, to += 4) {
      to[red] = static_cast<unsigned char>(x);
      to[1] = static_cast<unsigned char>(y);
      to[2 - red] = static_cast<unsigned char>(cursorOnly ? 0 : picture.seed);
    }
  }
  const bool limited = limitSeen && rateLimited;
  *data.chunk = {0, limited ? 0 : picture.width * picture.height * 4, static_cast<int>(picture.width * 4),
                 cursorOnly || limited ? std::int32_t{SPA_CHUNK_FLAG_CORRUPTED} : 0};
  auto* const cursor = static_cast<spa_meta_cursor*>(
      spa_buffer_find_meta_data(buffer->buffer, SPA_META_Cursor, sizeof(spa_meta_cursor)));
  if (cursor != nullptr) {
    *cursor = {};
    cursor->id = picture.cursor.y < 0 ? 0 : 1;
    cursor->position = picture.cursor;
  }
  pw_stream_queue_buffer(stream, buffer);
  if (firstSeen > 0) firstSeen = starts + 1;
}

void onGlobal(void*, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
              const spa_dict* properties) {
  if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0 && id != pw_stream_get_node_id(stream)) {
    const int client = std::stoi(spa_dict_lookup(properties, "client.id"));
    void* bound = pw_registry_bind(registry, client, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0);
    consumer = static_cast<pw_client*>(bound);
    consumerNode = id;
  }
  if (std::strcmp(type, PW_TYPE_INTERFACE_Port) != 0) return;
  const std::string ownNode = std::to_string(pw_stream_get_node_id(stream));
  if (std::strcmp(spa_dict_lookup(properties, "port.direction"), "out") == 0) {
    outputPort = id;
    std::puts(ownNode.c_str());
    std::fflush(stdout);
    return;
  }
  const std::string ownPort = std::to_string(outputPort), port = std::to_string(id);
  const spa_dict_item items[] = {{"link.output.node", ownNode.c_str()},
                                 {"link.output.port", ownPort.c_str()},
                                 {"link.input.node", spa_dict_lookup(properties, "node.id")},
                                 {"link.input.port", port.c_str()}};
  const spa_dict ends = {0, 4, items};
  pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &ends, 0);
}

// Reads a line of stdin. Returns whether a new format has to be negotiated.
bool readInput() {
  char text[1000];
  const ssize_t size = read(STDIN_FILENO, text, sizeof text - 1);
  if (size <= 0) _exit(0);
  text[size - 1] = '\0';
  failure = std::strncmp(text, "fail ", 5) == 0 ? text + 5 : "";
  if (!failure.empty()) return false;
  std::istringstream words(text);
  std::string format;
  words >> format;
  cursorOnly = format == "cursor";
  if (cursorOnly) words >> picture.cursor.x >> picture.cursor.y;
  if (format == "still") words >> firstSeen;
  if (format == "limited") limitSeen = true;
  if (cursorOnly || limitSeen || format == "still") return false;
  const Picture before = std::exchange(picture, {});
  words >> picture.width >> picture.height >> picture.seed;
  if (!words.eof()) words >> picture.cursor.x >> picture.cursor.y;
  picture.format = formats.at(format);
  return std::tie(before.format, before.width, before.height) !=
         std::tie(picture.format, picture.width, picture.height);
}

void onInput(void*, int, std::uint32_t) {
  if (!readInput()) return;
  negotiated = false;
  offer(false);
}

}  // namespace

int main() {
  readInput();
  pw_init(nullptr, nullptr);
  pw_main_loop* const mainLoop = pw_main_loop_new(nullptr);
  pw_loop* const loop = pw_main_loop_get_loop(mainLoop);
  pw_context* const context = pw_context_new(loop, nullptr, 0);
  // The daemon may still be starting.
  for (int i = 0; (core = pw_context_connect(context, nullptr, 0)) == nullptr; ++i) {
    if (i == 2000) return 1;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

  pw_stream_events streamEvents{};
  streamEvents.version = PW_VERSION_STREAM_EVENTS;
  streamEvents.state_changed = onStateChanged;
  streamEvents.param_changed = onParamChanged;
  spa_hook streamHook{}, registryHook{};
  stream = pw_stream_new(core, "screen", pw_properties_new("media.class", "Video/Source", nullptr));
  pw_stream_add_listener(stream, &streamHook, &streamEvents, nullptr);
  offer(true);

  pw_registry_events registryEvents{};
  registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
  registryEvents.global = onGlobal;
  registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
  pw_registry_add_listener(registry, &registryHook, &registryEvents, nullptr);

  pw_loop_add_io(loop, STDIN_FILENO, SPA_IO_IN | SPA_IO_HUP, false, onInput, nullptr);
  timespec interval{0, 10 * SPA_NSEC_PER_MSEC};
  pw_loop_update_timer(loop, pw_loop_add_timer(loop, sendPicture, nullptr), &interval, &interval, false);
  return pw_main_loop_run(mainLoop);
}
