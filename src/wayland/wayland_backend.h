#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "backend/pointing_backend.h"
#include "keys/combo.h"
#include "wayland/eis/eis_input.h"
#include "wayland/eis/evdev_keys.h"
#include "wayland/portal/portal_input.h"
#include "wayland/portal/portal_session.h"
#include "wayland/stream/capture_state.h"
#include "wayland/stream/capture_stream.h"

namespace ostler {

// Drives a Wayland desktop through the desktop portal. The screen arrives as a
// PipeWire stream. Each input event goes through the compositor's EIS socket if
// a device there accepts it, and otherwise through the portal's own methods.
class WaylandBackend : public PointingBackend {
public:
  // Blocks until the user has answered the portal's dialog and the first frame
  // has arrived. PipeWire must be initialised.
  WaylandBackend();

  void mouseMove(double x, double y) override;
  void type(const std::string& text) override;
  void key(const std::string& combo) override;
  void scroll(double x, double y, int dx, int dy) override;
  Point cursorPosition() override;
  Size display() override;
  std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) override;

private:
  void waitForFirstFrame();
  // Call this before the first event of each operation of the host.
  void beginOperation();
  // Throws when the portal session has ended.
  void requireSession();
  // Sends an event through EIS if a device there accepts it, and otherwise
  // through the portal. Throws when the session has ended or the screen is
  // locked.
  void send(InputKind kind, const std::function<void()>& throughEis,
            const std::function<void()>& throughPortal);
  // Does the same without these checks.
  void deliver(InputKind kind, const std::function<void()>& throughEis,
               const std::function<void()>& throughPortal);
  void sendButton(Button button, bool pressed) override;
  void dragTo(double x, double y) override;
  void sendMotion(Position target);
  bool beginsAtCorner(Position target) const;
  bool isHeldAtCorner(Position target);
  // Throws if the keyboard was replaced while keys were sent.
  void requireKeysProcessed();
  void tapThroughEis(const KeyCombo& keys);
  void typeThroughEis(std::uint64_t keysym);
  void typeThroughPortal(std::uint64_t keysym);
  void tap(const EvdevKey& key);
  void press(const EvdevKey& key);
  void release(const EvdevKey& key);

  // Destroyed in reverse order: the stream before the state that it writes to.
  // Everything that uses the session is destroyed before the session.
  CaptureState capture;
  PortalSession portal;
  PortalInput portalInput{portal};
  EisInput eis;
  std::optional<CaptureStream> stream;

  std::optional<Position> lastTarget;  // of a motion, in the stream
  bool portalRefusesKeyboard = false;  // because the session has an EIS channel
};

}  // namespace ostler
