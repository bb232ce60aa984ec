#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostler {

// Converts each byte to lower case on its own, without regard to UTF-8 sequences.
std::string foldCase(std::string text);

// Removes whitespace bytes from both ends.
std::string trimWhitespace(std::string text);

// Decodes UTF-8. Invalid bytes give U+FFFD. Overlong sequences, surrogates and values above
// 0x10FFFF are decoded without a check.
std::vector<std::uint32_t> decodeUtf8(const std::string& text);

std::string encodeUtf8(const std::vector<std::uint32_t>& codePoints);

// Like decodeUtf8(), but each line end is one line feed.
std::vector<std::uint32_t> decodeLines(const std::string& text);

}  // namespace ostler
