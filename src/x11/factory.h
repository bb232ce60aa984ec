#pragma once

#include <memory>

#include "driver/backend.h"

namespace ostler {

std::unique_ptr<Backend> makeX11Backend();

}  // namespace ostler
