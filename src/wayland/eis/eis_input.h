#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "base/geometry.h"
#include "wayland/eis/drop_policy.h"
#include "wayland/eis/eis_channel.h"
#include "wayland/eis/keyboard_layout.h"
#include "wayland/eis/pointer_regions.h"

namespace ostler {

// Sends input events through the compositor's EIS socket, each in a frame of its own. An event
// needs a device of its kind: ask hasDevice() first. Events are dropped while the compositor does
// not read (DropPolicy).
class EisInput {
public:
  using AskPointer = std::function<std::optional<Position>()>;

  // Connects like EisChannel. Motions are relative to the stream. `askStream` returns where the
  // stream has reported the pointer, and `askLayoutGroup` is passed to KeyboardLayout.
  EisInput(FileDescriptor socket, StreamPlace streamPlace, AskPointer askStream,
           std::function<std::size_t()> askLayoutGroup)
      : channel(std::move(socket)),
        stream(std::move(streamPlace)),
        askPointer(std::move(askStream)),
        layout(std::move(askLayoutGroup)) {}

  // Whether events of the kind go through EIS.
  bool hasDevice(InputKind kind) const { return channel.device(kind) != nullptr; }
  // Whether the compositor has removed the device and not replaced it yet.
  bool isDeviceRemoved(InputKind kind) const { return channel.isDeviceRemoved(kind); }
  // The next six functions forward to EisChannel.
  bool waitForDevice(InputKind kind) { return channel.waitForDevice(kind); }
  void requestKeyReport() { channel.requestKeyReport(); }
  void awaitKeyReport() { channel.awaitKeyReport(); }
  bool mayHaveLostKeys() const { return channel.mayHaveLostKeys(); }
  void readChannel() { channel.read(); }
  bool isDisconnected() const { return channel.isDisconnected(); }

  // Call this before the first event of each operation of the host, but not within one.
  void beginOperation() {
    policy.beginOperation();
    channel.forgetKeys();
    layout.expectSwitch();
  }
  // Call this if the desktop has reported a switch of layouts, before the events of the channel are
  // read: those are the later ones, or agree.
  void noteLayoutSwitch() { channel.forgetKeyboardGroup(); }

  // The key that produces a keysym.
  std::optional<EvdevKey> findKey(std::uint64_t keysym) {
    return layout.find(keysym, channel.device(InputKind::keyboard), channel.keyboardGroup());
  }
  // The dead key and the key after it that produce a character for which there is no key.
  std::optional<DeadKeySequence> findSequence(std::uint64_t keysym) {
    return layout.findSequence(keysym, channel.device(InputKind::keyboard), channel.keyboardGroup());
  }

  bool isCapsLocked() const { return channel.isCapsLocked(); }
  std::uint32_t heldModifiers() const { return channel.heldModifiers(); }

  // A target outside all regions of the pointer is moved to the nearest point inside one.
  void moveTo(double x, double y);
  // `code` is an evdev code, here and in key().
  void button(std::uint32_t code, bool pressed);
  // Sends one event for all wheel steps, and none if both are 0.
  void scroll(std::int64_t right, std::int64_t down);
  void key(std::uint32_t code, bool pressed);
  // Releases the keys and buttons that are held, if their devices still exist.
  void releaseHeld();

private:
  bool isAdmitted(std::uint32_t code, bool pressed) {
    return pressed ? policy.admitPress(code) : policy.admitRelease(code);
  }
  void moveTo(EisPosition inStream);
  static bool isButton(std::uint32_t code);
  bool isPointerNear(EisPosition target, const PointerRegions& regions) const;
  void sendMotion(EisPosition place);

  EisChannel channel;
  const StreamPlace stream;
  const AskPointer askPointer;
  KeyboardLayout layout;
  DropPolicy policy{[this](std::chrono::milliseconds limit) { return channel.waitForRoom(limit); }};
  std::optional<EisPosition> lastPlace;  // on the desktop, where the last motion that was sent ended
  std::chrono::steady_clock::time_point lastMotion;
};

}  // namespace ostler
