#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/file_descriptor.h"
#include "base/owner.h"
#include "wayland/lazy/libei.h"

namespace ostler {

using EiContext = Owner<ei, ei_unref>;
using EiDevice = Owner<ei_device, ei_device_unref>;
using EiEvent = Owner<ei_event, ei_event_unref>;

// The log handler of every context: libei logs to stderr otherwise.
void ignoreLog(ei*, ei_log_priority, const char*, ei_log_context*) noexcept;

// The device to which one kind of input goes. Null until the compositor has
// announced one.
struct EisSlot {
  const ei_device_capability capability;
  EiDevice device{};
  bool removed = false;  // the compositor has taken the device away, and replaced it by none

  bool isFilled() const { return device != nullptr; }
};

// A connection through the compositor's input socket. A device stands in each
// slot whose capability it has; events for an empty slot have to go through the
// portal.
class EisChannel {
public:
  // Takes 5 s at the most. On failure, or without a socket, the slots stay empty.
  explicit EisChannel(FileDescriptor socket);
  EisChannel(const EisChannel&) = delete;
  EisChannel& operator=(const EisChannel&) = delete;

  // Takes in what has arrived since the last time; does not wait. A device that
  // replaces a removed one gets its slots. Empty slots stay empty.
  void read();
  // Waits up to 500 ms for a device to fill an empty slot with, or to replace a
  // removed one. False when none has come.
  bool waitForDevice(EisSlot& slot);
  // The compositor has ended the connection after devices had been announced.
  bool isDisconnected() const { return disconnected; }
  // The group of the keyboard's layout, where the compositor tells it.
  std::optional<std::uint32_t> keyboardGroup() const { return group; }

  FileDescriptor eisFd;
  // Null without a channel.
  EiContext eiContext;
  EisSlot eiKeyboard{EI_DEVICE_CAP_KEYBOARD};
  EisSlot eiScroll{EI_DEVICE_CAP_SCROLL};
  EisSlot eiButton{EI_DEVICE_CAP_BUTTON};
  EisSlot eiPointer{EI_DEVICE_CAP_POINTER_ABSOLUTE};

private:
  class ServerWait;

  bool connectEis(FileDescriptor socket, ServerWait& server);
  void abandon();
  bool dispatch();
  bool handle(ei_event* event);
  void fillSlots(ei_device* device);
  void noteRemoval(ei_device* device);
  void forget(ei_device* device);
  void takeDevice(EisSlot& slot);
  std::array<EisSlot*, 4> slots() { return {&eiPointer, &eiButton, &eiScroll, &eiKeyboard}; }

  int contextFd = -1;  // the copy of eisFd that the context has
  bool handshaken = false;
  bool settingUp = true;
  bool disconnected = false;
  std::vector<EiDevice> resumedDevices;  // in the order in which they may be used
  std::optional<std::uint32_t> group;
};

}  // namespace ostler
