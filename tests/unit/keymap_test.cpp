#include "wayland/eis/keymap.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

#include "keys/typed_keysym.h"
#include "wayland/lazy/load.h"

namespace ostler {
namespace {

// Returns the keymap of some layouts as text, as a compositor sends it.
std::string textOf(const char* layouts) {
  xkb_context* const context = ::xkb_context_new(XKB_CONTEXT_NO_FLAGS);
  const xkb_rule_names names{"evdev", "pc105", layouts, "", ""};
  xkb_keymap* const keymap = ::xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
  char* const text = ::xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
  std::string copy = text;
  std::free(text);
  ::xkb_keymap_unref(keymap);
  ::xkb_context_unref(context);
  return copy;
}

std::string describe(const EvdevKey& key) {
  return (key.altGr != 0 ? std::to_string(key.altGr) + "+" : "") + (key.shift ? "shift+" : "") +
         std::to_string(key.code);
}

// Returns the keys that type a character.
std::string keysFor(const Keymap& keymap, std::uint32_t character, std::size_t group) {
  const std::uint64_t keysym = typedKeysym(character).value();
  if (const auto key = keymap.find(keysym, group)) return describe(*key);
  const auto sequence = keymap.findSequence(keysym, group);
  return sequence ? describe(sequence->deadKey) + " " + describe(sequence->base) : "";
}

TEST(Keymap, FindsTheKeysThatTypeACharacter) {
  loadWaylandLibraries();
  const struct {
    const char *name, *layouts;
    std::uint32_t character;
    std::size_t group;
    const char* keys;
  } cases[] = {
      {"letter", "us", 'z', 0, "44"},
      {"capital letter", "us", 'A', 0, "shift+30"},
      {"punctuation", "us", '+', 0, "shift+13"},
      {"a digit not from the keypad", "us", '1', 0, "2"},
      {"Return not from the keypad", "us", '\n', 0, "28"},
      {"character that the layout lacks", "us", U'ä', 0, ""},
      {"letter elsewhere than on a US keyboard", "de", 'y', 0, "44"},
      {"letter beyond ASCII", "de", U'ß', 0, "12"},
      {"AltGr", "de", U'€', 0, "100+18"},
      {"a key without AltGr rather than with it", "de", '/', 0, "shift+8"},
      {"digit with Shift", "fr", '1', 0, "shift+2"},
      {"letter without a dead key", "fr", U'é', 0, "3"},
      {"dead key and letter", "de", U'é', 0, "13 18"},
      {"dead key and space", "de", '^', 0, "41 57"},
      {"dead key with Shift", "es", '^', 0, "shift+26 57"},
      {"letter of a key that others lack", "es", U'ñ', 0, "39"},
      {"dead key before a capital letter", "fr", U'Ê', 0, "26 shift+18"},
      {"dead key on AltGr", "es", U'ã', 0, "100+39 30"},
      {"letter of a legacy keysym", "ru", U'п', 0, "34"},
      {"Latin letter on a Cyrillic layout", "ru", 'a', 0, ""},
      {"first group", "us,de", 'z', 0, "44"},
      {"second group", "us,de", 'z', 1, "21"},
      {"group that does not exist", "us,de", 'z', 7, "44"},
  };
  for (const auto& [name, layouts, character, group, keys] : cases) {
    EXPECT_EQ(keysFor(*Keymap::parse(textOf(layouts)), character, group), keys) << name << ": " << layouts;
  }
  EXPECT_EQ(Keymap::parse("no keymap"), nullptr);
}

}  // namespace
}  // namespace ostler
