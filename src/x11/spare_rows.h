#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "x11/character_keys.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Maps keycodes without keysyms to characters: one to the plain key and one to the key with Shift.
// Clients look a key up when they handle its event, so a mapping stays until clear() is called.
class SpareRows {
public:
  // `noteRow` is called with true before a keycode is mapped and with false after it has been
  // cleared.
  SpareRows(Display* display, std::function<void(KeyCode, bool)> noteRow)
      : xDisplay(display), note(std::move(noteRow)) {}
  SpareRows(const SpareRows&) = delete;
  SpareRows& operator=(const SpareRows&) = delete;

  // Reads the keyboard map. What another client has changed there is no longer ours.
  void refresh();
  // How many characters have room without clear(), besides those that are mapped.
  std::size_t room() const { return 2 * freeKeycodes.size(); }
  // How many have room after clear().
  std::size_t capacity() const { return 2 * (freeKeycodes.size() + rows.size()); }
  std::optional<CharacterKey> find(std::uint32_t character) const;

  // Maps all of the characters, which must have room.
  void map(const std::vector<std::uint32_t>& characters);
  // Whether anything is mapped.
  bool isMapped() const { return !rows.empty(); }
  // Restores the keyboard map, except for rows that another client has changed.
  void clear();
  // Clears a row that a killed process has mapped.
  void clearLeftBehind(KeyCode keycode);

private:
  struct Row {
    std::uint32_t plain, shifted;
  };

  void send(const std::set<KeyCode>& keycodes);

  Display* const xDisplay;
  const std::function<void(KeyCode, bool)> note;
  int columns = 0;
  std::set<KeyCode> freeKeycodes;
  std::map<KeyCode, Row> rows;
};

}  // namespace ostler
