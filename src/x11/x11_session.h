#pragma once

#include <memory>

#include "backend/session_backend.h"

namespace ostler {

// Throws std::runtime_error when there is no X server with the XTEST extension.
std::unique_ptr<SessionBackend> makeX11Session(HeldRecord record);

}  // namespace ostler
