#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace ostler {

// X keysym values by the lower-case names that a key combo uses.
using KeysymTable = std::unordered_map<std::string, std::uint64_t>;

// The keys that a combo taps.
extern const KeysymTable keyNameTable;

// The keys that a combo holds meanwhile, always the left-hand one of a kind.
extern const KeysymTable modifierNameTable;

}  // namespace ostler
