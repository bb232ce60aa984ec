#include "wayland/lazy/load.h"

#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

#include "wayland/lazy/glib.h"
#include "wayland/lazy/libei.h"
#include "wayland/lazy/pipewire.h"
#include "wayland/lazy/xkbcommon.h"

namespace ostler {

// NOLINTNEXTLINE(bugprone-macro-parentheses): no name may stand in parentheses here.
#define DEFINE(name) decltype(&::name) name = nullptr;
OSTLER_GLIB_FUNCTIONS(DEFINE)
OSTLER_PIPEWIRE_FUNCTIONS(DEFINE)
OSTLER_LIBEI_FUNCTIONS(DEFINE)
OSTLER_XKBCOMMON_FUNCTIONS(DEFINE)
OSTLER_XKBCOMMON_COMPOSE_FUNCTIONS(DEFINE)

EiPing* (*newEiPing)(ei*) = nullptr;
void (*sendEiPing)(EiPing*) = nullptr;
EiPing* (*unrefEiPing)(EiPing*) = nullptr;

namespace {

struct LazyFunction {
  const char* name;
  void* pointer;  // the address of the function pointer of that name
};

#define ROW(name) {#name, static_cast<void*>(&ostler::name)},
constexpr LazyFunction glibFunctions[] = {OSTLER_GLIB_FUNCTIONS(ROW)};
constexpr LazyFunction pipeWireFunctions[] = {OSTLER_PIPEWIRE_FUNCTIONS(ROW)};
constexpr LazyFunction libeiFunctions[] = {OSTLER_LIBEI_FUNCTIONS(ROW)};
constexpr LazyFunction libeiPingFunctions[] = {{"ei_new_ping", static_cast<void*>(&newEiPing)},
                                               {"ei_ping", static_cast<void*>(&sendEiPing)},
                                               {"ei_ping_unref", static_cast<void*>(&unrefEiPing)}};
constexpr LazyFunction xkbcommonFunctions[] = {OSTLER_XKBCOMMON_FUNCTIONS(ROW)};
constexpr LazyFunction xkbComposeFunctions[] = {OSTLER_XKBCOMMON_COMPOSE_FUNCTIONS(ROW)};

bool libeiLoaded = false;
bool xkbcommonLoaded = false;
bool xkbComposeLoaded = false;

// Also finds functions in the dependencies of the library. Returns nothing on success, otherwise
// the loader's message.
std::optional<std::string> load(const char* file, std::span<const LazyFunction> functions) {
  void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return dlerror();
  for (const LazyFunction& function : functions) {
    void* const found = dlsym(library, function.name);
    if (found == nullptr) {
      std::string missing = dlerror();
      dlclose(library);
      return missing;
    }
    std::memcpy(function.pointer, static_cast<const void*>(&found), sizeof found);
  }
  return std::nullopt;
}

void require(const char* file, std::span<const LazyFunction> functions) {
  if (const auto failure = load(file, functions)) {
    throw std::runtime_error("Unable to load a library that Wayland sessions need: " + *failure);
  }
}

}  // namespace

void loadWaylandLibraries() {
  require("libgio-2.0.so.0", glibFunctions);  // which needs GLib and GObject
  require("libpipewire-0.3.so.0", pipeWireFunctions);
  libeiLoaded = !load("libei.so.1", libeiFunctions);
  if (libeiLoaded && load("libei.so.1", libeiPingFunctions)) newEiPing = nullptr;
  xkbcommonLoaded = !load("libxkbcommon.so.0", xkbcommonFunctions);
  xkbComposeLoaded = !load("libxkbcommon.so.0", xkbComposeFunctions);
}

bool isLibeiLoaded() { return libeiLoaded; }

bool isXkbcommonLoaded() { return xkbcommonLoaded; }

bool isXkbComposeLoaded() { return xkbComposeLoaded; }

}  // namespace ostler
