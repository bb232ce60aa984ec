// A PipeWire daemon of its own with one video source in it, which does what it
// is told on stdin: the other side of the capture stream in tests.
//
//   pipewire_source RUNTIME_DIRECTORY FORMAT WIDTHxHEIGHT
//
// It starts `pipewire` with its socket, "pipewire-0", in the directory, prints
// "ready NODE_ID", links every stream that comes to the source (as a session
// manager would), and answers each line of stdin with one line, "ok" or what
// the command says below. It ends, and the daemon with it, when stdin ends.
//
//   frame SEED [cursor X Y] [corrupted] [empty]
//                      sends a buffer and repeats it every 20 ms until the next
//                      command that sends; pixel (x, y) has red x, green y and
//                      blue SEED, each modulo 256
//   run FPS COUNT      sends COUNT buffers; their first four bytes count up from 1.
//                      Answers "sent N dropped M": those that found no free buffer
//   format FORMAT WIDTHxHEIGHT    renegotiates, and sends nothing until told to
//   fail TEXT          has the daemon report an error to the streams that take from it
//   remove             takes the source away
//   kill               kills the daemon

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* daemonConfiguration = R"(
context.properties = {
  core.daemon = true
  core.name = pipewire-0
  support.dbus = false
  link.max-buffers = 16
  log.level = 0
}
context.spa-libs = { support.* = support/libspa-support }
context.modules = [
  { name = libpipewire-module-protocol-native }
  { name = libpipewire-module-metadata }
  { name = libpipewire-module-spa-node-factory }
  { name = libpipewire-module-client-node }
  { name = libpipewire-module-access }
  { name = libpipewire-module-link-factory }
]
)";

[[noreturn]] void giveUp(const char* what) {
  std::perror(what);
  std::exit(1);
}

class Daemon {
public:
  explicit Daemon(const std::string& directory) {
    const std::string path = directory + "/pipewire.conf";
    std::ofstream(path) << daemonConfiguration;
    const pid_t parent = getpid();
    pid = fork();
    if (pid != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    execlp("pipewire", "pipewire", "-c", path.c_str(), static_cast<char*>(nullptr));
    giveUp("pipewire");
  }
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  ~Daemon() { stop(); }

  bool running() const { return waitpid(pid, nullptr, WNOHANG) == 0; }

  void stop() {
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = -1;
  }

private:
  pid_t pid;
};

struct Format {
  std::uint32_t videoFormat = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

Format parseFormat(const std::string& name, const std::string& size) {
  static const std::map<std::string, std::uint32_t> formats = {{"BGRx", SPA_VIDEO_FORMAT_BGRx},
                                                               {"BGRA", SPA_VIDEO_FORMAT_BGRA},
                                                               {"RGBx", SPA_VIDEO_FORMAT_RGBx},
                                                               {"RGBA", SPA_VIDEO_FORMAT_RGBA}};
  Format format;
  format.videoFormat = formats.at(name);
  if (std::sscanf(size.c_str(), "%ux%u", &format.width, &format.height) != 2) giveUp("size");
  return format;
}

struct FrameOrder {
  std::uint32_t seed = 0;
  std::optional<spa_point> cursor;
  bool corrupted = false;
  bool empty = false;
};

std::vector<unsigned char> paint(const Format& format, std::uint32_t seed) {
  const bool blueFirst =
      format.videoFormat == SPA_VIDEO_FORMAT_BGRx || format.videoFormat == SPA_VIDEO_FORMAT_BGRA;
  std::vector<unsigned char> picture(std::size_t{format.width} * format.height * 4);
  unsigned char* to = picture.data();
  for (std::uint32_t y = 0; y < format.height; ++y) {
    for (std::uint32_t x = 0; x < format.width; ++x, to += 4) {
      to[blueFirst ? 2 : 0] = static_cast<unsigned char>(x);
      to[1] = static_cast<unsigned char>(y);
      to[blueFirst ? 0 : 2] = static_cast<unsigned char>(seed);
    }
  }
  return picture;
}

template <typename Meta>
Meta* findMeta(spa_buffer* buffer, std::uint32_t type) {
  return static_cast<Meta*>(spa_buffer_find_meta_data(buffer, type, sizeof(Meta)));
}

// The pods, value by value, as in the code under test but from the other side.
class Pods {
public:
  Pods() { spa_pod_builder_init(&builder, room, sizeof room); }
  Pods(const Pods&) = delete;
  Pods& operator=(const Pods&) = delete;

  const spa_pod* formats(const Format& format) {
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    id(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
    id(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
    id(SPA_FORMAT_VIDEO_format, format.videoFormat);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(&builder, format.width, format.height);
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(&builder, 0, 1);
    return finish();
  }

  const spa_pod* buffers(const Format& format) {
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_frame choice;
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {16, 2, 16}) spa_pod_builder_int(&builder, count);
    spa_pod_builder_pop(&builder, &choice);
    integer(SPA_PARAM_BUFFERS_blocks, 1);
    integer(SPA_PARAM_BUFFERS_size, static_cast<int>(format.width * format.height * 4));
    integer(SPA_PARAM_BUFFERS_stride, static_cast<int>(format.width * 4));
    integer(SPA_PARAM_BUFFERS_dataType, 1 << SPA_DATA_MemFd);
    return finish();
  }

  const spa_pod* meta(std::uint32_t type, std::size_t size) {
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    id(SPA_PARAM_META_type, type);
    integer(SPA_PARAM_META_size, static_cast<int>(size));
    return finish();
  }

private:
  void id(std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_id(&builder, value);
  }
  void integer(std::uint32_t key, int value) {
    spa_pod_builder_prop(&builder, key, 0);
    spa_pod_builder_int(&builder, value);
  }
  const spa_pod* finish() { return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame)); }

  alignas(8) unsigned char room[2048];
  spa_pod_builder builder;
  spa_pod_frame frame;
};

class LoopLock {
public:
  explicit LoopLock(pw_thread_loop* held) : loop(held) { pw_thread_loop_lock(loop); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;
  ~LoopLock() { pw_thread_loop_unlock(loop); }

private:
  pw_thread_loop* loop;
};

// Ends with the process: nothing is torn down piece by piece.
class Source {
public:
  Source(Daemon& pipeWireDaemon, const Format& first) : daemon(pipeWireDaemon), format(first) {
    loop = pw_thread_loop_new("source", nullptr);
    if (loop == nullptr || pw_thread_loop_start(loop) != 0) giveUp("thread loop");
    const LoopLock lock(loop);
    pw_context* const context = pw_context_new(pw_thread_loop_get_loop(loop), nullptr, 0);
    if (context == nullptr) giveUp("context");
    while ((core = pw_context_connect(context, nullptr, 0)) == nullptr) {
      if (!daemon.running()) giveUp("daemon");
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    static const pw_registry_events registryEvents = [] {
      pw_registry_events events{};
      events.version = PW_VERSION_REGISTRY_EVENTS;
      events.global = onGlobal;
      events.global_remove = onGlobalRemove;
      return events;
    }();
    pw_proxy_add_object_listener(reinterpret_cast<pw_proxy*>(registry), &registryHook, &registryEvents, this);

    static const pw_stream_events streamEvents = [] {
      pw_stream_events events{};
      events.version = PW_VERSION_STREAM_EVENTS;
      events.state_changed = onStateChanged;
      events.param_changed = onParamChanged;
      return events;
    }();
    stream = pw_stream_new(core, "source", pw_properties_new("media.class", "Video/Source", nullptr));
    if (stream == nullptr) giveUp("stream");
    pw_stream_add_listener(stream, &streamHook, &streamEvents, this);
    Pods pods;
    const spa_pod* offered = pods.formats(format);
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    if (pw_stream_connect(stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, &offered, 1) != 0) giveUp("connect");
    while (outputPort == 0) pw_thread_loop_wait(loop);
    std::thread([this] { keepSending(); }).detach();
  }

  std::uint32_t nodeId() {
    const LoopLock lock(loop);
    return pw_stream_get_node_id(stream);
  }

  std::string obey(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    const LoopLock lock(loop);
    if (command == "frame") return show(parseFrame(words));
    if (command == "run") {
      return run(words);
    } else if (command == "format") {
      std::string name, size;
      words >> name >> size;
      format = parseFormat(name, size);
      negotiated = false;
      shown.reset();
      Pods pods;
      const spa_pod* offered = pods.formats(format);
      pw_stream_update_params(stream, &offered, 1);
    } else if (command == "fail") {
      std::string text;
      std::getline(words >> std::ws, text);
      failConsumers(text.c_str());
    } else if (command == "remove") {
      streaming = false;
      pw_stream_destroy(std::exchange(stream, nullptr));
    } else if (command == "kill") {
      daemon.stop();
    } else {
      return "what is " + line;
    }
    return "ok";
  }

private:
  static FrameOrder parseFrame(std::istringstream& words) {
    FrameOrder order;
    words >> order.seed;
    for (std::string word; words >> word;) {
      if (word == "cursor") {
        spa_point& position = order.cursor.emplace();
        words >> position.x >> position.y;
      }
      order.corrupted |= word == "corrupted";
      order.empty |= word == "empty";
    }
    return order;
  }

  bool ready() const { return streaming && negotiated; }

  std::string show(const FrameOrder& order) {
    shown = order;
    picture = paint(format, order.seed);
    while (ready() && !send()) wait(1);
    return "ok";
  }

  bool send() {
    pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
    if (buffer == nullptr) return false;
    fill(buffer->buffer);
    pw_stream_queue_buffer(stream, buffer);
    return true;
  }

  // A stream may miss buffers that are sent while it is still being started.
  void keepSending() {
    const LoopLock lock(loop);
    for (;;) {
      if (shown && ready()) send();
      wait(20);
    }
  }

  // Less when the state of the stream changes.
  void wait(std::int64_t milliseconds) {
    timespec end;
    pw_thread_loop_get_time(loop, &end, milliseconds * SPA_NSEC_PER_MSEC);
    pw_thread_loop_timed_wait_full(loop, &end);
  }

  void fill(spa_buffer* buffer) const {
    spa_data& data = buffer->datas[0];
    std::memcpy(data.data, picture.data(), picture.size());
    setChunk(data);
    if (shown->empty) data.chunk->size = 0;
    if (auto* header = findMeta<spa_meta_header>(buffer, SPA_META_Header)) {
      *header = {};
      if (shown->corrupted) header->flags = SPA_META_HEADER_FLAG_CORRUPTED;
    }
    if (auto* cursor = findMeta<spa_meta_cursor>(buffer, SPA_META_Cursor)) {
      *cursor = {};
      if (shown->cursor) {
        cursor->id = 1;
        cursor->position = *shown->cursor;
      }
    }
  }

  void setChunk(spa_data& data) const {
    data.chunk->offset = 0;
    data.chunk->size = format.width * format.height * 4;
    data.chunk->stride = static_cast<int>(format.width * 4);
    data.chunk->flags = 0;
  }

  std::string run(std::istringstream& words) {
    std::uint32_t rate = 0, count = 0, dropped = 0;
    words >> rate >> count;
    shown.reset();
    while (!streaming) pw_thread_loop_wait(loop);
    auto next = std::chrono::steady_clock::now();
    for (std::uint32_t i = 1; i <= count; ++i) {
      next += std::chrono::nanoseconds(std::chrono::seconds(1)) / rate;
      pw_thread_loop_unlock(loop);
      std::this_thread::sleep_until(next);
      pw_thread_loop_lock(loop);
      pw_buffer* const buffer = pw_stream_dequeue_buffer(stream);
      if (buffer == nullptr) {
        ++dropped;
        continue;
      }
      std::memcpy(buffer->buffer->datas[0].data, &i, sizeof i);
      setChunk(buffer->buffer->datas[0]);
      pw_stream_queue_buffer(stream, buffer);
    }
    return "sent " + std::to_string(count - dropped) + " dropped " + std::to_string(dropped);
  }

  void failConsumers(const char* text) {
    for (const auto& [node, client] : consumers) {
      auto* const proxy = static_cast<spa_interface*>(
          pw_registry_bind(registry, client, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
      const auto* const methods = static_cast<const pw_client_methods*>(proxy->cb.funcs);
      methods->error(proxy->cb.data, node, -EIO, text);
    }
  }

  static std::uint32_t number(const spa_dict* properties, const char* key) {
    const char* const text = spa_dict_lookup(properties, key);
    return text == nullptr ? 0 : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
  }

  static void onGlobal(void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
    auto* const self = static_cast<Source*>(data);
    if (properties == nullptr) return;
    if (std::strcmp(type, PW_TYPE_INTERFACE_Node) == 0) {
      const char* const mediaClass = spa_dict_lookup(properties, "media.class");
      if (mediaClass != nullptr && std::strcmp(mediaClass, "Stream/Input/Video") == 0) {
        self->consumers[id] = number(properties, "client.id");
      }
    } else if (std::strcmp(type, PW_TYPE_INTERFACE_Port) == 0) {
      const char* const direction = spa_dict_lookup(properties, "port.direction");
      if (direction == nullptr) return;
      if (std::strcmp(direction, "out") == 0) {
        self->outputPort = id;
        pw_thread_loop_signal(self->loop, false);
      } else {
        self->link(number(properties, "node.id"), id);
      }
    }
  }

  static void onGlobalRemove(void* data, std::uint32_t id) {
    static_cast<Source*>(data)->consumers.erase(id);
  }

  void link(std::uint32_t inputNode, std::uint32_t inputPort) {
    if (stream == nullptr) return;
    const std::string ids[] = {std::to_string(pw_stream_get_node_id(stream)), std::to_string(outputPort),
                               std::to_string(inputNode), std::to_string(inputPort)};
    const spa_dict_item items[] = {{"link.output.node", ids[0].c_str()},
                                   {"link.output.port", ids[1].c_str()},
                                   {"link.input.node", ids[2].c_str()},
                                   {"link.input.port", ids[3].c_str()}};
    const spa_dict properties = {0, 4, items};
    pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties, 0);
  }

  static void onStateChanged(void* data, pw_stream_state, pw_stream_state state, const char*) {
    auto* const self = static_cast<Source*>(data);
    self->streaming = state == PW_STREAM_STATE_STREAMING;
    pw_thread_loop_signal(self->loop, false);
  }

  static void onParamChanged(void* data, std::uint32_t id, const spa_pod* param) {
    if (param == nullptr || id != SPA_PARAM_Format) return;
    auto* const self = static_cast<Source*>(data);
    self->negotiated = true;
    Pods pods;
    const spa_pod* answer[] = {pods.buffers(self->format),
                               pods.meta(SPA_META_Header, sizeof(spa_meta_header)),
                               pods.meta(SPA_META_Cursor, sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) +
                                                              std::size_t{64} * 64 * 4)};
    pw_stream_update_params(self->stream, answer, 3);
  }

  Daemon& daemon;
  Format format;
  std::optional<FrameOrder> shown;
  std::vector<unsigned char> picture;  // of what is shown
  bool streaming = false;
  bool negotiated = false;  // in the latest format: a change of it does not stop the streaming
  std::uint32_t outputPort = 0;
  std::map<std::uint32_t, std::uint32_t> consumers;  // node to client
  pw_thread_loop* loop = nullptr;
  pw_core* core = nullptr;
  pw_registry* registry = nullptr;
  pw_stream* stream = nullptr;
  spa_hook registryHook{};
  spa_hook streamHook{};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: pipewire_source RUNTIME_DIRECTORY FORMAT WIDTHxHEIGHT\n", stderr);
    return 2;
  }
  for (const char* name : {"PIPEWIRE_REMOTE", "PIPEWIRE_RUNTIME_DIR", "PIPEWIRE_CONFIG_DIR"}) unsetenv(name);
  setenv("XDG_RUNTIME_DIR", argv[1], 1);
  Daemon daemon(argv[1]);
  pw_log_set_level(SPA_LOG_LEVEL_NONE);
  pw_init(nullptr, nullptr);
  Source source(daemon, parseFormat(argv[2], argv[3]));
  std::cout << "ready " << source.nodeId() << std::endl;
  for (std::string line; std::getline(std::cin, line);) std::cout << source.obey(line) << std::endl;
  daemon.stop();
  _exit(0);
}
