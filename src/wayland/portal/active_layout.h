#pragma once

#include <cstddef>

#include "wayland/lazy/glib.h"

namespace ostler {

// Asks KDE or GNOME for the keymap group of the user's active layout. Returns
// 0, the first group, if neither answers. Takes up to 1 s.
std::size_t activeLayoutGroup(GDBusConnection* connection);

}  // namespace ostler
