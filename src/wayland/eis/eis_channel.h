#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/file_descriptor.h"
#include "base/owner.h"
#include "wayland/eis/key_reports.h"
#include "wayland/lazy/libei.h"

namespace ostler {

using EiContext = Owner<ei, ei_unref>;
using EiDevice = Owner<ei_device, ei_device_unref>;
using EiEvent = Owner<ei_event, ei_event_unref>;

// The log handler of every context. Without it libei logs to stderr.
void ignoreLog(ei*, ei_log_priority, const char*, ei_log_context*) noexcept;

// The device to which one kind of input goes. Null until the compositor has
// announced one.
struct EisSlot {
  const ei_device_capability capability;
  EiDevice device{};
  bool removed = false;  // the compositor has removed the device and not replaced it yet

  bool isFilled() const { return device != nullptr; }
};

// A connection to the compositor's EIS socket. Each slot holds a device with
// the slot's capability. Events for an empty slot have to go through the
// portal.
class EisChannel {
public:
  // Takes up to 5 s. On failure, or without a socket, the slots stay empty.
  explicit EisChannel(FileDescriptor socket);
  EisChannel(const EisChannel&) = delete;
  EisChannel& operator=(const EisChannel&) = delete;

  // Processes the events that have arrived, without waiting. A device that
  // replaces a removed one takes over its slots. Slots that were empty stay
  // empty.
  void read();
  // Call this after each event of the keyboard.
  void noteKey() { keyReports.noteKey(); }
  // Asks the compositor to report when it has processed the keys so far, unless it still owes a report.
  // Only libei 1.4 and later can ask.
  void requestKeyReport();
  // Waits up to 500 ms until the compositor has processed the keys, or removed the keyboard.
  void awaitKeyReport();
  // Whether the keyboard was removed before the compositor had reported all keys as processed.
  bool mayHaveLostKeys() const { return keyReports.mayHaveLostKeys(); }
  void forgetKeys() { keyReports.forgetKeys(); }
  // Waits up to 500 ms for a device that fills an empty slot or replaces a
  // removed device. Returns false if none arrives.
  bool waitForDevice(EisSlot& slot);
  // Whether the compositor has ended the connection after it had announced
  // devices.
  bool isDisconnected() const { return disconnected; }
  // The active layout group of the keyboard, if the compositor has reported
  // one.
  std::optional<std::uint32_t> keyboardGroup() const { return group; }
  void forgetKeyboardGroup() { group.reset(); }

  // Whether the compositor has reported that Caps Lock is on.
  bool isCapsLocked() const { return capsLocked; }
  // The modifiers of XKB that the compositor has reported as held down or latched, on any keyboard.
  std::uint32_t heldModifiers() const { return modifiers; }

  FileDescriptor eisFd;
  // Null if there is no channel.
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
  void ping();
  std::array<EisSlot*, 4> slots() { return {&eiPointer, &eiButton, &eiScroll, &eiKeyboard}; }

  int contextFd = -1;  // the duplicate of eisFd that the context uses
  bool handshaken = false;
  bool settingUp = true;
  bool disconnected = false;
  std::vector<EiDevice> resumedDevices;  // in the order in which they were resumed
  std::optional<std::uint32_t> group;
  KeyReports keyReports;
  bool reportsLate = false;  // a report did not arrive in time and has not arrived since
  bool capsLocked = false;
  std::uint32_t modifiers = 0;
};

}  // namespace ostler
