#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "backend/backend.h"
#include "backend/clipboard.h"
#include "backend/held_record.h"
#include "backend/interruption.h"
#include "backend/pointing_backend.h"
#include "base/monitor.h"

namespace ostler {

// A backend whose operations another thread can interrupt, and which knows what it holds down.
// An operation that fails or is interrupted first releases what it has pressed.
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

  // Presses or releases a button where the pointer is.
  void setButton(Button button, bool pressed);
  // Presses or releases one key, with a name as in `key`.
  void setKey(const std::string& name, bool pressed);
  // Returns the characters of the text that `write` cannot type, each once.
  virtual std::string untypable(const std::string& text) = 0;
  // Types a text so that it arrives exactly, with `delay` milliseconds after each character. Each line
  // end presses Return once. Throws before the first key when a character cannot be typed.
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

  // Sends an event for a code of the record. A press is recorded before it is sent, and a
  // release is removed after it has been sent.
  template <typename Send>
  void sendRecorded(std::uint32_t code, bool pressed, Send send) {
    if (pressed) {
      throwIfInterrupted();
      record.add(code);
    }
    send();
    if (!pressed) record.remove(code);
  }

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

  template <typename Operation>
  auto perform(Operation operation);
  void release(std::uint32_t code);

  HeldRecord record;
};

}  // namespace ostler
