#pragma once

#include <node_api.h>

namespace ostler {

// These callbacks cannot be made from the signature of a driver function.

napi_value screenshot(napi_env env, napi_callback_info info);
napi_value lock(napi_env env, napi_callback_info info);

}  // namespace ostler
