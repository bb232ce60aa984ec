#include <gtest/gtest.h>

#include "keys/combo.h"
#include "keys/key_tables.h"
#include "keys/text.h"

namespace ostler {
namespace {

using namespace std::string_literals;

TEST(DecodeUtf8, GivesACodePointOrAReplacementForEveryByteSequence) {
  const std::vector<std::pair<std::string, std::vector<std::uint32_t>>> cases = {
      {"", {}},
      {"a\0b"s, {'a', 0, 'b'}},
      {"é€😀", {0xE9, 0x20AC, 0x1F600}},
      {"A\xC3", {'A', 0xFFFD}},
      {"\xE2\x82", {0xFFFD}},
      {"\xF0\x9F\x98", {0xFFFD}},
      {"\xE2\x82"
       "A",
       {0xFFFD, 0xFFFD, 'A'}},
      {"\xE2"
       "AB",
       {0xFFFD, 'A', 'B'}},
      {"\xF0\x9F"
       "AB",
       {0xFFFD, 0xFFFD, 'A', 'B'}},
      {"\x80", {0xFFFD}},
      {"\xFF"
       "a",
       {0xFFFD, 'a'}},
      {"\xC0\x80", {0}},
      {"\xED\xA0\x80", {0xD800}},
      {"\xF4\x90\x80\x80\xF7\xBF\xBF\xBF", {0x110000, 0x1FFFFF}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(decodeUtf8(text), expected) << text;
}

TEST(ParseKeyCombo, EndsAPartAtEveryPlus) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"", {}},           {"ctrl+shift+a", {"ctrl", "shift", "a"}},
      {"+", {""}},        {"Ctrl + A", {"ctrl", "a"}},
      {"a+", {"a"}},      {"\tA\n+\v B c\r", {"a", "b c"}},
      {"+a", {"", "a"}},  {"ctrl+ctrl+a", {"ctrl", "ctrl", "a"}},
      {"  ", {""}},       {"a++b", {"a", "", "b"}},
      {"a+ ", {"a", ""}}, {"ctrl++", {"ctrl", ""}},
      {"É", {"É"}},       {"a\0"s, {"a\0"s}},
  };
  for (const auto& [combo, expected] : cases) EXPECT_EQ(parseKeyCombo(combo), expected) << combo;
}

TEST(KeyTables, HoldEveryNameOnce) {
  EXPECT_EQ(keyNameTable.size(), 81u);
  EXPECT_EQ(modifierNameTable.size(), 9u);
  for (const auto& [name, keysym] : modifierNameTable) EXPECT_FALSE(keyNameTable.contains(name)) << name;
  const std::pair<const char*, std::uint64_t> cases[] = {
      {"return", 0xFF0D}, {"forwarddelete", 0xFFFF},
      {"plus", 0x3D},     {"`", 0x60},
      {"0", 0x30},        {"9", 0x39},
      {"a", 0x61},        {"z", 0x7A},
      {"f1", 0xFFBE},     {"f10", 0xFFC7},
      {"f12", 0xFFC9},    {"\\", 0x5C},
      {"/", 0x2F},        {"pageup", 0xFF55},
      {"space", 0x20},
  };
  for (const auto& [name, keysym] : cases) EXPECT_EQ(keyNameTable.at(name), keysym) << name;
  EXPECT_EQ(modifierNameTable.at("meta"), 0xFFEBu);
}

}  // namespace
}  // namespace ostler
