#include "wayland/eis/keymap.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon-compose.h>
#include <xkbcommon/xkbcommon.h>

#include "keys/typed_keysym.h"
#include "wayland/lazy/load.h"

namespace ostler {
namespace {

template <typename T, void (*release)(T*)>
std::shared_ptr<T> own(T* handle) {
  return {handle, release};
}

std::shared_ptr<xkb_context> newContext() {
  return own<xkb_context, ::xkb_context_unref>(::xkb_context_new(XKB_CONTEXT_NO_FLAGS));
}

std::shared_ptr<xkb_keymap> keymapOf(xkb_context* context, const char* layouts, const char* variant = "") {
  const xkb_rule_names names{"evdev", "pc105", layouts, variant, ""};
  return own<xkb_keymap, ::xkb_keymap_unref>(
      ::xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

// Returns a keymap as text, as a compositor sends it.
std::string textOf(xkb_keymap* keymap) {
  char* const text = ::xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
  std::string copy = text;
  std::free(text);
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
    const auto keymap = Keymap::parse(textOf(keymapOf(newContext().get(), layouts).get()));
    EXPECT_EQ(keysFor(*keymap, character, group), keys) << name << ": " << layouts;
  }
  EXPECT_EQ(Keymap::parse("no keymap"), nullptr);
}

// The layouts that the system knows, each with its variant or "".
std::vector<std::pair<std::string, std::string>> systemLayouts(xkb_context* context) {
  std::vector<std::pair<std::string, std::string>> layouts;
  for (unsigned int i = 0; i < ::xkb_context_num_include_paths(context); ++i) {
    std::ifstream list(std::filesystem::path(::xkb_context_include_path_get(context, i)) / "rules/evdev.lst");
    std::string section, line;
    while (std::getline(list, line)) {
      std::istringstream words(line);
      std::string first, second;
      words >> first >> second;
      if (first == "!") section = second;
      if (first.empty() || first == "!") continue;
      if (section == "layout" && first != "custom") layouts.emplace_back(first, "");
      if (section == "variant") layouts.emplace_back(second.substr(0, second.find(':')), first);
    }
  }
  return layouts;
}

// Presses keys as a client sees it, which composes with the usual table, and returns what they type.
class Typist {
public:
  Typist(xkb_keymap* keymap, xkb_compose_table* table)
      : state(own<xkb_state, ::xkb_state_unref>(::xkb_state_new(keymap))),
        composing(own<xkb_compose_state, ::xkb_compose_state_unref>(
            ::xkb_compose_state_new(table, XKB_COMPOSE_STATE_NO_FLAGS))) {}

  std::vector<std::uint32_t> type(const std::vector<EvdevKey>& keys) {
    std::vector<std::uint32_t> text;
    for (const EvdevKey& key : keys) {
      set(key.altGr, XKB_KEY_DOWN);
      set(key.shift ? KEY_LEFTSHIFT : 0, XKB_KEY_DOWN);
      // A key is read with the modifiers from before it, also if it changes them itself.
      xkb_keysym_t keysym = ::xkb_state_key_get_one_sym(state.get(), key.code + 8);
      set(key.code, XKB_KEY_DOWN);
      ::xkb_compose_state_feed(composing.get(), keysym);
      const auto status = ::xkb_compose_state_get_status(composing.get());
      if (status == XKB_COMPOSE_COMPOSED) keysym = ::xkb_compose_state_get_one_sym(composing.get());
      if (status != XKB_COMPOSE_COMPOSING) text.push_back(::xkb_keysym_to_utf32(keysym));
      for (const std::uint32_t code : {key.code, key.shift ? KEY_LEFTSHIFT : 0u, key.altGr})
        set(code, XKB_KEY_UP);
    }
    return text;
  }

private:
  void set(std::uint32_t code, xkb_key_direction direction) {
    if (code != 0) ::xkb_state_update_key(state.get(), code + 8, direction);
  }

  std::shared_ptr<xkb_state> state;
  std::shared_ptr<xkb_compose_state> composing;
};

// All of them with OSTLER_ALL_LAYOUTS, which takes some seconds; otherwise a sample.
TEST(Keymap, TypesTheCharacterOnEveryLayout) {
  loadWaylandLibraries();
  const auto context = newContext();
  const auto table = own<xkb_compose_table, ::xkb_compose_table_unref>(
      ::xkb_compose_table_new_from_locale(context.get(), "en_US.UTF-8", XKB_COMPOSE_COMPILE_NO_FLAGS));
  const auto layouts = systemLayouts(context.get());
  ASSERT_GT(layouts.size(), 300u);
  const std::size_t step = std::getenv("OSTLER_ALL_LAYOUTS") != nullptr ? 1 : 24;
  for (std::size_t i = 0; i < layouts.size(); i += step) {
    const auto& [layout, variant] = layouts[i];
    SCOPED_TRACE(testing::Message() << layout << " " << variant);
    const auto source = keymapOf(context.get(), layout.c_str(), variant.c_str());
    ASSERT_NE(source, nullptr);
    const auto keymap = Keymap::parse(textOf(source.get()));
    ASSERT_NE(keymap, nullptr);
    Typist typist(source.get(), table.get());
    for (std::uint32_t character = ' '; character <= 0xFFFD; ++character) {
      const std::uint64_t keysym = typedKeysym(character).value();
      std::vector<EvdevKey> keys;
      if (const auto key = keymap->find(keysym, 0)) {
        keys = {*key};
      } else if (const auto sequence = keymap->findSequence(keysym, 0)) {
        keys = {sequence->deadKey, sequence->base};
      }
      if (keys.empty()) continue;
      EXPECT_EQ(typist.type(keys), std::vector{character}) << "for U+" << std::hex << character;
    }
    // None is missed that a key of the main block types alone.
    for (std::uint32_t code = KEY_1; code <= KEY_SLASH; ++code) {
      const auto typed = Typist(source.get(), table.get()).type({{.code = code}});
      if (typed.size() == 1 && typed[0] > ' ' && typed[0] != 0x7F) {
        EXPECT_TRUE(keymap->find(typedKeysym(typed[0]).value(), 0)) << "of U+" << std::hex << typed[0];
      }
    }
  }
}

}  // namespace
}  // namespace ostler
