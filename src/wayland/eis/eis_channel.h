#pragma once

#include <memory>

#include "wayland/file_descriptor.h"
#include "wayland/lazy/libei.h"

namespace ostler {

struct EiRelease {
  void operator()(ei* context) const { ei_unref(context); }
  void operator()(ei_device* device) const { ei_device_unref(device); }
  void operator()(ei_event* event) const { ei_event_unref(event); }
};
template <typename T>
using EiOwner = std::unique_ptr<T, EiRelease>;

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
  EiOwner<ei> eiContext;
  EiOwner<ei_device> eiKeyboard;
  EiOwner<ei_device> eiScroll;
  EiOwner<ei_device> eiButton;
  EiOwner<ei_device> eiPointer;

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
