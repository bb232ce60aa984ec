#include "wayland/wayland_session.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include <linux/input-event-codes.h>

#include "image/finish_capture.h"
#include "keys/text.h"
#include "wayland/lazy/load.h"
#include "wayland/portal/klipper.h"
#include "wayland/portal/portal_clipboard.h"
#include "wayland/shared_monitors.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

// In the record, keys and buttons have their evdev codes.
class WaylandSession final : public SessionBackend {
public:
  WaylandSession(HeldRecord heldRecord, const PortalPermission& permission)
      : SessionBackend(std::move(heldRecord)), wayland(*this, permission) {}

  std::string untypable(const std::string& text) override {
    return encodeUtf8(wayland.findUntypable(decodeLines(text)));
  }
  std::vector<Monitor> monitors() override { return wayland.monitors(); }
  std::string sessionEnd() override { return wayland.sessionEnd(); }
  std::unique_ptr<Clipboard> makeClipboard() override { return wayland.makeClipboard(); }
  std::optional<std::string> readKlipper() override { return wayland.klipperText(); }

private:
  // Records what it presses, and can be interrupted before each event.
  class Recorded final : public WaylandBackend {
  public:
    Recorded(WaylandSession& owner, const PortalPermission& permission)
        : WaylandBackend(permission), session(owner) {
      if (portal.streams.size() > 1) shared.emplace(portal, capture);
    }

    Size display() override { return shared ? shared->size() : WaylandBackend::display(); }
    Point cursorPosition() override {
      if (!shared) return WaylandBackend::cursorPosition();
      const Position pointer = shared->reportedPointer().value_or(lastMotion);
      return {static_cast<std::int32_t>(std::lround(pointer.x)),
              static_cast<std::int32_t>(std::lround(pointer.y))};
    }
    std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) override {
      if (!shared) return WaylandBackend::screenshot(target, crop, quality);
      requireSession();
      auto [picture, scale, part] = shared->picture(crop);
      return finishCapture(std::move(picture), scale, scale, target, part, quality);
    }
    std::optional<Position> reportedPointer() const override {
      return shared ? shared->reportedPointer() : WaylandBackend::reportedPointer();
    }
    void sendMotion(Position target) override {
      if (!shared) return WaylandBackend::sendMotion(target);
      const SharedMonitors::Place place = shared->find(target);
      send(
          InputKind::pointer, [&] { eis.moveTo(place.onDesktop.x, place.onDesktop.y); },
          [&] { portalInput.moveTo(place.nodeId, place.inStream.x, place.inStream.y); });
      lastMotion = target;
    }

    std::optional<std::string> klipperText() const { return ostler::readKlipper(portal.connection.get()); }
    std::unique_ptr<Clipboard> makeClipboard() const {
      if (!portal.hasClipboard) return nullptr;
      return makePortalClipboard(portal.connection.get(), portal.sessionHandle);
    }

    void requireSession() override {
      throwIfInterrupted();
      requireAll();
    }
    void sendButton(Button button, bool pressed) override {
      session.sendRecorded(buttonCode(button), pressed, [&] { WaylandBackend::sendButton(button, pressed); });
    }
    // The portal gets one call for each step, so this takes long for many steps.
    void turnWheel(std::int64_t right, std::int64_t down) override {
      if (eis.hasDevice(InputKind::scroll)) return WaylandBackend::turnWheel(right, down);
      const auto sign = [](std::int64_t steps) { return std::clamp<std::int64_t>(steps, -1, 1); };
      for (; right != 0; right -= sign(right)) WaylandBackend::turnWheel(sign(right), 0);
      for (; down != 0; down -= sign(down)) WaylandBackend::turnWheel(0, sign(down));
    }
    void sendKey(std::uint32_t code, bool pressed) override {
      session.sendRecorded(code, pressed, [&] { WaylandBackend::sendKey(code, pressed); });
    }

    using WaylandBackend::findUntypable;
    using WaylandBackend::write;

    void setKey(const std::string& name, bool pressed) {
      const auto itself = [](std::uint64_t keysym, const std::string&) { return keysym; };
      const std::optional<KeyCombo> keys = resolveKeyCombo(name, "Wayland", itself);
      if (!keys || !keys->held.empty()) throw std::runtime_error("This is not the name of one key: " + name);
      beginOperation();
      const auto throughEis = [&] {
        const EvdevKey key = keyOfCombo(keys->main);
        if (key.code != 0) pressed ? press(key) : release(key);
      };
      const auto throughPortal = [&] {
        const std::uint32_t code = keysymToEvdev(keys->main);
        portalKeys[code] = keys->main;
        session.sendRecorded(code, pressed, [&] { portalInput.key(keys->main, pressed); });
      };
      if (pressed) return send(InputKind::keyboard, throughEis, throughPortal);
      requireSession();
      deliver(InputKind::keyboard, throughEis, throughPortal);
    }
    // Also works while the screen is locked.
    void release(std::uint32_t code) {
      const bool isButton = code >= BTN_MISC && code < BTN_GEAR_UP;
      const auto throughEis = [&] { isButton ? eis.button(code, false) : eis.key(code, false); };
      const auto throughPortal = [&] {
        isButton ? portalInput.button(code, false) : portalInput.key(portalKeys[code], false);
      };
      requireSession();
      deliver(isButton ? InputKind::button : InputKind::keyboard, throughEis, throughPortal);
    }

    // Returns what is shared. Coordinates are relative to a single monitor.
    std::vector<Monitor> monitors() {
      if (shared) return shared->list();
      const Size size = display();
      const StreamFormat format = capture.format();
      const double scale =
          size.width > 0 && format.width > 0 ? static_cast<double>(format.width) / size.width : 1.0;
      return {{portal.streamPlace.mappingId.value_or("shared"), {0, 0, size.width, size.height}, scale}};
    }

    std::string sessionEnd() {
      try {
        requireAll();
      } catch (const std::runtime_error& error) {
        return error.what();
      }
      return {};
    }

  private:
    using WaylandBackend::release;

    // Throws when the portal session or the stream has ended.
    void requireAll() {
      WaylandBackend::requireSession();
      capture.waitForFirstFrame(std::chrono::steady_clock::now());
      if (shared) shared->requireStreams();
    }

    WaylandSession& session;
    std::optional<SharedMonitors> shared;  // if there are several
    Position lastMotion;
    std::map<std::uint32_t, std::uint64_t> portalKeys;  // the keysym of each code that the portal got
  };

  Backend& desktop() override { return wayland; }
  void sendButton(Button button, bool pressed) override { wayland.sendButton(button, pressed); }
  void sendKey(const std::string& name, bool pressed) override { wayland.setKey(name, pressed); }
  void sendText(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) override {
    wayland.write(text, delay);
  }
  void sendRelease(std::uint32_t code) override { wayland.release(code); }

  Recorded wayland;
};

}  // namespace

std::unique_ptr<SessionBackend> makeWaylandSession(HeldRecord record, const PortalPermission& permission) {
  loadWaylandLibraries();
  initialisePipeWire();
  return std::make_unique<WaylandSession>(std::move(record), permission);
}

}  // namespace ostler
