#pragma once

#include <memory>

#include "backend/backend.h"

namespace ostler {

std::unique_ptr<Backend> makeWaylandBackend();

}  // namespace ostler
