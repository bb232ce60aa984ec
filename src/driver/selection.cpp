#include "driver/selection.h"

#include <cstdlib>
#include <memory>

#include "backend/unsupported_backend.h"
#include "driver/session.h"
#include "wayland/factory.h"
#include "x11/factory.h"

namespace ostler {
namespace {

std::unique_ptr<Backend> selectBackend() {
  const std::string kind = detectSessionKind();
  if (kind == "wayland") return makeWaylandBackend();
  if (kind == "unknown" && std::getenv("DISPLAY") == nullptr) {
    return makeUnsupportedBackend(
        "No graphical Linux session detected. Start an X11 or Wayland desktop session first.");
  }
  // An X server beside a Wayland compositor is its guest: input sent there
  // would reach only other guests.
  if (waylandSocketPresent()) return makeWaylandBackend();
  return makeX11Backend();
}

}  // namespace

Backend& backendInstance() {
  static const std::unique_ptr<Backend> backend = selectBackend();
  return *backend;
}

}  // namespace ostler
