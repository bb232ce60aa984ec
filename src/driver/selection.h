#pragma once

#include "backend/backend.h"

namespace ostler {

// Returns the backend of the process. The first call detects the session and builds the backend; if
// that throws, the next call tries again. Throws std::runtime_error when it is called while the
// same thread is building the backend.
Backend& backendInstance();

}  // namespace ostler
