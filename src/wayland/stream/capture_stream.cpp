#include "wayland/stream/capture_stream.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

#include <fcntl.h>

#include "wayland/stream/buffer_content.h"
#include "wayland/stream/stream_format.h"

namespace ostler {
namespace {

FileDescriptor duplicate(const FileDescriptor& descriptor) {
  FileDescriptor copy(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 5));
  if (!copy) {
    throw std::runtime_error(std::string("Failed to duplicate the PipeWire file descriptor: ") +
                             std::strerror(errno));
  }
  return copy;
}

class LoopLock {
public:
  explicit LoopLock(pw_thread_loop* held) : loop(held) { pw_thread_loop_lock(loop); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;
  ~LoopLock() { pw_thread_loop_unlock(loop); }

private:
  pw_thread_loop* loop;
};

// A buffer on loan from the stream.
class DequeuedBuffer {
public:
  explicit DequeuedBuffer(pw_stream* from) : stream(from), buffer(pw_stream_dequeue_buffer(from)) {}
  DequeuedBuffer(const DequeuedBuffer&) = delete;
  DequeuedBuffer& operator=(const DequeuedBuffer&) = delete;
  ~DequeuedBuffer() {
    if (buffer != nullptr) pw_stream_queue_buffer(stream, buffer);
  }

  const spa_buffer* get() const { return buffer == nullptr ? nullptr : buffer->buffer; }

private:
  pw_stream* stream;
  pw_buffer* buffer;
};

// No exception may reach PipeWire, so it is recorded as the stream's failure.
template <typename Action>
void failStreamOnError(CaptureState& state, Action action) noexcept {
  try {
    action();
  } catch (const std::bad_alloc&) {
    state.failStream("out of memory");
  } catch (const std::exception& error) {
    state.failStream(error.what());
  }
}

}  // namespace

void initialisePipeWire() {
  static const bool initialised = [] {
    // Before pw_init, which lets PIPEWIRE_DEBUG override it.
    pw_log_set_level(SPA_LOG_LEVEL_NONE);
    pw_init(nullptr, nullptr);
    return true;
  }();
  static_cast<void>(initialised);
}

void CaptureStream::stopAndDestroy(pw_thread_loop* loop) {
  pw_thread_loop_stop(loop);
  pw_thread_loop_destroy(loop);
}

void CaptureStream::disconnectAndDestroy(pw_stream* connected) {
  pw_stream_disconnect(connected);
  pw_stream_destroy(connected);
}

// After the delegated constructor has returned, a failure runs the destructor, which cleans up a
// partial connection.
CaptureStream::CaptureStream(FileDescriptor remote, std::uint32_t nodeId, CaptureState& captureState)
    : CaptureStream(std::move(remote), captureState) {
  connectStream(nodeId);
}

CaptureStream::CaptureStream(FileDescriptor remote, CaptureState& captureState)
    : state(captureState), pipeWireFd(std::move(remote)) {}

CaptureStream::~CaptureStream() {
  if (threadLoop == nullptr) return;
  const LoopLock lock(threadLoop.get());
  if (stream != nullptr) spa_hook_remove(&streamListener);
  stream.reset();
  if (pipeWireCore != nullptr) spa_hook_remove(&coreListener);
  pipeWireCore.reset();
  pipeWireContext.reset();
}

void CaptureStream::connectStream(std::uint32_t nodeId) {
  // PipeWire closes the descriptor that it receives.
  FileDescriptor connectionFd = duplicate(pipeWireFd);
  threadLoop.reset(pw_thread_loop_new("ostler-wayland", nullptr));
  if (threadLoop == nullptr) throw std::runtime_error("Failed to create the PipeWire thread loop.");
  if (pw_thread_loop_start(threadLoop.get()) != 0) {
    throw std::runtime_error("Failed to start the PipeWire thread loop.");
  }

  // The lock keeps events from running before the stream is connected.
  const LoopLock lock(threadLoop.get());
  // PipeWire's RT module may ask the portal for realtime scheduling, which this thread does not
  // need.
  pipeWireContext.reset(pw_context_new(pw_thread_loop_get_loop(threadLoop.get()),
                                       pw_properties_new("module.rt", "false", nullptr), 0));
  if (pipeWireContext == nullptr) throw std::runtime_error("Failed to create the PipeWire context.");
  pipeWireCore.reset(pw_context_connect_fd(pipeWireContext.get(), connectionFd.get(), nullptr, 0));
  if (pipeWireCore == nullptr) throw std::runtime_error("Failed to connect to the portal PipeWire remote.");
  connectionFd.release();
  pw_proxy_add_listener(reinterpret_cast<pw_proxy*>(pipeWireCore.get()), &coreListener, &coreEvents, this);

  stream.reset(pw_stream_new(pipeWireCore.get(), "ostler-wayland",
                             pw_properties_new("media.type", "Video", "media.category", "Capture",
                                               "media.role", "Screen", nullptr)));
  if (stream == nullptr) throw std::runtime_error("Failed to create the PipeWire stream.");
  pw_stream_add_listener(stream.get(), &streamListener, &streamEvents, this);

  PodStorage podStorage;
  const spa_pod* offered = buildOfferedFormats(podStorage);
  const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
  if (pw_stream_connect(stream.get(), PW_DIRECTION_INPUT, nodeId, flags, &offered, 1) != 0) {
    throw std::runtime_error("Failed to connect the PipeWire stream to the Wayland ScreenCast node.");
  }
}

void CaptureStream::restart() {
  const LoopLock lock(threadLoop.get());
  pw_stream_set_active(stream.get(), false);
  pw_stream_set_active(stream.get(), true);
}

const pw_stream_events CaptureStream::streamEvents = [] {
  pw_stream_events events{};
  events.version = PW_VERSION_STREAM_EVENTS;
  events.state_changed = onStreamStateChanged;
  events.param_changed = onStreamParamChanged;
  events.process = onStreamProcess;
  return events;
}();

// The core has an error event too, but listening to it takes a macro that is not standard C++. This
// listener receives only errors of the core itself.
const pw_proxy_events CaptureStream::coreEvents = [] {
  pw_proxy_events events{};
  events.version = PW_VERSION_PROXY_EVENTS;
  events.error = onCoreError;
  return events;
}();

void CaptureStream::onStreamStateChanged(void* data, pw_stream_state, pw_stream_state newState,
                                         const char* error) noexcept {
  if (newState != PW_STREAM_STATE_ERROR) return;
  static_cast<CaptureStream*>(data)->state.failStream(error != nullptr ? error
                                                                       : "unknown PipeWire stream error");
}

// If the daemon dies, only the core reports an error: the stream just becomes unconnected.
void CaptureStream::onCoreError(void* data, int, int, const char* message) noexcept {
  static_cast<CaptureStream*>(data)->state.failStream(message != nullptr ? message
                                                                         : "unknown PipeWire stream error");
}

void CaptureStream::onStreamParamChanged(void* data, std::uint32_t id, const spa_pod* param) noexcept {
  if (id != SPA_PARAM_Format) return;
  auto* self = static_cast<CaptureStream*>(data);
  if (param == nullptr) return self->state.clearFormat();
  failStreamOnError(self->state, [&] { self->acceptFormat(param); });
}

void CaptureStream::onStreamProcess(void* data) noexcept {
  auto* self = static_cast<CaptureStream*>(data);
  {
    const DequeuedBuffer buffer(self->stream.get());
    failStreamOnError(self->state, [&] { self->takeBuffer(buffer.get()); });
  }
  constexpr int many = 30;
  if (self->repeatedCursors >= many && !self->rateLimitLifted) self->liftRateLimit();
}

void CaptureStream::acceptFormat(const spa_pod* param) {
  const std::optional<StreamFormat> format = parseFormat(param);
  if (!format) return;
  state.setFormat(*format);
  requireSupportedFormat(format->videoFormat);
  PodStorage podStorage;
  std::array<const spa_pod*, 3> answer = buildBufferParams(podStorage, *format);
  pw_stream_update_params(stream.get(), answer.data(), static_cast<std::uint32_t>(answer.size()));
}

void CaptureStream::takeBuffer(const spa_buffer* buffer) {
  if (storage.empty()) storage = state.takeStorage();
  BufferContent content = readBuffer(buffer, state.format(), storage);
  const bool repeated = content.cursorOnly && content.cursor == lastCursor;
  repeatedCursors = repeated ? repeatedCursors + 1 : 0;
  lastCursor = content.cursor;
  if (content.cursorHidden) state.hideCursor();
  if (content.frame || content.cursor) state.store(std::move(content.frame), content.cursor);
}

// GNOME 48 can fail to send any picture of the first of two monitors. When it has drawn that
// monitor, it draws the second, which sends the stream the pointer's position. The picture would
// follow less than a millisecond later, which exceeds the stream's frame rate, so GNOME draws
// again, with the same result, at each refresh. Without a limit the picture follows.
void CaptureStream::liftRateLimit() {
  rateLimitLifted = true;
  PodStorage podStorage;
  const spa_pod* offered = buildUnlimitedFormats(podStorage);
  pw_stream_update_params(stream.get(), &offered, 1);
}

// KDE Plasma 6.3 sends one frame when the stream starts and no more until the screen changes.
// PipeWire 0.3.65 loses that frame in 3 to 7 % of sessions (once also on GNOME 48), so the stream
// is restarted.
void waitForFirstFrame(CaptureState& state, CaptureStream& stream) {
  using namespace std::chrono_literals;
  const auto start = std::chrono::steady_clock::now();
  for (const std::chrono::milliseconds lost : {700ms, 2000ms}) {
    if (!state.waitForFrameOrFailure(start + lost)) stream.restart();
  }
  state.waitForFirstFrame(start + 15s);
}

}  // namespace ostler
