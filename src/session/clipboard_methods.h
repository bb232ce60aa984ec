#pragma once

#include <span>

#include "addon/methods.h"

namespace ostler {

// The methods for the clipboard. lib/helper/clipboard.js makes those of the host from them.
extern const std::span<const Method> clipboardMethods;

}  // namespace ostler
