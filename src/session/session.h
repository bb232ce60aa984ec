#pragma once

#include "backend/session_backend.h"
#include "base/portal_permission.h"

namespace ostler {

// Opens the session of the process, with a record of what it holds down (see HeldRecord). Throws
// std::runtime_error when that fails or when it is open already.
void openSession(HeldRecord record, const PortalPermission& permission);

// Returns the session. Throws std::runtime_error while none is open.
SessionBackend& openedSession();

// Returns the clipboard of the session, or null when there is none.
Clipboard* sessionClipboard();

}  // namespace ostler
