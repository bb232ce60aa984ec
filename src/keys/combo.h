#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostler {

// Splits a combo such as "Ctrl + A" at each "+" into trimmed parts. Parts can be empty; an empty
// text has no parts.
std::vector<std::string> splitKeyCombo(std::string_view combo);

// Same, with the parts in lower case.
std::vector<std::string> parseKeyCombo(std::string_view combo);

// Holds the keys of one combo. The `held` keys are pressed in order, `main` is pressed and
// released, and the `held` keys are released in reverse order.
struct KeyCombo {
  std::vector<std::uint64_t> held;
  std::uint64_t main = 0;
};

// Returns the platform's key for a keysym; throws when there is none. `part` is the key's name in
// the combo.
using KeyResolver = std::function<std::uint64_t(std::uint64_t keysym, const std::string& part)>;

// Resolves every part of a combo, from left to right, before any key is pressed. The result is
// empty for a combo without parts. Throws std::runtime_error when a part is unknown, with the name
// of the platform in the text, or when no key remains.
std::optional<KeyCombo> resolveKeyCombo(const std::string& combo, std::string_view platform,
                                        const KeyResolver& resolve);

// Calls `send(key, pressed)` for each event of a combo.
template <typename Send>
void tapKeyCombo(const KeyCombo& keys, Send send) {
  for (const std::uint64_t key : keys.held) send(key, true);
  send(keys.main, true);
  send(keys.main, false);
  for (auto key = keys.held.rbegin(); key != keys.held.rend(); ++key) send(*key, false);
}

}  // namespace ostler
