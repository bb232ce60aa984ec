#pragma once

#include <span>

#include <node_api.h>

namespace ostler {

struct Method {
  const char* name;
  napi_callback callback;
};

// The 29 methods of the driver functions.
extern const std::span<const Method> driverMethods;

void registerMethods(napi_env env, napi_value exports, std::span<const Method> methods);

}  // namespace ostler
