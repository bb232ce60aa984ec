#pragma once

#include <string>

namespace ostler {

// Returns the kind of graphical session that the environment indicates: "wayland", "x11",
// "unknown", or any other value of XDG_SESSION_TYPE in lower case.
std::string detectSessionKind();

// Returns whether XDG_RUNTIME_DIR or /run/user/UID contains a file named wayland-0 or wayland-1.
bool waylandSocketPresent();

enum class BackendKind { none, x11, wayland };

// Returns which backend controls the session that the environment indicates.
BackendKind chooseBackend();

// The failure of every operation when there is no session.
inline constexpr char noSessionMessage[] =
    "No graphical Linux session detected. Start an X11 or Wayland desktop session first.";

}  // namespace ostler
