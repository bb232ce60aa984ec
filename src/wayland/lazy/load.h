#pragma once

namespace ostler {

// Loads the libraries that only a Wayland session needs; they stay loaded. Throws
// std::runtime_error with the loader's message if a required library, or a function of one, is
// missing. Two are optional: without libei all input goes through the portal, and without
// libxkbcommon keys are those of a US layout.
void loadWaylandLibraries();

// Whether libei was found with all of its functions.
bool isLibeiLoaded();

// Whether libxkbcommon was found with all of its functions.
bool isXkbcommonLoaded();

// Whether libxkbcommon has its functions for composing, which it can be built without.
bool isXkbComposeLoaded();

}  // namespace ostler
