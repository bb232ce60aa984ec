#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "x11/spare_rows.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Types texts so that each character arrives, also in a client that handles its keys late. A spare
// keycode stays mapped to its character until the client has handled the keys.
class TextWriter {
public:
  // `tapKey` presses and releases a key, with Shift unless the second keycode is 0. It may throw,
  // which ends the operation. For `noteRow` see SpareRows.
  TextWriter(Display* display, std::function<void(KeyCode, KeyCode)> tapKey,
             std::function<void(KeyCode, bool)> noteRow)
      : xDisplay(display), tap(std::move(tapKey)), spareRows(display, std::move(noteRow)) {}

  // Returns the characters of the text that cannot be typed, each once.
  std::vector<std::uint32_t> findUntypable(const std::vector<std::uint32_t>& text);
  // Types a text in which every character can be typed.
  void write(const std::vector<std::uint32_t>& text, std::chrono::milliseconds delay);
  // Restores the keyboard map as soon as the client no longer needs the mappings, which can take
  // seconds. The mappings outlive write(): call this some time after it, before other uses of spare
  // keycodes, and at the end.
  void restoreMap();
  // Restores one keycode like restoreMap(), also if another process has left it mapped.
  void restoreRow(KeyCode keycode);
  // Restores it if that takes no longer than the client's answer.
  void restoreMapIfDue();

private:
  using Clock = std::chrono::steady_clock;

  std::size_t mapPrefix(const std::vector<std::uint32_t>& text, std::size_t begin);
  void typeCharacters(const std::vector<std::uint32_t>& text, std::size_t begin, std::size_t end,
                      std::chrono::milliseconds delay);
  void waitUntilHandled();

  Display* const xDisplay;
  const std::function<void(KeyCode, KeyCode)> tap;
  SpareRows spareRows;
  Clock::time_point lastKey;
  Window typedInto = None;  // answers pings
};

}  // namespace ostler
