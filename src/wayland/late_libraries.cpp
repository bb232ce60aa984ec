#include "wayland/late_libraries.h"

#include <span>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#include "wayland/late_functions.h"

// One slot a function, where its jump finds it.
#define OSTLER_SLOT(name) void* ostler_late_##name = nullptr;
extern "C" {
OSTLER_GLIB_FUNCTIONS(OSTLER_SLOT)
OSTLER_GOBJECT_FUNCTIONS(OSTLER_SLOT)
OSTLER_GIO_FUNCTIONS(OSTLER_SLOT)
OSTLER_PIPEWIRE_FUNCTIONS(OSTLER_SLOT)
OSTLER_LIBEI_FUNCTIONS(OSTLER_SLOT)
}

namespace ostler {
namespace {

constexpr char libeiFile[] = "libei.so.1";

struct LateFunction {
  const char* name;
  void** slot;
};

#define OSTLER_FUNCTION(name) {#name, &ostler_late_##name},
constexpr LateFunction glib[] = {OSTLER_GLIB_FUNCTIONS(OSTLER_FUNCTION)};
constexpr LateFunction gobject[] = {OSTLER_GOBJECT_FUNCTIONS(OSTLER_FUNCTION)};
constexpr LateFunction gio[] = {OSTLER_GIO_FUNCTIONS(OSTLER_FUNCTION)};
constexpr LateFunction pipeWire[] = {OSTLER_PIPEWIRE_FUNCTIONS(OSTLER_FUNCTION)};
constexpr LateFunction libei[] = {OSTLER_LIBEI_FUNCTIONS(OSTLER_FUNCTION)};

bool load(const char* file, std::span<const LateFunction> functions) {
  void* library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return false;
  for (const LateFunction& function : functions) {
    if ((*function.slot = dlsym(library, function.name)) == nullptr) {
      dlclose(library);
      return false;
    }
  }
  return true;
}

void require(const char* file, std::span<const LateFunction> functions) {
  if (load(file, functions)) return;
  const char* detail = dlerror();
  throw std::runtime_error("Unable to load a library that Wayland sessions need: " +
                           std::string(detail != nullptr ? detail : file));
}

}  // namespace

void loadWaylandLibraries() {
  require("libglib-2.0.so.0", glib);
  require("libgobject-2.0.so.0", gobject);
  require("libgio-2.0.so.0", gio);
  require("libpipewire-0.3.so.0", pipeWire);
  load(libeiFile, libei);
}

bool isLibeiLoaded() { return dlopen(libeiFile, RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

}  // namespace ostler
