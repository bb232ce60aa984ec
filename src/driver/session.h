#pragma once

#include <string>

namespace ostler {

// Returns the kind of graphical session that the environment indicates: "wayland",
// "x11", "unknown", or any other value of XDG_SESSION_TYPE in lower case.
std::string detectSessionKind();

// Returns whether XDG_RUNTIME_DIR or /run/user/UID contains a file named wayland-0 or
// wayland-1.
bool waylandSocketPresent();

}  // namespace ostler
