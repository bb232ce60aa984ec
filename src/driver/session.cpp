#include "driver/session.h"

#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

#include "keys/text.h"

namespace ostler {
namespace {

bool isSetAndNotEmpty(const char* value) { return value != nullptr && *value != '\0'; }

bool socketInDirectory(const std::string& directory) {
  if (directory.empty()) return false;
  struct stat status;
  return stat((directory + "/wayland-0").c_str(), &status) == 0 ||
         stat((directory + "/wayland-1").c_str(), &status) == 0;
}

}  // namespace

std::string detectSessionKind() {
  const char* sessionType = std::getenv("XDG_SESSION_TYPE");
  if (isSetAndNotEmpty(sessionType)) return foldCase(sessionType);
  const char* waylandDisplay = std::getenv("WAYLAND_DISPLAY");
  if (isSetAndNotEmpty(waylandDisplay)) return "wayland";
  if (!isSetAndNotEmpty(std::getenv("DISPLAY"))) return "unknown";
  if (waylandDisplay == nullptr && std::getenv("XDG_RUNTIME_DIR") == nullptr) return "x11";
  return waylandSocketPresent() ? "wayland" : "x11";
}

bool waylandSocketPresent() {
  const char* runtimeDirectory = std::getenv("XDG_RUNTIME_DIR");
  if (isSetAndNotEmpty(runtimeDirectory) && socketInDirectory(runtimeDirectory)) return true;
  return socketInDirectory("/run/user/" + std::to_string(getuid()));
}

BackendKind chooseBackend() {
  const std::string kind = detectSessionKind();
  if (kind == "wayland") return BackendKind::wayland;
  if (kind == "unknown" && std::getenv("DISPLAY") == nullptr) return BackendKind::none;
  // An X server beside a Wayland compositor is Xwayland. Input sent there would reach only X11
  // programs.
  return waylandSocketPresent() ? BackendKind::wayland : BackendKind::x11;
}

}  // namespace ostler
