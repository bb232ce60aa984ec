#pragma once

#include <memory>

#include "backend/backend.h"

namespace ostler {

std::unique_ptr<Backend> makeX11Backend();

}  // namespace ostler
