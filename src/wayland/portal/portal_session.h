#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "base/geometry.h"
#include "base/stream_place.h"
#include "wayland/portal/glib_handles.h"
#include "wayland/portal/session_end.h"

namespace ostler {

// One session of the desktop portal for input and for a stream of the screen.
// It begins with a dialog; the end of the object's life ends it.
class PortalSession {
public:
  // Blocks until the person has answered. Throws std::runtime_error.
  PortalSession();
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;
  ~PortalSession();

  // The socket of the PipeWire server that has the stream. Throws std::runtime_error.
  FileDescriptor openPipeWireRemote() const;

  // Throws std::runtime_error when the session has ended, by whatever has been
  // heard by now. Does not wait.
  void requireOpen();
  // The compositor ended the session without a word of the portal's.
  void markEnded();

  const BusConnection connection;
  std::string sessionHandle;         // empty until the portal has created the session
  std::uint32_t grantedDevices = 0;  // 1 keyboard, 2 pointer
  std::uint32_t nodeId = 0;          // of the stream, in PipeWire
  std::optional<Size> logicalSize;   // of the stream, where the portal tells it
  StreamPlace streamPlace;

private:
  explicit PortalSession(BusConnection bus);
  void startPortalSession();

  std::optional<SessionEnd> end;  // from when the portal has created the session
};

}  // namespace ostler
