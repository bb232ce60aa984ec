#include "x11/spare_rows.h"

#include <algorithm>
#include <span>
#include <stdexcept>

namespace ostler {
namespace {

// The keyboard map: a row of keysyms for each keycode.
class KeyboardMap {
public:
  explicit KeyboardMap(Display* display) {
    XDisplayKeycodes(display, &minKeycode, &maxKeycode);
    const int count = maxKeycode - minKeycode + 1;
    keysyms.reset(XGetKeyboardMapping(display, static_cast<KeyCode>(minKeycode), count, &columns));
    if (keysyms == nullptr || columns <= 0) throw std::runtime_error("Unable to read the X11 keyboard map.");
  }

  std::span<const KeySym> row(int keycode) const {
    const auto width = static_cast<std::size_t>(columns);
    return {keysyms.get() + static_cast<std::size_t>(keycode - minKeycode) * width, width};
  }

  int minKeycode = 0, maxKeycode = 0, columns = 0;

private:
  XData<KeySym> keysyms;
};

bool isEmpty(std::span<const KeySym> row) {
  return std::ranges::all_of(row, [](KeySym keysym) { return keysym == NoSymbol; });
}

}  // namespace

void SpareRows::refresh() {
  const KeyboardMap map(xDisplay);
  // A row needs two columns to differ with Shift.
  columns = std::max(map.columns, 2);
  std::erase_if(rows, [&](const auto& entry) {
    const auto row = map.row(entry.first);
    const bool isOurs = row[0] == keysymOfCharacter(entry.second.plain) &&
                        (row.size() < 2 || row[1] == keysymOfCharacter(entry.second.shifted));
    if (!isOurs) note(entry.first, false);
    return !isOurs;
  });
  freeKeycodes.clear();
  for (int keycode = map.minKeycode; keycode <= map.maxKeycode; ++keycode) {
    if (isEmpty(map.row(keycode))) freeKeycodes.insert(static_cast<KeyCode>(keycode));
  }
}

std::optional<CharacterKey> SpareRows::find(std::uint32_t character) const {
  for (const auto& [keycode, row] : rows) {
    if (row.plain == character) return CharacterKey{keycode, false};
    if (row.shifted == character) return CharacterKey{keycode, true};
  }
  return std::nullopt;
}

void SpareRows::map(const std::vector<std::uint32_t>& characters) {
  std::set<KeyCode> changed;
  for (std::size_t i = 0; i < characters.size(); i += 2) {
    const KeyCode keycode = *freeKeycodes.begin();
    freeKeycodes.erase(keycode);
    // The server lowers a capital letter that is the only keysym of a key.
    rows[keycode] = {characters[i], characters[std::min(i + 1, characters.size() - 1)]};
    changed.insert(keycode);
    note(keycode, true);
  }
  send(changed);
}

void SpareRows::clear() {
  if (rows.empty()) return;
  refresh();
  std::set<KeyCode> changed;
  for (const auto& [keycode, row] : rows) changed.insert(keycode);
  rows.clear();
  send(changed);
  for (const KeyCode keycode : changed) note(keycode, false);
  freeKeycodes.merge(changed);
}

void SpareRows::clearLeftBehind(KeyCode keycode) {
  refresh();
  if (!freeKeycodes.contains(keycode)) send({keycode});
}

// Sends what the rows of these keycodes contain now, adjacent ones in one request: clients read the
// whole map again after each.
void SpareRows::send(const std::set<KeyCode>& keycodes) {
  const auto width = static_cast<std::size_t>(columns);
  std::vector<KeySym> keysyms;
  for (auto keycode = keycodes.begin(); keycode != keycodes.end();) {
    const KeyCode first = *keycode;
    keysyms.clear();
    for (; keycode != keycodes.end() && *keycode == first + keysyms.size() / width; ++keycode) {
      keysyms.resize(keysyms.size() + width, NoSymbol);
      const auto row = rows.find(*keycode);
      if (row == rows.end()) continue;
      keysyms[keysyms.size() - width] = keysymOfCharacter(row->second.plain);
      keysyms[keysyms.size() - width + 1] = keysymOfCharacter(row->second.shifted);
    }
    XChangeKeyboardMapping(xDisplay, first, columns, keysyms.data(),
                           static_cast<int>(keysyms.size() / width));
  }
  XSync(xDisplay, False);
}

}  // namespace ostler
