#pragma once

#include <memory>
#include <string>

#include <libei.h>

#include "base/file_descriptor.h"
#include "wayland/portal/glib_handles.h"

namespace ostler {

struct EiRelease {
  void operator()(ei* context) const { ei_unref(context); }
  void operator()(ei_device* device) const { ei_device_unref(device); }
  void operator()(ei_event* event) const { ei_event_unref(event); }
};
template <typename T>
using EiOwner = std::unique_ptr<T, EiRelease>;

// The compositor's input socket, handed out by the portal. A device stands in
// each slot whose capability it has; events for an empty slot have to go
// through the portal.
class EisChannel {
public:
  // Takes 5 s at the most, and fails without a word: the slots stay empty.
  EisChannel(GDBusConnection* connection, const std::string& sessionHandle);
  EisChannel(const EisChannel&) = delete;
  EisChannel& operator=(const EisChannel&) = delete;

  // Before the events of something that makes no sense by halves: a click without
  // its move, a key without its modifiers.
  void beginOperation() { dropping = false; }

  // Sends one event, `event()`, in a frame of its own. While the compositor
  // does not read, one that begins something `mayDrop`: a press, a motion, and
  // all of these that follow in the operation; what ends something may not, or a
  // key would stay down.
  template <typename Event>
  void send(ei_device* device, bool mayDrop, Event event) {
    if (mayDrop && (dropping || !waitForRoom())) {
      dropping = true;
      return;
    }
    if (!mayDrop) waitForRoom();
    event();
    finishFrame(device);
  }

  FileDescriptor eisFd;
  // Null without a channel.
  EiOwner<ei> eiContext;
  EiOwner<ei_device> eiKeyboard;
  EiOwner<ei_device> eiScroll;
  EiOwner<ei_device> eiButton;
  EiOwner<ei_device> eiPointer;

private:
  class ServerWait;

  bool connectEis(GDBusConnection* connection, const std::string& sessionHandle, ServerWait& server);
  void abandon();
  void handle(ei_event* event, bool& done);
  void fillSlots(ei_device* device);
  bool waitForRoom();
  static void finishFrame(ei_device* device);

  int contextFd = -1;  // the copy of eisFd that the context has
  bool handshaken = false;
  bool stalled = false;
  bool dropping = false;
};

}  // namespace ostler
