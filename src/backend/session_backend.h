#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backend/backend.h"
#include "backend/clipboard.h"
#include "backend/desktop_window.h"
#include "backend/held_record.h"
#include "backend/interruption.h"
#include "backend/pointing_backend.h"
#include "base/monitor.h"
#include "image/pixel_rows.h"

namespace ostler {

// A picture of a part of the desktop. There is none where `rows` has no pixels. It may change at
// the next look.
struct Sight {
  PixelRows rows;
  std::shared_ptr<const void> owner;  // of the pixels
};

// `small` has the bytes of the addon's screenshots. `fast` takes a fraction of the time for 6 %
// more.
enum class PngCompression { small, fast };

// A place on the desktop, which can be between two pixels.
struct Place {
  double x = 0;
  double y = 0;
};

// A backend whose operations another thread can interrupt, and which knows what it holds down. An
// operation that fails or is interrupted first releases what it has pressed.
class SessionBackend : public Backend {
public:
  void mouseMove(double x, double y) final;
  void click(double x, double y, const std::string& button, int count) final;
  void drag(double fromX, double fromY, double toX, double toY) final;
  void mouseDown(double x, double y) final;
  void mouseUp(double x, double y) final;
  void type(const std::string& text) final;
  void key(const std::string& combo) final;
  void scroll(double x, double y, int dx, int dy) final;
  Point cursorPosition() final;
  Size display() final;
  std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) final;

  // Returns the monitors that the session controls, in the coordinates of `display`.
  virtual std::vector<Monitor> monitors() = 0;
  // Returns the pixels of a part of the desktop, or of all of it when the part is empty. Reads and
  // converts no others.
  virtual Sight look(const Rect& part) = 0;
  // Takes a screenshot with a choice of the compression.
  std::vector<unsigned char> picture(Size target, Rect crop, double quality, PngCompression compression);

  // Ask the window manager. Throw where a program cannot learn of the windows of others.
  virtual std::vector<DesktopWindow> windows() = 0;
  virtual void activate(std::uint32_t id) = 0;

  // Presses or releases a button where the pointer is.
  void setButton(Button button, bool pressed);
  // Presses or releases one key, with a name as in `key`.
  void setKey(const std::string& name, bool pressed);
  // These are the operations of the same names with more choice. Keys are held down meanwhile,
  // those that already are stay down; a pointer that has a duration moves in equal steps; and
  // without a place the pointer stays where it is.
  void glide(Place to, std::chrono::nanoseconds duration);
  void click(std::optional<Place> at, Button button, int count, const std::vector<std::string>& keys);
  void drag(Place from, Place to, Button button, const std::vector<std::string>& keys,
            std::chrono::nanoseconds duration);

  // Returns the characters of the text that `write` cannot type, each once.
  virtual std::string untypable(const std::string& text) = 0;
  // Types a text so that it arrives exactly, with `delay` milliseconds after each character. Each
  // line end presses Return once. Throws before the first key when a character cannot be typed.
  void write(const std::string& text, std::int32_t delay);
  // Undoes changes of the keyboard map that `write` has left for clients which handle their keys
  // late, if enough time has passed.
  void restoreKeyboard();
  // Releases all keys and buttons in the record and restores the keyboard map. Cannot be
  // interrupted.
  void releaseAll();

  // Returns why the session has ended, or an empty text while it has not. Does not wait.
  virtual std::string sessionEnd() = 0;

  // Returns the clipboard of the session's desktop, or null when only an X server has one.
  virtual std::unique_ptr<Clipboard> makeClipboard() { return nullptr; }

  // Returns the text that KDE's clipboard manager has, or nothing when none runs.
  virtual std::optional<std::string> readKlipper() { return std::nullopt; }

protected:
  explicit SessionBackend(HeldRecord heldRecord) : record(std::move(heldRecord)) {}

  // Sends an event for a code of the record. A press is recorded before it is sent, and a release
  // is removed after it has been sent.
  template <typename Send>
  void sendRecorded(std::uint32_t code, bool pressed, Send send) {
    if (pressed) {
      throwIfInterrupted();
      record.add(code);
    }
    send();
    if (!pressed) record.remove(code);
  }

  bool isHeld(std::uint32_t code) const { return record.held().test(code); }

  // Sends a sequence of events that presses and releases these codes.
  template <typename Send>
  void tapRecorded(const std::vector<std::uint32_t>& keys, Send send) {
    throwIfInterrupted();
    const HeldRecord::Codes before = record.held();
    for (const std::uint32_t code : keys) record.add(code);
    send();
    for (const std::uint32_t code : keys) {
      if (!before.test(code)) record.remove(code);
    }
  }

  // Adds or removes a code of a change that outlives the call.
  void recordLasting(std::uint32_t code, bool isThere) { isThere ? record.add(code) : record.remove(code); }

private:
  // Performs the operations, and calls sendRecorded() or tapRecorded() for what it presses.
  virtual Backend& desktop() = 0;
  virtual void sendButton(Button button, bool pressed) = 0;
  virtual void sendKey(const std::string& name, bool pressed) = 0;
  virtual void sendRelease(std::uint32_t code) = 0;
  virtual void restoreMapIfDue() {}
  virtual void sendText(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay) = 0;
  // Moves the pointer within a drag.
  virtual void sendMotion(double x, double y) = 0;
  // Returns the code of a key in the record. Throws when no key has this name.
  virtual std::uint32_t resolveKeyCode(const std::string& name) = 0;

  template <typename Operation>
  auto perform(Operation operation);
  template <typename Operation>
  void holding(const std::vector<std::string>& keys, Operation operation);
  template <typename Move>
  void moveEvenly(Place from, Place to, std::chrono::nanoseconds duration, Move move);
  void release(std::uint32_t code);

  HeldRecord record;
};

}  // namespace ostler
