#include "wayland/late_libraries.h"

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

constexpr char libeiFile[] = "libei.so.1";

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

bool load(Library library, const char* file) {
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return false;
  for (const LateFunction& function : functions) {
    if (function.library != library) continue;
    *function.slot = dlsym(handle, function.name);
    if (*function.slot != nullptr) continue;
    dlclose(handle);
    return false;
  }
  return true;
}

void require(Library library, const char* file) {
  if (load(library, file)) return;
  const char* detail = dlerror();
  throw std::runtime_error("Unable to load a library that Wayland sessions need: " +
                           std::string(detail != nullptr ? detail : file));
}

}  // namespace

void loadWaylandLibraries() {
  require(Library::glib, "libglib-2.0.so.0");
  require(Library::gobject, "libgobject-2.0.so.0");
  require(Library::gio, "libgio-2.0.so.0");
  require(Library::pipeWire, "libpipewire-0.3.so.0");
  load(Library::libei, libeiFile);
}

bool isLibeiLoaded() { return dlopen(libeiFile, RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

}  // namespace ostler
