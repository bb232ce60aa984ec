#pragma once

#include "backend/backend.h"

namespace ostler {

// The process-wide backend, built on first use for the session that is found
// then. A construction that throws leaves nothing behind, so the next call tries
// again.
Backend& backendInstance();

}  // namespace ostler
