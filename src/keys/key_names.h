#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "keys/combo.h"

namespace ostler {

// Resolves a combo as resolveKeyCombo() does, and knows more names: keypad keys, Print, F13 to F24,
// the left and right modifiers, and every X keysym. A keysym's name has the case of the letters
// that X gives it, such as Page_Down. Throws std::runtime_error when a name is unknown; the text
// says which names are known.
std::optional<KeyCombo> resolveNamedKeys(const std::string& combo, std::string_view platform,
                                         const KeyResolver& resolve);

}  // namespace ostler
