#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/geometry.h"
#include "base/portal_permission.h"
#include "base/stream_place.h"
#include "wayland/portal/active_layout.h"
#include "wayland/portal/glib_handles.h"
#include "wayland/portal/screen_lock.h"
#include "wayland/portal/session_end.h"

namespace ostler {

// A monitor or window that the session shares.
struct SharedStream {
  std::uint32_t nodeId = 0;  // of the stream, in PipeWire
  std::optional<Size> logicalSize;
  StreamPlace place;
};

// One session of the desktop portal for input and for a stream of the screen.
// The constructor opens it, with a dialog unless the portal remembers the permission, and the
// destructor closes it.
class PortalSession {
public:
  // Blocks until the user has answered. Throws std::runtime_error.
  explicit PortalSession(const PortalPermission& permission);
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;
  ~PortalSession();

  // Returns a socket of the PipeWire server that has the stream. Throws
  // std::runtime_error.
  FileDescriptor openPipeWireRemote() const;

  // Whether the messages that have arrived by now say that the session has ended.
  // Does not wait.
  bool hasEnded() { return end->hasCome(); }
  // Throws std::runtime_error if the screen was locked when hasEnded() was last
  // called.
  void requireUnlocked() const;
  // Whether the desktop has reported a switch of the keyboard layout since the
  // last call.
  bool takeLayoutSwitch();
  // Call this if the compositor has ended the session and the portal has not
  // reported it.
  void markEnded();

  const BusConnection connection;
  std::string sessionHandle;          // empty until the portal has created the session
  std::uint32_t grantedDevices = 0;   // 1 keyboard, 2 pointer
  std::uint32_t nodeId = 0;           // of the stream, in PipeWire
  std::optional<Size> logicalSize;    // of the stream, if the portal reports it
  StreamPlace streamPlace;            // unknown if there are several streams: EIS then spans them all
  std::vector<SharedStream> streams;  // from left to right
  bool hasClipboard = false;          // the user has granted it

private:
  explicit PortalSession(BusConnection bus);
  void startPortalSession(const PortalPermission& permission);

  // Set once the portal has created the session.
  std::optional<SessionEnd> end;
  std::optional<ScreenLock> screen;
  std::optional<LayoutSwitch> layout;
};

}  // namespace ostler
