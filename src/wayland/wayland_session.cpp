#include "wayland/wayland_session.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include <linux/input-event-codes.h>

#include "image/capture.h"
#include "keys/key_names.h"
#include "keys/text.h"
#include "wayland/drawing_wait.h"
#include "wayland/eis/extra_keys.h"
#include "wayland/lazy/load.h"
#include "wayland/portal/klipper.h"
#include "wayland/portal/portal_clipboard.h"
#include "wayland/shared_monitors.h"
#include "wayland/stream/unpack.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

constexpr char noWindows[] =
    "A Wayland desktop does not tell a program about the windows of others; windows are listed on X11 only.";

constexpr std::pair<std::uint32_t, const char*> modifierKeys[] = {
    {KEY_LEFTSHIFT, "Shift"}, {KEY_RIGHTSHIFT, "Shift"}, {KEY_LEFTCTRL, "Ctrl"},  {KEY_RIGHTCTRL, "Ctrl"},
    {KEY_LEFTALT, "Alt"},     {KEY_RIGHTALT, "AltGr"},   {KEY_LEFTMETA, "Super"}, {KEY_RIGHTMETA, "Super"}};

// In the record, keys and buttons have their evdev codes.
class WaylandSession final : public SessionBackend {
public:
  WaylandSession(HeldRecord heldRecord, const PortalPermission& permission)
      : SessionBackend(std::move(heldRecord)), wayland(*this, permission) {}

  std::string untypable(const std::string& text) override {
    return encodeUtf8(wayland.findUntypable(decodeLines(text)));
  }
  std::vector<Monitor> monitors() override { return wayland.monitors(); }
  Sight look(const Rect& part) override { return wayland.look(part); }
  std::vector<DesktopWindow> windows() override { throw std::runtime_error(noWindows); }
  void activate(std::uint32_t) override { throw std::runtime_error(noWindows); }
  std::string sessionEnd() override { return wayland.sessionEnd(); }
  std::unique_ptr<Clipboard> makeClipboard() override { return wayland.makeClipboard(); }
  std::optional<std::string> readKlipper() override { return wayland.klipperText(); }

private:
  // Records what it presses, and can be interrupted before each event.
  class Recorded final : public WaylandBackend {
  public:
    Recorded(WaylandSession& owner, const PortalPermission& permission)
        : WaylandBackend(permission), session(owner) {
      if (portal.streams().size() > 1) shared.emplace(portal, capture);
    }

    Size display() override { return shared ? shared->size() : WaylandBackend::display(); }
    Point cursorPosition() override {
      if (!shared) return WaylandBackend::cursorPosition();
      const Position pointer = shared->reportedPointer().value_or(lastMotion);
      return {static_cast<std::int32_t>(std::lround(pointer.x)),
              static_cast<std::int32_t>(std::lround(pointer.y))};
    }
    std::optional<Position> reportedPointer() const override {
      return shared ? shared->reportedPointer() : WaylandBackend::reportedPointer();
    }
    void moveTo(Position target) override {
      if (!shared) return WaylandBackend::moveTo(target);
      const SharedMonitors::Place place = shared->find(target);
      send(InputKind::pointer, [&](auto& to) { moveTo(to, place); });
      lastMotion = target;
    }

    std::optional<std::string> klipperText() const { return ostler::readKlipper(portal.bus()); }
    std::unique_ptr<Clipboard> makeClipboard() {
      if (!portal.hasClipboard()) return nullptr;
      return makePortalClipboard(portal.bus(), portal.handle(), portal.takeClipboardOwner());
    }

    using WaylandBackend::sendMotion;

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
    void sendKey(EisInput& to, std::uint32_t code, bool pressed) override {
      session.sendRecorded(code, pressed, [&] { WaylandBackend::sendKey(to, code, pressed); });
      drawing.noteKey();
    }
    // The host itself may hold modifiers, which not every compositor reports.
    std::string heldModifier() const override {
      for (const auto& [code, name] : modifierKeys) {
        if (session.isHeld(code)) return name;
      }
      return WaylandBackend::heldModifier();
    }
    void waitUntilDrawn() override { drawing.wait(); }
    void waitUntilSettled() override { drawing.settle(); }

    using WaylandBackend::findUntypable;
    using WaylandBackend::write;

    // A positive dy scrolls down, as on X11.
    void scroll(double x, double y, int dx, int dy) override {
      WaylandBackend::scroll(x, y, dx, dy == INT_MIN ? INT_MAX : -dy);
    }
    std::optional<KeyCombo> resolveCombo(const std::string& combo) override {
      const auto itself = [](std::uint64_t keysym, const std::string&) { return keysym; };
      return resolveNamedKeys(combo, "Wayland", itself);
    }
    std::optional<EvdevKey> findComboKey(std::uint64_t keysym) override {
      if (const auto key = findExtraKey(keysym)) return key;
      return WaylandBackend::findComboKey(keysym);
    }

    std::uint64_t resolveKey(const std::string& name) {
      const std::optional<KeyCombo> keys = resolveCombo(name);
      if (!keys || !keys->held.empty()) throw std::runtime_error("This is not the name of one key: " + name);
      return keys->main;
    }
    std::uint32_t resolveKeyCode(const std::string& name) { return codeOf(resolveKey(name)); }
    void setKey(const std::string& name, bool pressed) {
      const std::uint64_t keysym = resolveKey(name);
      beginOperation();
      const auto sendTo = [&](auto& to) { setKey(to, name, keysym, pressed); };
      if (pressed) {
        send(InputKind::keyboard, sendTo);
        return requireKeysProcessed();
      }
      requireSession();
      deliver(InputKind::keyboard, sendTo);
    }
    Sight look(const Rect& crop) {
      requireSession();
      if (shared) return lookAtShared(crop);
      capture.waitForFirstFrame(std::chrono::steady_clock::now() + std::chrono::seconds(5));
      std::shared_ptr<const Frame> frame = capture.latestFrame();
      if (frame == nullptr || frame->format.width <= 0 || frame->format.height <= 0) return {};
      const Size size{frame->format.width, frame->format.height}, units = display();
      const auto scale = [](std::int32_t pixels, std::int32_t count) {
        return count > 0 ? static_cast<double>(pixels) / count : 1.0;
      };
      const Rect inPixels =
          toImagePixels(crop, scale(size.width, units.width), scale(size.height, units.height));
      const bool isWhole = crop.width <= 0 || crop.height <= 0;
      const Rect part = isWhole ? Rect{0, 0, size.width, size.height} : clipCrop(size, inPixels);
      const PixelRows rows = rowsOf(*frame, part);
      return {rows, std::move(frame)};
    }
    // Also works while the screen is locked.
    void release(std::uint32_t code) {
      const bool isButton = code >= BTN_MISC && code < BTN_GEAR_UP;
      requireSession();
      if (isButton) return deliver(InputKind::button, [&](auto& to) { to.button(code, false); });
      deliver(InputKind::keyboard, [&](auto& to) { releaseKey(to, code); });
    }

    // Returns what is shared. Coordinates are relative to a single monitor.
    std::vector<Monitor> monitors() {
      if (shared) return shared->list();
      const Size size = display();
      const StreamFormat format = capture.format();
      const double scale =
          size.width > 0 && format.width > 0 ? static_cast<double>(format.width) / size.width : 1.0;
      return {
          {portal.streams().front().mappingId.value_or("shared"), {0, 0, size.width, size.height}, scale}};
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

    // In the record. 0 when the keyboard lacks the key.
    std::uint32_t codeOf(std::uint64_t keysym) { return findComboKey(keysym).value_or(EvdevKey{}).code; }

    static void moveTo(EisInput& to, const SharedMonitors::Place& place) {
      to.moveTo(place.onDesktop.x, place.onDesktop.y);
    }
    static void moveTo(const PortalInput& to, const SharedMonitors::Place& place) {
      to.moveTo(place.nodeId, place.inStream.x, place.inStream.y);
    }
    void setKey(EisInput& to, const std::string& name, std::uint64_t keysym, bool pressed) {
      const auto key = findComboKey(keysym);
      if (!key) throw std::runtime_error("The keyboard of this desktop has no such key: " + name);
      pressed ? press(to, *key) : release(to, *key);
    }
    void setKey(const PortalInput& to, const std::string&, std::uint64_t keysym, bool pressed) {
      const std::uint32_t code = codeOf(keysym);
      portalKeys[code] = keysym;
      session.sendRecorded(code, pressed, [&] { to.key(keysym, pressed); });
    }
    static void releaseKey(EisInput& to, std::uint32_t code) { to.key(code, false); }
    void releaseKey(const PortalInput& to, std::uint32_t code) { to.key(portalKeys[code], false); }

    // Several monitors are put together from their streams.
    Sight lookAtShared(const Rect& crop) {
      const auto [picture, scale, part] = shared->picture(crop);
      const bool isWhole = part.width <= 0 || part.height <= 0;
      const Rect shown = isWhole ? Rect{0, 0, picture.size.width, picture.size.height}
                                 : clipCrop(picture.size, toImagePixels(part, scale, scale));
      if (shown.width == 0 || shown.height == 0) return {};
      const auto image = std::make_shared<const RgbImage>(picture.toRgb(shown));
      return {rowsOf(*image), image};
    }

    // Throws when the portal session or the stream has ended.
    void requireAll() {
      WaylandBackend::requireSession();
      capture.waitForFirstFrame(std::chrono::steady_clock::now());
      if (shared) shared->requireStreams();
    }

    WaylandSession& session;
    std::optional<SharedMonitors> shared;  // if there are several
    Position lastMotion;
    DrawingWait drawing{[this] { return shared ? shared->countFrames() : capture.countFrames(); }};
    std::map<std::uint32_t, std::uint64_t> portalKeys;  // the keysym of each code that the portal got
  };

  Backend& desktop() override { return wayland; }
  void sendButton(Button button, bool pressed) override { wayland.sendButton(button, pressed); }
  void sendKey(const std::string& name, bool pressed) override { wayland.setKey(name, pressed); }
  void sendText(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) override {
    wayland.write(text, delay);
  }
  void sendRelease(std::uint32_t code) override { wayland.release(code); }
  void sendMotion(double x, double y) override { wayland.sendMotion(x, y); }
  std::uint32_t resolveKeyCode(const std::string& name) override { return wayland.resolveKeyCode(name); }

  Recorded wayland;
};

}  // namespace

std::unique_ptr<SessionBackend> makeWaylandSession(HeldRecord record, const PortalPermission& permission) {
  loadWaylandLibraries();
  initialisePipeWire();
  return std::make_unique<WaylandSession>(std::move(record), permission);
}

}  // namespace ostler
