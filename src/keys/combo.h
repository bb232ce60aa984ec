#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostler {

// Cuts a combo such as "Ctrl + A" at its plus signs into folded, trimmed
// parts. Parts can be empty; an empty text has none.
std::vector<std::string> parseKeyCombo(std::string_view combo);

// What one combo presses: `held` goes down in order around a tap of `main`
// and comes up in the reverse order.
struct KeyCombo {
  std::vector<std::uint64_t> held;
  std::uint64_t main = 0;
};

// The key that stands for a keysym on a platform; throws when there is none.
// `part` is the name by which the combo calls it.
using KeyResolver = std::function<std::uint64_t(std::uint64_t keysym, const std::string& part)>;

// Resolves every part of a combo, from left to right, before anything is
// pressed. Nothing for a combo without parts; throws std::runtime_error when a
// part has no meaning, with the name of the platform in the text.
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
