#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/file_descriptor.h"
#include "base/owner.h"
#include "wayland/eis/key_reports.h"
#include "wayland/eis/pointer_regions.h"
#include "wayland/lazy/libei.h"

namespace ostler {

using EiContext = Owner<ei, ei_unref>;
using EiDevice = Owner<ei_device, ei_device_unref>;
using EiEvent = Owner<ei_event, ei_event_unref>;

// The log handler of every context. Without it libei logs to stderr.
void ignoreLog(ei*, ei_log_priority, const char*, ei_log_context*) noexcept;

enum class InputKind { pointer, button, scroll, keyboard };

// A connection to the compositor's EIS socket, with a device for each kind of input that the
// compositor accepts there. Other events have to go through the portal.
class EisChannel {
public:
  // Takes up to 5 s. On failure, or without a socket, there are no devices.
  explicit EisChannel(FileDescriptor socket);
  EisChannel(const EisChannel&) = delete;
  EisChannel& operator=(const EisChannel&) = delete;

  // The device for this kind of input, or null.
  ei_device* device(InputKind kind) const { return slot(kind).device.get(); }
  // Whether the compositor has removed the device and not replaced it yet.
  bool isDeviceRemoved(InputKind kind) const { return slot(kind).removed; }

  // The areas that the device for pointer motions can reach.
  std::vector<PointerRegion> pointerRegions() const;

  // Processes the events that have arrived, without waiting. A device that replaces a removed one
  // takes over its kinds of input. Kinds that had none still have none.
  void read();
  // Call this after each event of the keyboard.
  void noteKey() { keyReports.noteKey(); }
  // Asks the compositor to report when it has processed the keys so far, unless it still owes a
  // report. Only libei 1.4 and later can ask.
  void requestKeyReport();
  // Waits up to 500 ms until the compositor has processed the keys, or removed the keyboard.
  void awaitKeyReport();
  // Whether the keyboard was removed before the compositor had reported all keys as processed.
  bool mayHaveLostKeys() const { return keyReports.mayHaveLostKeys(); }
  void forgetKeys() { keyReports.forgetKeys(); }
  // Waits up to 500 ms for a first device of this kind, or for one that replaces a removed device.
  // Returns false if none arrives.
  bool waitForDevice(InputKind kind);
  // Waits until the socket has room for an event. Returns false if the compositor has not read by
  // the end of the limit.
  bool waitForRoom(std::chrono::milliseconds limit) const;
  // Whether the compositor has ended the connection after it had announced devices.
  bool isDisconnected() const { return disconnected; }
  // The active layout group of the keyboard, if the compositor has reported one.
  std::optional<std::uint32_t> keyboardGroup() const { return group; }
  void forgetKeyboardGroup() { group.reset(); }

  // Whether the compositor has reported that Caps Lock is on.
  bool isCapsLocked() const { return capsLocked; }
  // The modifiers of XKB that the compositor has reported as held down or latched, on any keyboard.
  std::uint32_t heldModifiers() const { return modifiers; }

private:
  class ServerWait;

  struct Slot {
    const ei_device_capability capability;
    EiDevice device{};  // null until the compositor has announced one
    bool removed = false;

    bool isFilled() const { return device != nullptr; }
  };

  bool connectEis(FileDescriptor socket, ServerWait& server);
  void abandon();
  bool dispatch();
  bool handle(ei_event* event);
  void fillSlots(ei_device* device);
  void noteRemoval(ei_device* device);
  void forget(ei_device* device);
  void takeDevice(Slot& vacant);
  void ping();
  Slot& slot(InputKind kind) { return slots[static_cast<std::size_t>(kind)]; }
  const Slot& slot(InputKind kind) const { return slots[static_cast<std::size_t>(kind)]; }

  FileDescriptor eisFd;
  EiContext eiContext;  // null if there is no channel
  // In the order of InputKind.
  std::array<Slot, 4> slots{{{EI_DEVICE_CAP_POINTER_ABSOLUTE},
                             {EI_DEVICE_CAP_BUTTON},
                             {EI_DEVICE_CAP_SCROLL},
                             {EI_DEVICE_CAP_KEYBOARD}}};
  int contextFd = -1;  // the duplicate of eisFd that the context uses
  bool isHandshakeComplete = false;
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
