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

// Drives a Wayland desktop through the desktop portal. The screen arrives as a PipeWire stream.
// Each input event goes through the compositor's EIS socket if a device there accepts it, and
// otherwise through the portal's own methods.
class WaylandBackend : public PointingBackend {
public:
  // Blocks until the user has answered the portal's dialog and the first frame has arrived.
  // PipeWire must be initialised.
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
  // Calls `sendTo` with the channel that accepts this kind of input: EisInput if a device there
  // does, and otherwise PortalInput. Throws when the session has ended or the screen is locked.
  template <typename SendTo>
  void send(InputKind kind, SendTo sendTo) {
    requireSession();
    portal.requireUnlocked();
    if (kind == InputKind::keyboard) requireNoLostKeys();
    deliver(kind, sendTo);
    if (kind == InputKind::keyboard) eis.requestKeyReport();
  }
  // Does the same without these checks.
  template <typename SendTo>
  void deliver(InputKind kind, SendTo sendTo) {
    if (!goesThroughEis(kind)) {
      const auto sendToPortal = [&] { sendTo(portalInput); };
      if (tryPortal(kind, sendToPortal, [&] { return eis.waitForDevice(kind); })) return;
    }
    sendTo(eis);
  }
  void sendButton(Button button, bool pressed) override;
  void sendMotion(double x, double y) override;
  virtual void moveTo(Position target);
  // Call this at the end of each operation that sends keys. Throws if any may be lost.
  void requireKeysProcessed();
  // Where the desktop has reported the pointer.
  virtual std::optional<Position> reportedPointer() const { return capture.reportedPointer(); }
  virtual void turnWheel(std::int64_t right, std::int64_t down);
  virtual void sendKey(EisInput& to, std::uint32_t code, bool pressed);
  // Resolves the parts of a combo to keysyms.
  virtual std::optional<KeyCombo> resolveCombo(const std::string& combo);
  // Returns the key of a combo's part, or nothing when the keyboard lacks it.
  virtual std::optional<EvdevKey> findComboKey(std::uint64_t keysym);
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
  void press(EisInput& to, const EvdevKey& key);
  void release(EisInput& to, const EvdevKey& key);

private:
  // Whether a device of EIS accepts this kind of input. Waits for one that replaces a removed
  // device, and throws if none does.
  bool goesThroughEis(InputKind kind);
  // Sends an event to the portal. Returns false if that refuses because the session has an EIS
  // channel, and EIS can be used instead. Throws if it cannot, and on any other failure.
  bool tryPortal(InputKind kind, const std::function<void()>& sendToPortal,
                 const std::function<bool()>& canUseEis);
  bool beginsAtCorner(Position target) const;
  bool isHeldAtCorner(Position target);
  // Throws if the keyboard went away before the compositor had processed the keys of this
  // operation.
  void requireNoLostKeys() const;
  void tapCombo(EisInput& to, const KeyCombo& keys);
  static void tapCombo(const PortalInput& to, const KeyCombo& keys);
  void typeKeysym(EisInput& to, std::uint64_t keysym);
  static void typeKeysym(const PortalInput& to, std::uint64_t keysym);
  void tap(EisInput& to, const EvdevKey& key);
  void tap(EisInput& to, const DeadKeySequence& sequence, std::chrono::milliseconds pause);
  void waitForKeyboard();
  void requireNoModifiers();
  bool isTypable(std::uint32_t character);
  // `composedLast` is whether the character before was typed with a dead key.
  void writeKeysym(EisInput& to, std::uint64_t keysym, bool& composedLast);
  static void writeKeysym(const PortalInput& to, std::uint64_t keysym, bool& composedLast);

protected:
  // Destroyed in reverse order: the stream before the state that it writes to. Everything that uses
  // the session is destroyed before the session.
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
