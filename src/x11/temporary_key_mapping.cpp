#include "x11/temporary_key_mapping.h"

#include <algorithm>
#include <span>
#include <stdexcept>

namespace ostler {
namespace {

[[noreturn]] void failToSynthesize() {
  throw std::runtime_error("Unable to synthesize an X11 keycode for the requested text input.");
}

bool isEmpty(std::span<const KeySym> row) {
  return std::ranges::all_of(row, [](KeySym symbol) { return symbol == NoSymbol; });
}

// True for what a process leaves behind that a signal ends while it types. The
// server repeats the first column in the columns of other groups. Keysyms above
// the Unicode form are those of multimedia keys.
bool isLeftBehind(std::span<const KeySym> row) {
  constexpr KeySym unicodeForm = 0x01000000, lastOfUnicodeForm = 0x0110FFFF;
  const KeySym first = row.front();
  return first >= unicodeForm && first <= lastOfUnicodeForm &&
         std::ranges::all_of(row, [=](KeySym symbol) { return symbol == NoSymbol || symbol == first; });
}

// Every change of the map sends the connection MappingNotify events, which
// nobody reads and which would pile up for ever. They are taken as far as they
// are here already, so that no request is made for them.
void discardQueuedEvents(Display* display) {
  XEvent event;
  while (XEventsQueued(display, QueuedAlready) > 0) XNextEvent(display, &event);
}

}  // namespace

TemporaryKeyMapping::TemporaryKeyMapping(Display* display, KeySym keysym) : xDisplay(display) {
  int minKeycode = 0, maxKeycode = 0;
  XDisplayKeycodes(xDisplay, &minKeycode, &maxKeycode);
  const int count = maxKeycode - minKeycode + 1;
  const XData<KeySym> map(
      XGetKeyboardMapping(xDisplay, static_cast<KeyCode>(minKeycode), count, &keysymsPerKeycode));
  if (map == nullptr || keysymsPerKeycode <= 0) failToSynthesize();

  const std::size_t columns = static_cast<std::size_t>(keysymsPerKeycode);
  const auto findRow = [&](bool (*isSpare)(std::span<const KeySym>)) {
    int row = 0;
    while (row < count && !isSpare({map.get() + static_cast<std::size_t>(row) * columns, columns})) ++row;
    return row;
  };
  int row = findRow(isEmpty);
  if (row == count) row = findRow(isLeftBehind);
  if (row == count) failToSynthesize();

  keycode = static_cast<KeyCode>(minKeycode + row);
  savedRow.resize(columns, NoSymbol);
  std::vector<KeySym> newRow = savedRow;
  newRow.front() = keysym;
  XChangeKeyboardMapping(xDisplay, keycode, keysymsPerKeycode, newRow.data(), 1);
  XSync(xDisplay, False);
}

TemporaryKeyMapping::~TemporaryKeyMapping() {
  XChangeKeyboardMapping(xDisplay, keycode, keysymsPerKeycode, savedRow.data(), 1);
  XSync(xDisplay, False);
  discardQueuedEvents(xDisplay);
}

}  // namespace ostler
