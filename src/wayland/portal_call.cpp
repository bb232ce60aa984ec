#include "wayland/portal_call.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace ostler {
namespace {

struct ErrorFreer {
  void operator()(GError* error) const { g_error_free(error); }
};

}  // namespace

void throwGError(std::string_view prefix, GError* error) {
  const std::unique_ptr<GError, ErrorFreer> owner(error);
  const bool explained = error != nullptr && error->message != nullptr;
  throw std::runtime_error(std::string(prefix) + ": " + (explained ? error->message : "unknown error"));
}

}  // namespace ostler
