#include "keys/combo.h"

#include <stdexcept>
#include <utility>

#include "keys/key_tables.h"
#include "keys/text.h"

namespace ostler {

std::vector<std::string> splitKeyCombo(std::string_view combo) {
  std::vector<std::string> parts;
  const auto append = [&parts](std::string_view token) {
    parts.push_back(trimWhitespace(std::string(token)));
  };
  while (!combo.empty()) {
    const std::size_t plus = combo.find('+');
    append(combo.substr(0, plus));
    if (plus == std::string_view::npos) break;
    combo.remove_prefix(plus + 1);
  }
  return parts;
}

std::vector<std::string> parseKeyCombo(std::string_view combo) {
  std::vector<std::string> parts = splitKeyCombo(combo);
  for (std::string& part : parts) part = foldCase(std::move(part));
  return parts;
}

std::optional<KeyCombo> resolveKeyCombo(const std::string& combo, std::string_view platform,
                                        const KeyResolver& resolve) {
  const std::vector<std::string> parts = parseKeyCombo(combo);
  if (parts.empty()) return std::nullopt;
  KeyCombo result;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (const auto modifier = modifierNameTable.find(part); modifier != modifierNameTable.end()) {
      result.held.push_back(resolve(modifier->second, part));
    } else if (const auto key = keyNameTable.find(part); key != keyNameTable.end()) {
      result.main = resolve(key->second, part);
    } else {
      throw std::runtime_error("Unsupported key combo part on " + std::string(platform) + ": " + part);
    }
  }
  if (result.main == 0) {
    if (result.held.empty()) throw std::runtime_error("Key combo did not resolve to a key: " + combo);
    result.main = result.held.back();
    result.held.pop_back();
  }
  return result;
}

}  // namespace ostler
