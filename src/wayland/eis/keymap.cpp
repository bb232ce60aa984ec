#include "wayland/eis/keymap.h"

#include <cstdarg>
#include <utility>

#include <linux/input-event-codes.h>

#include "base/owner.h"
#include "keys/typed_keysym.h"
#include "wayland/lazy/load.h"
#include "wayland/lazy/xkbcommon.h"

namespace ostler {
namespace {

using XkbContext = Owner<xkb_context, xkb_context_unref>;
using XkbKeymap = Owner<xkb_keymap, xkb_keymap_unref>;
using XkbState = Owner<xkb_state, xkb_state_unref>;

constexpr std::uint32_t keycodeOffset = 8;  // XKB keycode minus evdev code
// Keymaps give higher codes characters such as brackets, but no keyboard has those keys.
constexpr std::uint32_t lastCode = KEY_COMPOSE;

void ignoreLog(xkb_context*, xkb_log_level, const char*, std::va_list) noexcept {}

bool isKeypad(std::uint64_t keysym) { return keysym >= XKB_KEY_KP_Space && keysym <= XKB_KEY_KP_Equal; }

// Many characters have a keysym of their own, such as XK_adiaeresis, and a Unicode keysym. Returns
// the Unicode one.
std::uint64_t unicodeForm(std::uint64_t keysym) {
  if (keysym >= unicodeKeysymBase) return keysym;
  const std::uint32_t character = xkb_keysym_to_utf32(static_cast<xkb_keysym_t>(keysym));
  const bool isControl = character < 0x20 || character == 0x7f;
  return isControl ? keysym : unicodeKeysymBase | character;
}

std::uint64_t unify(std::uint64_t keysym) { return isKeypad(keysym) ? keysym : unicodeForm(keysym); }

// Simulates the compositor's keyboard state: holds keys and returns what another key produces.
class GroupState {
public:
  GroupState(xkb_keymap* keymap, xkb_layout_index_t group) : state(xkb_state_new(keymap)) {
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
  }
  void press(std::uint32_t code) { xkb_state_update_key(state.get(), code + keycodeOffset, XKB_KEY_DOWN); }
  xkb_keysym_t keysym(std::uint32_t code) const {
    return xkb_state_key_get_one_sym(state.get(), code + keycodeOffset);
  }

private:
  XkbState state;
};

// The code of the AltGr key, 0 if the group has none.
std::uint32_t findAltGr(xkb_keymap* keymap, xkb_layout_index_t group) {
  const GroupState state(keymap, group);
  if (state.keysym(KEY_RIGHTALT) == XKB_KEY_ISO_Level3_Shift) return KEY_RIGHTALT;
  for (std::uint32_t code = 1; code <= lastCode; ++code) {
    if (state.keysym(code) == XKB_KEY_ISO_Level3_Shift) return code;
  }
  return 0;
}

bool isUsKey(std::uint64_t keysym, const EvdevKey& key) {
  const auto usKey = findUsKey(keysym);
  return usKey && usKey->code == key.code && usKey->shift == key.shift && key.altGr == 0;
}

}  // namespace

std::unique_ptr<const Keymap> Keymap::parse(const std::string& text) {
  if (!isXkbcommonLoaded()) return nullptr;
  const XkbContext context(xkb_context_new(
      static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES | XKB_CONTEXT_NO_ENVIRONMENT_NAMES)));
  if (context == nullptr) return nullptr;
  xkb_context_set_log_fn(context.get(), ignoreLog);
  const XkbKeymap keymap(xkb_keymap_new_from_string(context.get(), text.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                                    XKB_KEYMAP_COMPILE_NO_FLAGS));
  if (keymap == nullptr) return nullptr;

  const Composer composer(context.get());
  auto result = std::make_unique<Keymap>();
  for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts(keymap.get()); ++group) {
    Group& found = result->allGroups.emplace_back();
    std::vector<std::pair<std::uint64_t, xkb_keysym_t>> produced;
    const auto add = [&](std::uint32_t altGr, bool shift) {
      GroupState state(keymap.get(), group);
      if (altGr != 0) state.press(altGr);
      if (shift) state.press(KEY_LEFTSHIFT);
      for (std::uint32_t code = 1; code <= lastCode; ++code) {
        const xkb_keysym_t given = state.keysym(code);
        if (given == XKB_KEY_NoSymbol || composer.replaces(given)) continue;
        // Some layouts have keysyms of the keypad in their row of digits, where Num Lock does nothing.
        const std::uint64_t keysym = code <= KEY_SLASH ? unicodeForm(given) : unify(given);
        const EvdevKey key{code, shift, altGr};
        const auto [known, isNew] = found.keys.emplace(keysym, key);
        if (!isNew && isUsKey(keysym, key)) known->second = key;
        // What a key of the keypad produces depends on Num Lock.
        if (isNew && !isKeypad(given)) produced.emplace_back(keysym, given);
      }
    };
    add(0, false);
    add(0, true);
    if (const std::uint32_t altGr = findAltGr(keymap.get(), group)) {
      add(altGr, false);
      add(altGr, true);
    }
    std::vector<ProducedKeysym> keysyms;
    keysyms.reserve(produced.size());
    for (const auto& [keysym, given] : produced) keysyms.push_back({given, found.keys.at(keysym)});
    found.sequences = composer.findSequences(keysyms);
  }
  return result;
}

const Keymap::Group* Keymap::findGroup(std::size_t number) const {
  if (allGroups.empty()) return nullptr;
  return &allGroups[number < groups() ? number : 0];
}

std::optional<EvdevKey> Keymap::find(std::uint64_t keysym, std::size_t group) const {
  const Group* const searched = findGroup(group);
  if (searched == nullptr) return std::nullopt;
  const auto key = searched->keys.find(unify(keysym));
  return key != searched->keys.end() ? std::optional(key->second) : std::nullopt;
}

std::optional<DeadKeySequence> Keymap::findSequence(std::uint64_t keysym, std::size_t group) const {
  const Group* const searched = findGroup(group);
  const std::uint64_t unified = unify(keysym);
  if (searched == nullptr || unified < unicodeKeysymBase) return std::nullopt;
  const auto sequence = searched->sequences.find(static_cast<std::uint32_t>(unified - unicodeKeysymBase));
  return sequence != searched->sequences.end() ? std::optional(sequence->second) : std::nullopt;
}

}  // namespace ostler
