#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "wayland/eis/eis_channel.h"

namespace ostler {

// Sends input events through the compositor's EIS socket, each in a frame of
// its own. An event needs a device: ask the matching has...() first.
//
// While the compositor does not read, a press, a motion or a scroll is dropped
// after a wait, and so is what follows in the same operation. A release is
// dropped only if its press was: otherwise the key would stay down.
class EisInput {
public:
  // As EisChannel.
  explicit EisInput(FileDescriptor socket) : channel(std::move(socket)) {}

  bool hasPointer() const { return channel.eiPointer != nullptr; }
  bool hasButton() const { return channel.eiButton != nullptr; }
  bool hasScroll() const { return channel.eiScroll != nullptr; }
  bool hasKeyboard() const { return channel.eiKeyboard != nullptr; }

  // Call it before the first event of each operation of the host, and not
  // within one: a click makes no sense without its motion.
  void beginOperation() { dropping = false; }

  // A target outside all regions of the pointer is moved to the nearest point inside one.
  void moveTo(double x, double y);
  // `code` is an evdev code, here and in key().
  void button(std::uint32_t code, bool pressed);
  // In wheel steps to the right and down; one event for all of them, none for none.
  void scroll(std::int64_t right, std::int64_t down);
  void key(std::uint32_t code, bool pressed);

private:
  // In floats, as the wire carries it.
  struct Position {
    float x;
    float y;
  };

  bool admit(std::uint32_t code, bool pressed);
  bool admitBeginning();
  bool waitForRoom();
  Position insideRegions(Position target) const;
  void sendPendingMotion();

  EisChannel channel;
  bool stalled = false;                   // the compositor did not read in time, and has not since
  bool dropping = false;                  // an event of this operation was dropped
  std::optional<Position> pendingMotion;  // the last motion, if it was dropped
  // Keys and buttons by their codes, which differ.
  std::set<std::uint32_t> heldDown;
  std::map<std::uint32_t, int> droppedPresses;
};

}  // namespace ostler
