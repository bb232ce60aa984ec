#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostler {

// Folds every byte to lower case by itself; UTF-8 sequences are no units here.
std::string foldCase(std::string text);

// Removes whitespace at both ends, byte by byte.
std::string trimWhitespace(std::string text);

// The code points of a UTF-8 text. Bytes that form none give U+FFFD; overlong
// forms, surrogates and values above 0x10FFFF come out as they are written.
std::vector<std::uint32_t> decodeUtf8(const std::string& text);

}  // namespace ostler
