#pragma once

namespace ostler {

// The libraries that only a Wayland session needs are not among those that the
// loader wants for the addon, so that a machine without them can still drive
// X11. They are found when a Wayland session is opened, and stay.

// Throws std::runtime_error with the loader's words when one is missing. libei
// may be: without it all input goes through the portal.
void loadWaylandLibraries();

bool isLibeiLoaded();

}  // namespace ostler
