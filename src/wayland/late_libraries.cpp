#include "wayland/late_libraries.h"

#include <optional>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

// One slot a function, where its jump finds it.
extern "C" {
#define LATE_FUNCTION(library, name) void* ostler_late_##name = nullptr;
#include "wayland/late_functions.def"
#undef LATE_FUNCTION
}

namespace ostler {
namespace {

enum class Library { glib, gobject, gio, pipeWire, libei };

struct LateFunction {
  Library library;
  const char* name;
  void** slot;
};

constexpr LateFunction functions[] = {
#define LATE_FUNCTION(library, name) {Library::library, #name, &ostler_late_##name},
#include "wayland/late_functions.def"
#undef LATE_FUNCTION
};

bool libeiLoaded = false;

// Nothing on success, otherwise the loader's words.
std::optional<std::string> load(Library library, const char* file) {
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return dlerror();
  for (const LateFunction& function : functions) {
    if (function.library != library) continue;
    *function.slot = dlsym(handle, function.name);
    if (*function.slot != nullptr) continue;
    std::string missing = dlerror();
    dlclose(handle);
    return missing;
  }
  return std::nullopt;
}

void require(Library library, const char* file) {
  if (const auto failure = load(library, file)) {
    throw std::runtime_error("Unable to load a library that Wayland sessions need: " + *failure);
  }
}

}  // namespace

void loadWaylandLibraries() {
  require(Library::glib, "libglib-2.0.so.0");
  require(Library::gobject, "libgobject-2.0.so.0");
  require(Library::gio, "libgio-2.0.so.0");
  require(Library::pipeWire, "libpipewire-0.3.so.0");
  libeiLoaded = !load(Library::libei, "libei.so.1");
}

bool isLibeiLoaded() { return libeiLoaded; }

}  // namespace ostler
