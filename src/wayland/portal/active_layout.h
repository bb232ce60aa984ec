#pragma once

#include <cstddef>

#include "wayland/lazy/glib.h"

namespace ostler {

// The group of the keymap whose layout the user has in use, as the desktop
// tells; the first where no desktop does. Takes 1 s at the most.
std::size_t activeLayoutGroup(GDBusConnection* connection);

}  // namespace ostler
