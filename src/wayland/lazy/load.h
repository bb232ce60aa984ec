#pragma once

namespace ostler {

// Loads the libraries that only a Wayland session needs; they stay loaded.
// Throws std::runtime_error with the loader's words when one of them, or a
// function of it, is missing. libei may be: without it all input goes through
// the portal.
void loadWaylandLibraries();

// Whether libei was found with all of its functions.
bool isLibeiLoaded();

}  // namespace ostler
