#pragma once

#include <memory>

#include "backend/session_backend.h"
#include "base/portal_permission.h"

namespace ostler {

// Blocks until the user has answered the portal's dialog. Throws std::runtime_error.
std::unique_ptr<SessionBackend> makeWaylandSession(HeldRecord record, const PortalPermission& permission);

}  // namespace ostler
