#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "base/geometry.h"
#include "base/owner.h"
#include "wayland/lazy/pipewire.h"
#include "wayland/stream/capture_state.h"

namespace ostler {

// Call this before creating the first stream; only the first call has an effect. From then on
// PipeWire prints nothing unless PIPEWIRE_DEBUG is set.
void initialisePipeWire();

// The PipeWire stream of a session's first monitor or window. It is connected once and never
// reconnected.
//
// A separate thread handles its events with the thread loop locked: `param_changed` when the server
// has fixed a format, `process` for each buffer, `state_changed`, and `error` of the core. The
// handlers write to the state, whose lock is always taken after the loop's. The destructor stops
// the thread, so no event is handled after it.
class CaptureStream {
public:
  // `remote` is a socket of the PipeWire server that has the node. Returns while the stream is
  // still connecting; wait for the first frame in `state`.
  CaptureStream(FileDescriptor remote, std::uint32_t nodeId, CaptureState& state);
  CaptureStream(const CaptureStream&) = delete;
  CaptureStream& operator=(const CaptureStream&) = delete;
  ~CaptureStream();

  // Stops and starts the stream, which makes the server send a frame.
  void restart();

private:
  CaptureStream(FileDescriptor remote, CaptureState& state);
  void connectStream(std::uint32_t nodeId);

  static const pw_stream_events streamEvents;
  static const pw_proxy_events coreEvents;
  static void onStreamStateChanged(void* data, pw_stream_state old, pw_stream_state state,
                                   const char* error) noexcept;
  static void onStreamParamChanged(void* data, std::uint32_t id, const spa_pod* param) noexcept;
  static void onStreamProcess(void* data) noexcept;
  static void onCoreError(void* data, int sequence, int result, const char* message) noexcept;
  void acceptFormat(const spa_pod* param);
  void takeBuffer(const spa_buffer* buffer);
  void liftRateLimit();

  static void stopAndDestroy(pw_thread_loop* loop);
  static void disconnectAndDestroy(pw_stream* connected);

  CaptureState& state;
  // In the order of construction. The context, the core, the stream and the hooks are used only
  // with the loop locked.
  FileDescriptor pipeWireFd;
  Owner<pw_thread_loop, stopAndDestroy> threadLoop;
  Owner<pw_context, pw_context_destroy> pipeWireContext;
  Owner<pw_core, pw_core_disconnect> pipeWireCore;
  Owner<pw_stream, disconnectAndDestroy> stream;
  spa_hook coreListener{};
  spa_hook streamListener{};
  PixelBytes storage;  // for the next frame; used only by the loop's thread
  // The number of buffers in a row just for the cursor, which had not moved. Like
  // the two below, used only by the loop's thread.
  int repeatedCursors = 0;
  std::optional<Point> lastCursor;
  bool rateLimitLifted = false;
};

// Waits for the first frame. Throws when the stream fails or sends none.
void waitForFirstFrame(CaptureState& state, CaptureStream& stream);

}  // namespace ostler
