#include "keys/text.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

namespace ostler {
namespace {

constexpr std::uint32_t replacementCharacter = 0xFFFD;

bool isSpace(unsigned char byte) { return std::isspace(byte) != 0; }

struct Lead {
  std::size_t continuations;
  std::uint32_t payload;
};

std::optional<Lead> leadOf(unsigned char byte) {
  if ((byte & 0xE0) == 0xC0) return Lead{1, byte & 0x1Fu};
  if ((byte & 0xF0) == 0xE0) return Lead{2, byte & 0x0Fu};
  if ((byte & 0xF8) == 0xF0) return Lead{3, byte & 0x07u};
  return std::nullopt;
}

// Returns the value of the sequence that a lead byte starts, or nothing when one of the following
// bytes is not a continuation byte.
std::optional<std::uint32_t> sequenceValue(Lead lead, const char* continuation) {
  std::uint32_t value = lead.payload;
  for (std::size_t k = 0; k < lead.continuations; ++k) {
    const auto byte = static_cast<unsigned char>(continuation[k]);
    if ((byte & 0xC0) != 0x80) return std::nullopt;
    value = value << 6 | (byte & 0x3Fu);
  }
  return value;
}

}  // namespace

std::string foldCase(std::string text) {
  for (char& byte : text) byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
  return text;
}

std::string trimWhitespace(std::string text) {
  const auto first = std::find_if_not(text.begin(), text.end(), isSpace);
  const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), isSpace).base();
  return {first, last};
}

std::vector<std::uint32_t> decodeUtf8(const std::string& text) {
  std::vector<std::uint32_t> codePoints;
  codePoints.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      codePoints.push_back(byte);
      ++i;
      continue;
    }
    const std::optional<Lead> lead = leadOf(byte);
    if (lead && i + lead->continuations >= text.size()) {
      codePoints.push_back(replacementCharacter);
      break;
    }
    const auto value = lead ? sequenceValue(*lead, text.data() + i + 1) : std::nullopt;
    codePoints.push_back(value.value_or(replacementCharacter));
    i += value ? lead->continuations + 1 : 1;
  }
  return codePoints;
}

std::string encodeUtf8(const std::vector<std::uint32_t>& codePoints) {
  std::string text;
  for (const std::uint32_t codePoint : codePoints) {
    if (codePoint < 0x80) {
      text += static_cast<char>(codePoint);
      continue;
    }
    const int continuations = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    const std::uint32_t lead = continuations == 1 ? 0xC0 : continuations == 2 ? 0xE0 : 0xF0;
    text += static_cast<char>(lead | codePoint >> (6 * continuations));
    for (int left = continuations - 1; left >= 0; --left) {
      text += static_cast<char>(0x80 | (codePoint >> (6 * left) & 0x3F));
    }
  }
  return text;
}

std::vector<std::uint32_t> decodeLines(const std::string& text) {
  std::vector<std::uint32_t> result;
  std::uint32_t previous = 0;
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (codePoint != '\n' || previous != '\r') result.push_back(codePoint == '\r' ? '\n' : codePoint);
    previous = codePoint;
  }
  return result;
}

}  // namespace ostler
