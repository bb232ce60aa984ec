#include "x11/x11_session.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include <X11/extensions/XTest.h>
#include <poll.h>

#include "image/blacken.h"
#include "keys/text.h"
#include "x11/text_writer.h"
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
    void dragTo(double x, double y) override {
      throwIfInterrupted();
      requireMonitor(x, y);
      X11Backend::dragTo(x, y);
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
      std::vector<std::uint32_t> codes(keys.held.begin(), keys.held.end());
      codes.push_back(static_cast<std::uint32_t>(keys.main));
      session.tapRecorded(codes, [&] { X11Backend::tapCombo(keys); });
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
    // What lies on the screen but on no monitor shows whatever is left there.
    Capture shown(Capture screen) override {
      std::vector<Rect> areas;
      for (const Monitor& monitor : readMonitors()) areas.push_back(monitor.area);
      return blackenOutside(std::move(screen), std::move(areas));
    }
    // Returns the whole screen as one monitor if the server does not tell.
    std::vector<Monitor> readMonitors() {
      std::vector<Monitor> found = monitors.read();
      if (found.empty()) {
        const Size screen = display();
        found.push_back({"screen", {0, 0, screen.width, screen.height}});
      }
      return found;
    }

    void setKey(const std::string& name, bool pressed) {
      const std::optional<KeyCombo> keys = resolveCombo(name);
      if (!keys || !keys->held.empty()) throw std::runtime_error("This is not the name of one key: " + name);
      const auto keycode = static_cast<KeyCode>(keys->main);
      session.sendRecorded(keycode, pressed, [&] { sendKey(keycode, pressed); });
    }
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
    // Throws when the user cannot see the pointer there. Outside of the screen, the server moves the
    // pointer to its edge.
    void requireMonitor(double x, double y) {
      const auto shows = [&](const Monitor& monitor) { return contains(monitor.area, x, y); };
      const std::vector<Monitor> all = readMonitors();
      const Size screen = display();
      const bool isOnScreen = contains({0, 0, screen.width, screen.height}, x, y);
      if (!isOnScreen || std::any_of(all.begin(), all.end(), shows)) return;
      throw std::runtime_error("No monitor shows the point " + std::to_string(std::lround(x)) + "," +
                               std::to_string(std::lround(y)) + ".");
    }

    X11Session& session;
    X11Monitors monitors{DisplayString(xDisplay)};
  };

  Backend& desktop() override { return x11; }
  void sendButton(Button button, bool pressed) override { x11.sendButton(button, pressed); }
  void sendKey(const std::string& name, bool pressed) override { x11.setKey(name, pressed); }
  void sendRelease(std::uint32_t code) override { x11.release(code); }
  void restoreMapIfDue() override { x11.writer.restoreMapIfDue(); }
  void sendText(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) override {
    x11.write(text, delay);
  }

  Recorded x11{*this};
};

}  // namespace

std::unique_ptr<SessionBackend> makeX11Session(HeldRecord record) {
  return std::make_unique<X11Session>(std::move(record));
}

}  // namespace ostler
