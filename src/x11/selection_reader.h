#pragma once

#include "backend/clipboard.h"

namespace ostler {

// Reads the CLIPBOARD selection, through a connection that lasts for this call. Gives up what the
// owner does not deliver in time. Can be interrupted. Throws std::runtime_error when there is no X
// server.
ClipboardContent readSelection(ClipboardPart part);

}  // namespace ostler
