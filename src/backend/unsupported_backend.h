#pragma once

#include <memory>
#include <string>

#include "backend/backend.h"

namespace ostler {

// Returns a backend for when no session was found: every operation throws `message`.
std::unique_ptr<Backend> makeUnsupportedBackend(std::string message);

}  // namespace ostler
