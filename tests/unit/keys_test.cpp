#include <gtest/gtest.h>

#include "keys/combo.h"
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

}  // namespace
}  // namespace ostler
