#pragma once

#include <node_api.h>

namespace ostler {

// The callbacks whose arguments or results no driver function's signature tells.

napi_value screenshot(napi_env env, napi_callback_info info);
napi_value lock(napi_env env, napi_callback_info info);

}  // namespace ostler
