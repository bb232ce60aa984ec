#pragma once

#include <memory>

#include "driver/backend.h"

namespace ostler {

std::unique_ptr<Backend> makeWaylandBackend();

}  // namespace ostler
