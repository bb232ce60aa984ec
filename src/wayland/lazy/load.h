#pragma once

namespace ostler {

// Loads the libraries that only a Wayland session needs; they stay loaded.
// Throws std::runtime_error with the loader's words when one of them, or a
// function of it, is missing. Two may be: without libei all input goes through
// the portal, and without libxkbcommon keys are those of a US layout.
void loadWaylandLibraries();

// Whether libei was found with all of its functions.
bool isLibeiLoaded();

// Whether libxkbcommon was.
bool isXkbcommonLoaded();

}  // namespace ostler
