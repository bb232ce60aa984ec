#include "x11/x11_session.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include <X11/extensions/XTest.h>
#include <poll.h>

#include "image/capture.h"
#include "keys/key_names.h"
#include "keys/text.h"
#include "x11/screen_reader.h"
#include "x11/temporary_key_mapping.h"
#include "x11/text_writer.h"
#include "x11/window_list.h"
#include "x11/x11_backend.h"
#include "x11/x11_monitors.h"

namespace ostler {
namespace {

// In the record, a key has its keycode, which is below 256, and a button its number plus this.
constexpr std::uint32_t firstButton = 256;
// A keycode that `write` has mapped to characters is recorded as itself plus this.
constexpr std::uint32_t firstRow = HeldRecord::firstLasting;

class X11Session final : public SessionBackend {
public:
  explicit X11Session(HeldRecord heldRecord) : SessionBackend(std::move(heldRecord)) {}

  std::vector<Monitor> monitors() override { return x11.readMonitors(); }
  std::string untypable(const std::string& text) override {
    return encodeUtf8(x11.writer.findUntypable(decodeLines(text)));
  }
  Sight look(const Rect& part) override { return x11.look(part); }
  std::vector<DesktopWindow> windows() override { return x11.windows(); }
  void activate(std::uint32_t id) override { x11.activate(id); }
  std::string sessionEnd() override { return x11.isServerGone() ? "The X server has ended." : ""; }

private:
  // Records what it presses, and can be interrupted before each step.
  class Recorded final : public X11Backend {
  public:
    explicit Recorded(X11Session& owner) : session(owner) {}

    void mouseMove(double x, double y) override {
      throwIfInterrupted();
      requireMonitor(x, y);
      X11Backend::mouseMove(x, y);
    }
    void sendMotion(double x, double y) override {
      throwIfInterrupted();
      requireMonitor(x, y);
      X11Backend::sendMotion(x, y);
    }
    void sendButton(Button button, bool pressed) override {
      session.sendRecorded(firstButton + buttonNumber(button), pressed,
                           [&] { X11Backend::sendButton(button, pressed); });
    }
    void turnWheel(unsigned button, std::int64_t steps) override {
      for (std::int64_t left = steps; left > 0; --left) {
        session.tapRecorded({firstButton + button}, [&] { X11Backend::turnWheel(button, 1); });
        XSync(xDisplay, False);
      }
    }
    void tap(KeyCode keycode, KeyCode shiftKeycode) override {
      std::vector<std::uint32_t> codes{keycode};
      if (shiftKeycode != 0) codes.push_back(shiftKeycode);
      session.tapRecorded(codes, [&] { X11Backend::tap(keycode, shiftKeycode); });
    }
    void tapCombo(const KeyCombo& keys) override {
      KeyCombo pressed = keys;
      // A key that is held down already stays down.
      std::erase_if(pressed.held,
                    [&](std::uint64_t key) { return session.isHeld(static_cast<std::uint32_t>(key)); });
      std::vector<std::uint32_t> codes(pressed.held.begin(), pressed.held.end());
      codes.push_back(static_cast<std::uint32_t>(pressed.main));
      session.tapRecorded(codes, [&] { X11Backend::tapCombo(pressed); });
    }
    std::optional<KeyCombo> resolveCombo(const std::string& combo) override {
      return resolveNamedKeys(combo, "Linux/X11",
                              [this](KeySym keysym, const std::string&) { return keycodeFor(keysym); });
    }

    void type(const std::string& text) override {
      writer.restoreMap();  // typing needs a spare keycode too
      X11Backend::type(text);
    }
    void write(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) {
      if (!writer.findUntypable(text).empty())
        throw std::runtime_error("The keyboard map has no spare keycode.");
      writer.write(text, delay);
    }
    // Returns the whole screen as one monitor if the server lists none.
    std::vector<Monitor> readMonitors() {
      std::vector<Monitor> found = monitors.read();
      if (found.empty()) {
        const Size screen = display();
        found.push_back({"screen", {0, 0, screen.width, screen.height}});
      }
      return found;
    }

    KeyCode resolveKeycode(const std::string& name) {
      const std::optional<KeyCombo> keys = resolveCombo(name);
      if (!keys || !keys->held.empty()) throw std::runtime_error("This is not the name of one key: " + name);
      return static_cast<KeyCode>(keys->main);
    }
    void setKey(const std::string& name, bool pressed) {
      const KeyCode keycode = resolveKeycode(name);
      session.sendRecorded(keycode, pressed, [&] { sendKey(keycode, pressed); });
    }
    Sight look(const Rect& crop) {
      const Size screen = display();
      const bool isWhole = crop.width <= 0 || crop.height <= 0;
      const Rect part = isWhole ? Rect{0, 0, screen.width, screen.height} : clipCrop(screen, crop);
      if (part.width == 0 || part.height == 0) return {};
      Sight sight = sightOf(reader.read(rootWindow, part));
      return sight.rows.width == 0 ? sight : shown(std::move(sight), screen, part);
    }
    std::vector<DesktopWindow> windows() { return listWindows(xDisplay); }
    void activate(std::uint32_t id) { activateWindow(xDisplay, id); }
    void release(std::uint32_t code) {
      if (code >= firstRow) return writer.restoreRow(static_cast<KeyCode>(code - firstRow));
      if (code < firstButton) return sendKey(static_cast<KeyCode>(code), false);
      XTestFakeButtonEvent(xDisplay, code - firstButton, False, 0);
      XSync(xDisplay, False);
    }
    bool isServerGone() const {
      pollfd connected{ConnectionNumber(xDisplay), 0, 0};
      return poll(&connected, 1, 0) > 0;  // only POLLHUP and errors are reported
    }

    TextWriter writer{
        xDisplay, [this](KeyCode keycode, KeyCode shift) { tap(keycode, shift); },
        [this](KeyCode keycode, bool isMapped) { session.recordLasting(firstRow + keycode, isMapped); }};

  private:
    // What lies on the screen but on no monitor shows whatever is left there.
    Sight shown(Sight sight, Size screen, const Rect& part) {
      std::vector<Rect> areas;
      for (const Monitor& monitor : readMonitors()) areas.push_back(monitor.area);
      const auto coversPart = [&](const Rect& area) {
        return area.x <= part.x && area.y <= part.y && area.x + area.width >= part.x + part.width &&
               area.y + area.height >= part.y + part.height;
      };
      if (std::any_of(areas.begin(), areas.end(), coversPart)) return sight;
      const auto convert = [&](const Rect&) { return toRgbImage(sight.rows); };
      const auto image =
          std::make_shared<const RgbImage>(blackenOutside({screen, convert}, std::move(areas)).toRgb(part));
      return {rowsOf(*image), image};
    }

    // Throws when the user cannot see the pointer there. Outside of the screen, the server moves
    // the pointer to its edge.
    void requireMonitor(double x, double y) {
      const auto shows = [&](const Monitor& monitor) { return contains(monitor.area, x, y); };
      const std::vector<Monitor> all = readMonitors();
      const Size screen = display();
      const bool isOnScreen = contains({0, 0, screen.width, screen.height}, x, y);
      if (!isOnScreen || std::any_of(all.begin(), all.end(), shows)) return;
      throw std::runtime_error("No monitor shows the point " + std::to_string(std::lround(x)) + "," +
                               std::to_string(std::lround(y)) + ".");
    }

    // A keyboard map lacks most of the keys that no keyboard has, such as F13. Those keep a spare
    // keycode as long as the session lives, because each change of the map costs all clients time.
    KeyCode keycodeFor(KeySym keysym) {
      if (const KeyCode keycode = XKeysymToKeycode(xDisplay, keysym)) return keycode;
      const auto [mapping, isNew] = addedKeys.try_emplace(keysym, xDisplay, keysym);
      return mapping->second.keycode();
    }

    X11Session& session;
    X11Monitors monitors{DisplayString(xDisplay)};
    ScreenReader reader{xDisplay};
    std::map<KeySym, TemporaryKeyMapping> addedKeys;
  };

  Backend& desktop() override { return x11; }
  void sendButton(Button button, bool pressed) override { x11.sendButton(button, pressed); }
  void sendKey(const std::string& name, bool pressed) override { x11.setKey(name, pressed); }
  void sendRelease(std::uint32_t code) override { x11.release(code); }
  void restoreMapIfDue() override { x11.writer.restoreMapIfDue(); }
  void sendText(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) override {
    x11.write(text, delay);
  }
  void sendMotion(double x, double y) override { x11.sendMotion(x, y); }
  std::uint32_t resolveKeyCode(const std::string& name) override { return x11.resolveKeycode(name); }

  Recorded x11{*this};
};

}  // namespace

std::unique_ptr<SessionBackend> makeX11Session(HeldRecord record) {
  return std::make_unique<X11Session>(std::move(record));
}

}  // namespace ostler
