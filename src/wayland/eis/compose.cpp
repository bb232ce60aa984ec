#include "wayland/eis/compose.h"

#include <algorithm>
#include <array>
#include <span>

#include "keys/text.h"
#include "wayland/lazy/load.h"

namespace ostler {
namespace {

// The client composes by the table of its own locale, or of its toolkit. Nearly all of these agree
// with this table, except for the pairs that isAmbiguous() describes.
constexpr char tableLocale[] = "en_US.UTF-8";

bool isDeadKey(xkb_keysym_t keysym) {
  return keysym >= XKB_KEY_dead_grave && keysym <= XKB_KEY_dead_longsolidusoverlay;
}

bool isAmbiguous(xkb_keysym_t deadKey, xkb_keysym_t base) {
  // In the table of pt_BR this is the letter with a cedilla.
  if (deadKey == XKB_KEY_dead_acute && (base == XKB_KEY_c || base == XKB_KEY_C)) return true;
  // Between libX11 1.8.4 and 1.8.12 the results with c changed; GTK 3 lacks those with the long s.
  return deadKey == XKB_KEY_dead_currency || xkb_keysym_to_utf32(base) == U'ſ';
}

int modifiers(const EvdevKey& key) { return (key.shift ? 1 : 0) + (key.altGr != 0 ? 1 : 0); }

int modifiers(const DeadKeySequence& sequence) {
  return modifiers(sequence.deadKey) + modifiers(sequence.base);
}

}  // namespace

Composer::Composer(xkb_context* context) {
  if (!isXkbComposeLoaded()) return;
  table.reset(xkb_compose_table_new_from_locale(context, tableLocale, XKB_COMPOSE_COMPILE_NO_FLAGS));
  if (table != nullptr) state.reset(xkb_compose_state_new(table.get(), XKB_COMPOSE_STATE_NO_FLAGS));
}

bool Composer::replaces(xkb_keysym_t keysym) const {
  if (state == nullptr) return false;
  xkb_compose_state_reset(state.get());
  xkb_compose_state_feed(state.get(), keysym);
  return xkb_compose_state_get_status(state.get()) == XKB_COMPOSE_COMPOSED;
}

// Returns the character that the two keysyms produce together, if it is exactly one.
std::optional<std::uint32_t> Composer::compose(xkb_keysym_t deadKey, xkb_keysym_t base) const {
  xkb_compose_state_reset(state.get());
  xkb_compose_state_feed(state.get(), deadKey);
  xkb_compose_state_feed(state.get(), base);
  if (xkb_compose_state_get_status(state.get()) != XKB_COMPOSE_COMPOSED) return std::nullopt;
  std::array<char, 64> text{};
  xkb_compose_state_get_utf8(state.get(), text.data(), text.size());
  const std::vector<std::uint32_t> characters = decodeUtf8(text.data());
  return characters.size() == 1 ? std::optional(characters.front()) : std::nullopt;
}

DeadKeySequences Composer::findSequences(const std::vector<ProducedKeysym>& keys) const {
  DeadKeySequences sequences;
  // Users follow a dead key with a space or a letter rather than with another dead key, so those
  // are preferred.
  std::vector<ProducedKeysym> bases = keys;
  const auto firstDeadKey = std::stable_partition(
      bases.begin(), bases.end(), [](const ProducedKeysym& produced) { return !isDeadKey(produced.keysym); });
  const std::span deadKeys(firstDeadKey, bases.end());
  if (state == nullptr || deadKeys.empty()) return sequences;

  for (const auto& [keysym, key] : bases) {
    for (const auto& [deadKeysym, deadKey] : deadKeys) {
      if (isAmbiguous(deadKeysym, keysym)) continue;
      const auto character = compose(deadKeysym, keysym);
      if (!character) continue;
      const DeadKeySequence sequence{deadKey, key};
      const auto [known, isNew] = sequences.emplace(*character, sequence);
      if (!isNew && modifiers(sequence) < modifiers(known->second)) known->second = sequence;
    }
  }
  return sequences;
}

}  // namespace ostler
