#include <sstream>
#include <stdexcept>
#include <string>

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include "keys/combo.h"
#include "keys/text.h"
#include "keys/typed_keysym.h"

namespace ostler {
namespace {

using namespace std::string_literals;

TEST(DecodeUtf8, GivesACodePointOrAReplacementForEveryByteSequence) {
  constexpr std::uint32_t replacement = 0xFFFD;
  const struct {
    const char* name;
    std::string text;
    std::vector<std::uint32_t> codePoints;
  } cases[] = {
      {"one to four bytes", "a\0é€😀"s, {'a', 0, 0xE9, 0x20AC, 0x1F600}},
      {"text ends after the first of two bytes", "A\xC3", {'A', replacement}},
      {"text ends after the third of four bytes", "\xF0\x9F\x98", {replacement}},
      {"a letter instead of the last of three bytes", "\xE2\x82\x41", {replacement, replacement, 'A'}},
      {"a letter instead of the second of three bytes", "\xE2\x41\x42", {replacement, 'A', 'B'}},
      {"bytes that cannot start a sequence", "\x80\xFF\x61", {replacement, replacement, 'a'}},
      {"overlong sequence", "\xC0\x80", {0}},
      {"surrogate", "\xED\xA0\x80", {0xD800}},
      {"beyond Unicode", "\xF7\xBF\xBF\xBF", {0x1FFFFF}},
  };
  for (const auto& row : cases) EXPECT_EQ(decodeUtf8(row.text), row.codePoints) << row.name;
}

TEST(TypedKeysym, IsNamedForLettersDigitsAndEditingKeysOnly) {
  constexpr std::uint64_t unicode = 0x01000000, none = 0;
  const struct {
    const char* name;
    std::uint32_t codePoint;
    std::uint64_t keysym;
  } cases[] = {
      {"small letter", 'z', XK_z},
      {"capital letter", 'A', XK_A},
      {"digit", '0', XK_0},
      {"space", ' ', XK_space},
      {"line feed", '\n', XK_Return},
      {"carriage return", '\r', XK_Return},
      {"tab", '\t', XK_Tab},
      {"backspace", '\b', XK_BackSpace},
      {"punctuation", '!', unicode | '!'},
      {"punctuation with a letter's neighbour", '[', unicode | '['},
      {"control character", 0x1B, unicode | 0x1B},
      {"delete", 0x7F, unicode | 0x7F},
      {"letter beyond ASCII", 0xE9, unicode | 0xE9},
      {"code point that is the keysym of Return", 0xFF0D, unicode | 0xFF0D},
      {"last code point", 0x10FFFF, unicode | 0x10FFFF},
      {"beyond Unicode", 0x110000, none},
  };
  for (const auto& row : cases) EXPECT_EQ(typedKeysym(row.codePoint).value_or(none), row.keysym) << row.name;
}

// Returns the keysyms in the order in which they are pressed, "none" for a combo without parts, or
// the error.
std::string resolve(const std::string& combo) {
  std::ostringstream pressed;
  try {
    const auto keys =
        resolveKeyCombo(combo, "Mars", [](std::uint64_t keysym, const std::string&) { return keysym; });
    if (!keys) return "none";
    for (const std::uint64_t keysym : keys->held) pressed << std::hex << keysym << " ";
    pressed << std::hex << keys->main;
    return pressed.str();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(KeyCombo, HoldsModifiersAroundItsKey) {
  const struct {
    const char *name, *combo, *pressed;
  } cases[] = {
      {"key", "a", "61"},
      {"modifiers in their order", "ctrl+shift+t", "ffe3 ffe1 74"},
      {"modifiers after the key", "a+ctrl+alt", "ffe3 ffe9 61"},
      {"case and spaces", "\tCtrl \n+\v PageDown\r", "ffe3 ff56"},
      {"other names of modifiers", "control+option+cmd+meta+a", "ffe3 ffe9 ffeb ffeb 61"},
      {"the last of two keys", "a+b", "62"},
      {"modifiers alone", "ctrl+alt", "ffe3 ffe9"},
      {"the key with the plus sign", "plus", "3d"},
      {"empty parts", "+ctrl++a", "ffe3 61"},
      {"function keys", "f1+f12", "ffc9"},
      {"no parts", "", "none"},
      {"empty parts alone", "+", "Key combo did not resolve to a key: +"},
      {"a space", " ", "Key combo did not resolve to a key:  "},
      {"unknown part", "ctrl+Foo", "Unsupported key combo part on Mars: foo"},
  };
  for (const auto& row : cases) EXPECT_EQ(resolve(row.combo), row.pressed) << row.name;
}

}  // namespace
}  // namespace ostler
