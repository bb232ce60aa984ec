#pragma once

#include <optional>
#include <string>

#include "wayland/lazy/glib.h"

namespace ostler {

// Returns the text that Klipper, the clipboard manager of KDE, has seen last. Returns nothing when
// it does not run. Of a picture it gives only a description.
std::optional<std::string> readKlipper(GDBusConnection* connection);

}  // namespace ostler
