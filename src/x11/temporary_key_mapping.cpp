#include "x11/temporary_key_mapping.h"

#include <algorithm>
#include <stdexcept>

namespace ostler {
namespace {

[[noreturn]] void failToSynthesize() {
  throw std::runtime_error("Unable to synthesize an X11 keycode for the requested text input.");
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

  const auto isEmptyRow = [&](int row) {
    const KeySym* symbols = map.get() + static_cast<std::ptrdiff_t>(row) * keysymsPerKeycode;
    return std::all_of(symbols, symbols + keysymsPerKeycode,
                       [](KeySym symbol) { return symbol == NoSymbol; });
  };
  int row = 0;
  while (row < count && !isEmptyRow(row)) ++row;
  if (row == count) failToSynthesize();

  keycode = static_cast<KeyCode>(minKeycode + row);
  savedRow.resize(static_cast<std::size_t>(keysymsPerKeycode), NoSymbol);
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
