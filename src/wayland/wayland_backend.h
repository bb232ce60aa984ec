#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "backend/pointing_backend.h"
#include "keys/combo.h"
#include "wayland/eis/compose.h"
#include "wayland/eis/eis_input.h"
#include "wayland/eis/evdev_keys.h"
#include "wayland/portal/portal_input.h"
#include "wayland/portal/portal_session.h"
#include "wayland/stream/capture_state.h"
#include "wayland/stream/capture_stream.h"

namespace ostler {

// Returns the evdev code of a button.
std::uint32_t buttonCode(Button button);

// Drives a Wayland desktop through the desktop portal. The screen arrives as a
// PipeWire stream. Each input event goes through the compositor's EIS socket if
// a device there accepts it, and otherwise through the portal's own methods.
class WaylandBackend : public PointingBackend {
public:
  // Blocks until the user has answered the portal's dialog and the first frame
  // has arrived. PipeWire must be initialised.
  explicit WaylandBackend(const PortalPermission& permission = {});

  void mouseMove(double x, double y) override;
  void type(const std::string& text) override;
  void key(const std::string& combo) override;
  void scroll(double x, double y, int dx, int dy) override;
  Point cursorPosition() override;
  Size display() override;
  std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) override;

protected:
  // Call this before the first event of each operation of the host.
  void beginOperation();
  // Throws when the portal session has ended. Each event calls this before it is sent.
  virtual void requireSession();
  // Sends an event through EIS if a device there accepts it, and otherwise
  // through the portal. Throws when the session has ended or the screen is
  // locked.
  void send(InputKind kind, const std::function<void()>& throughEis,
            const std::function<void()>& throughPortal);
  // Does the same without these checks.
  void deliver(InputKind kind, const std::function<void()>& throughEis,
               const std::function<void()>& throughPortal);
  void sendButton(Button button, bool pressed) override;
  void sendMotion(double x, double y) override;
  virtual void moveTo(Position target);
  // Call this at the end of each operation that sends keys. Throws if any may be lost.
  void requireKeysProcessed();
  // Where the desktop has reported the pointer.
  virtual std::optional<Position> reportedPointer() const { return capture.reportedPointer(); }
  virtual void turnWheel(std::int64_t right, std::int64_t down);
  // Sends a key through EIS.
  virtual void sendKey(std::uint32_t code, bool pressed);
  // Resolves the parts of a combo to keysyms.
  virtual std::optional<KeyCombo> resolveCombo(const std::string& combo);
  // Returns the key of a combo's part; its code is 0 when the keyboard lacks it.
  virtual EvdevKey keyOfCombo(std::uint64_t keysym);
  // Returns the name of a modifier that is held down, if any is.
  virtual std::string heldModifier() const;
  // Waits until the program with the focus has handled the keys that were sent.
  virtual void waitUntilDrawn() {}
  // Waits until it has drawn the keys so far, if it is not busy.
  virtual void waitUntilSettled() {}
  // Returns the characters of the text that no keys of the active layout type, each once.
  std::vector<std::uint32_t> findUntypable(const std::vector<std::uint32_t>& text);
  // Types a text in which every character can be typed, with a pause after each.
  void write(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay);
  void press(const EvdevKey& key);
  void release(const EvdevKey& key);

private:
  bool beginsAtCorner(Position target) const;
  bool isHeldAtCorner(Position target);
  // Throws if the keyboard went away before the compositor had processed the keys of this operation.
  void requireNoLostKeys() const;
  void tapThroughEis(const KeyCombo& keys);
  void typeThroughEis(std::uint64_t keysym);
  void typeThroughPortal(std::uint64_t keysym);
  void tap(const EvdevKey& key);
  void tap(const DeadKeySequence& sequence, std::chrono::milliseconds pause);
  void waitForKeyboard();
  void requireNoModifiers();
  bool isTypable(std::uint32_t character);
  void writeCharacter(std::uint32_t character, bool& composedLast);

protected:
  // Destroyed in reverse order: the stream before the state that it writes to.
  // Everything that uses the session is destroyed before the session.
  CaptureState capture;
  PortalSession portal;
  PortalInput portalInput{portal};
  EisInput eis;
  std::optional<CaptureStream> stream;

private:
  std::optional<Position> lastTarget;  // of a motion, in the stream
  bool portalRefusesKeyboard = false;  // because the session has an EIS channel
};

}  // namespace ostler
