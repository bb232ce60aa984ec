#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "base/geometry.h"
#include "base/portal_permission.h"
#include "wayland/portal/active_layout.h"
#include "wayland/portal/glib_handles.h"
#include "wayland/portal/screen_lock.h"
#include "wayland/portal/session_watch.h"
#include "wayland/portal/signal_subscription.h"

namespace ostler {

// A monitor or window that the session shares.
struct SharedStream {
  std::uint32_t nodeId = 0;              // of the stream, in PipeWire
  std::optional<Size> logicalSize;       // if the portal reports it
  std::optional<Point> position;         // on the desktop, if the portal reports it
  std::optional<std::string> mappingId;  // of the EIS region that the stream shows
};

// The bits by which the portal names the devices of a session.
enum PortalDevice : std::uint32_t { keyboardDevice = 1, pointerDevice = 2 };

// One session of the desktop portal for input and for a stream of the screen. The constructor opens
// it, with a dialog unless the portal remembers the permission, and the destructor closes it.
class PortalSession {
public:
  // Blocks until the user has answered. Throws std::runtime_error.
  explicit PortalSession(const PortalPermission& permission);
  PortalSession(const PortalSession&) = delete;
  PortalSession& operator=(const PortalSession&) = delete;
  ~PortalSession();

  // Returns a socket of the PipeWire server that has the stream. Throws std::runtime_error.
  FileDescriptor openPipeWireRemote() const;
  // Returns the compositor's EIS socket, or no descriptor if the portal offers none.
  FileDescriptor connectToEis() const;

  // Whether the messages that have arrived by now say that the session has ended. Does not wait.
  bool hasEnded() { return watch->hasEnded(); }
  // Throws std::runtime_error if the screen was locked when hasEnded() was last called.
  void requireUnlocked() const;
  // Whether the desktop has reported a switch of the keyboard layout since the last call.
  bool takeLayoutSwitch();
  // Call this if the compositor has ended the session and the portal has not reported it.
  void markEnded();
  // Throws std::runtime_error unless the user has granted the device. The description says for what
  // it is needed.
  void requireDevice(PortalDevice device, const char* description) const;

  GDBusConnection* bus() const { return connection.get(); }
  // The object path of the session.
  const std::string& handle() const { return sessionHandle; }
  // At least one stream, from left to right.
  const std::vector<SharedStream>& streams() const { return sharedStreams; }
  // Whether the user has granted access to the clipboard.
  bool hasClipboard() const { return clipboardGranted; }
  // Returns the parameters of the last clipboardOwnerChange that has arrived, or null.
  Variant takeClipboardOwner();

private:
  explicit PortalSession(BusConnection bus);
  void startPortalSession(const PortalPermission& permission);

  const BusConnection connection;
  std::string sessionHandle;  // empty until the portal has created the session
  std::uint32_t grantedDevices = 0;
  std::vector<SharedStream> sharedStreams;
  bool clipboardGranted = false;
  // Set once the portal has created the session.
  std::optional<SessionWatch> watch;
  std::optional<ScreenLock> screen;
  std::optional<LayoutSwitch> layout;
  Variant clipboardOwner;  // what the portal has reported of it last
  std::optional<SignalSubscription> clipboardOwnerChanges;
};

}  // namespace ostler
