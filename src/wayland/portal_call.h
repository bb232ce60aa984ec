#pragma once

#include <string_view>

#include <gio/gio.h>

namespace ostler {

// Throws std::runtime_error with "prefix: message of the error", and frees the
// error, which may be null.
[[noreturn]] void throwGError(std::string_view prefix, GError* error);

}  // namespace ostler
