#pragma once

#include <string>

namespace ostler {

// The kind of graphical session, guessed from the environment: "wayland",
// "x11", "unknown", or whatever else XDG_SESSION_TYPE says, in lower case.
std::string detectSessionKind();

// Whether a file named wayland-0 or wayland-1 stands in a runtime directory.
bool waylandSocketPresent();

}  // namespace ostler
