#include "wayland/factory.h"

#include <stdexcept>

namespace ostler {

std::unique_ptr<Backend> makeWaylandBackend() {
  throw std::runtime_error("Wayland sessions are not supported yet.");
}

}  // namespace ostler
