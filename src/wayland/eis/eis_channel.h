#pragma once

#include "base/file_descriptor.h"
#include "base/owner.h"
#include "wayland/lazy/libei.h"

namespace ostler {

using EiContext = Owner<ei, ei_unref>;
using EiDevice = Owner<ei_device, ei_device_unref>;
using EiEvent = Owner<ei_event, ei_event_unref>;

// The log handler of every context: libei logs to stderr otherwise.
void ignoreLog(ei*, ei_log_priority, const char*, ei_log_context*) noexcept;

// A connection through the compositor's input socket. A device stands in each
// slot whose capability it has; events for an empty slot have to go through the
// portal.
class EisChannel {
public:
  // Takes 5 s at the most. On failure, or without a socket, the slots stay empty.
  explicit EisChannel(FileDescriptor socket);
  EisChannel(const EisChannel&) = delete;
  EisChannel& operator=(const EisChannel&) = delete;

  FileDescriptor eisFd;
  // Null without a channel.
  EiContext eiContext;
  EiDevice eiKeyboard;
  EiDevice eiScroll;
  EiDevice eiButton;
  EiDevice eiPointer;

private:
  class ServerWait;

  bool connectEis(FileDescriptor socket, ServerWait& server);
  void abandon();
  void handle(ei_event* event, bool& done);
  void fillSlots(ei_device* device);

  int contextFd = -1;  // the copy of eisFd that the context has
  bool handshaken = false;
};

}  // namespace ostler
