#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace ostler {

// Maps the lower-case names that a key combo uses to X keysyms.
using KeysymTable = std::unordered_map<std::string, std::uint64_t>;

// Contains the keys that a combo presses and releases.
extern const KeysymTable keyNameTable;

// Contains the modifiers that a combo holds down around that key. Each is the left-hand one.
extern const KeysymTable modifierNameTable;

}  // namespace ostler
