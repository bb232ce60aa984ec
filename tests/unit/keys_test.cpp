#include <gtest/gtest.h>

#include "keys/text.h"

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

}  // namespace
}  // namespace ostler
