#include "x11/temporary_key_mapping.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include "keys/typed_keysym.h"

namespace ostler {
namespace {

[[noreturn]] void failToSynthesize() {
  throw std::runtime_error("Unable to synthesize an X11 keycode for the requested text input.");
}

bool isEmpty(std::span<const KeySym> row) {
  return std::ranges::all_of(row, [](KeySym symbol) { return symbol == NoSymbol; });
}

// A process that a signal ends while it types leaves a Unicode keysym in the first column of a row.
// The server repeats it in the columns of other groups. Keysyms above that range belong to
// multimedia keys.
bool isLeftBehind(std::span<const KeySym> row) {
  const KeySym first = row.front();
  return first >= unicodeKeysymBase && first <= (unicodeKeysymBase | lastCodePoint) &&
         std::ranges::all_of(row, [=](KeySym symbol) { return symbol == NoSymbol || symbol == first; });
}

// The server sends MappingNotify events for each change of the map. Nothing reads them on this
// connection, so they would fill the queue. This discards the ones that have arrived and sends no
// request.
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

  mappedKeycode = static_cast<KeyCode>(minKeycode + row);
  savedRow.resize(columns, NoSymbol);
  std::vector<KeySym> newRow = savedRow;
  newRow.front() = keysym;
  XChangeKeyboardMapping(xDisplay, mappedKeycode, keysymsPerKeycode, newRow.data(), 1);
  XSync(xDisplay, False);
}

TemporaryKeyMapping::~TemporaryKeyMapping() {
  XChangeKeyboardMapping(xDisplay, mappedKeycode, keysymsPerKeycode, savedRow.data(), 1);
  XSync(xDisplay, False);
  discardQueuedEvents(xDisplay);
}

}  // namespace ostler
