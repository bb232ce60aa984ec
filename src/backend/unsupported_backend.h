#pragma once

#include <memory>
#include <string>

#include "backend/backend.h"

namespace ostler {

// Stands in where no session was found: every operation throws `message`.
std::unique_ptr<Backend> makeUnsupportedBackend(std::string message);

}  // namespace ostler
