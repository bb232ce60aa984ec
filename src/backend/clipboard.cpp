#include "backend/clipboard.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ostler {
namespace {

constexpr std::array<std::string_view, 8> textTypes = {
    textType,        "text/plain;charset=UTF-8", "UTF8_STRING", "text/plain", "STRING", "TEXT",
    "COMPOUND_TEXT", "text/plain;charset=utf8",
};

void appendLength(std::vector<unsigned char>& bytes, std::size_t length) {
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(length >> shift));
}

std::size_t readLength(std::string_view bytes) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < 4; ++i)
    length |= static_cast<std::size_t>(static_cast<unsigned char>(bytes[i])) << 8 * i;
  return length;
}

}  // namespace

bool isTextType(std::string_view type) {
  return std::find(textTypes.begin(), textTypes.end(), type) != textTypes.end();
}

std::string latin1ToUtf8(std::string_view text) {
  std::string result;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code < 0x80) {
      result += character;
    } else {
      result += static_cast<char>(0xc0 | code >> 6);
      result += static_cast<char>(0x80 | (code & 0x3f));
    }
  }
  return result;
}

std::string utf8ToLatin1(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      result += text[i];
    } else if ((lead == 0xc2 || lead == 0xc3) && i + 1 < text.size()) {
      result += static_cast<char>(lead << 6 | (static_cast<unsigned char>(text[++i]) & 0x3f));
    } else if (lead >= 0xc0) {
      result += '?';
    }
  }
  return result;
}

std::vector<unsigned char> pack(const ClipboardContent& content) {
  std::vector<unsigned char> bytes;
  for (const ClipboardItem& item : content) {
    appendLength(bytes, item.type.size());
    appendLength(bytes, item.bytes.size());
    bytes.insert(bytes.end(), item.type.begin(), item.type.end());
    bytes.insert(bytes.end(), item.bytes.begin(), item.bytes.end());
  }
  return bytes;
}

ClipboardContent unpack(std::string_view bytes) {
  constexpr std::size_t lengths = 8;
  ClipboardContent content;
  while (bytes.size() >= lengths) {
    const std::size_t type = readLength(bytes), data = readLength(bytes.substr(4));
    bytes.remove_prefix(lengths);
    if (type > bytes.size() || data > bytes.size() - type) break;
    content.push_back({std::string(bytes.substr(0, type)), std::string(bytes.substr(type, data))});
    bytes.remove_prefix(type + data);
  }
  return content;
}

}  // namespace ostler
