#include "wayland/eis/compose.h"

#include <gtest/gtest.h>

#include "wayland/lazy/load.h"
#include "wayland/lazy/xkbcommon.h"

namespace ostler {
namespace {

constexpr EvdevKey acute{.code = 1}, cedilla{.code = 3, .shift = true, .altGr = 100};
constexpr EvdevKey letter{.code = 4}, capital{.code = 4, .shift = true};

std::string describe(const DeadKeySequences& sequences, std::uint32_t character) {
  const auto found = sequences.find(character);
  if (found == sequences.end()) return "";
  const auto name = [](const EvdevKey& key) {
    return std::string(key.altGr != 0 ? "altGr+" : "") + (key.shift ? "shift+" : "") +
           std::to_string(key.code);
  };
  return name(found->second.deadKey) + " " + name(found->second.base);
}

TEST(DeadKeySequences, AreThoseOfTheTableWithTheFewestModifiers) {
  loadWaylandLibraries();
  xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES);
  const Composer composer(context);
  const struct {
    const char* name;
    std::vector<ProducedKeysym> keys;
    std::uint32_t character;
    std::string sequence;
  } cases[] = {
      {"dead key and letter", {{XKB_KEY_dead_acute, acute}, {XKB_KEY_E, capital}}, 0xC9, "1 shift+4"},
      {"letter without dead key", {{XKB_KEY_dead_acute, acute}, {XKB_KEY_e, letter}}, 'e', ""},
      {"pair outside the table", {{XKB_KEY_dead_caron, acute}, {XKB_KEY_x, letter}}, 'x', ""},
      {"pair that locales treat differently",
       {{XKB_KEY_dead_acute, acute}, {XKB_KEY_c, letter}, {XKB_KEY_C, capital}},
       0x107,
       ""},
      {"the same letter elsewhere",
       {{XKB_KEY_dead_cedilla, cedilla}, {XKB_KEY_c, letter}},
       0xE7,
       "altGr+shift+3 4"},
      {"a space rather than the dead key twice",
       {{XKB_KEY_dead_circumflex, acute}, {XKB_KEY_space, letter}},
       '^',
       "1 4"},
      {"the dead key twice rather than a modifier",
       {{XKB_KEY_dead_circumflex, acute}, {XKB_KEY_space, capital}},
       '^',
       "1 1"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(describe(composer.findSequences(row.keys), row.character), row.sequence) << row.name;
  }
  xkb_context_unref(context);
}

}  // namespace
}  // namespace ostler
