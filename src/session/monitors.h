#pragma once

#include <node_api.h>

namespace ostler {

// The method that returns an array of the monitors, each { id, x, y, width, height, scale }.
napi_value monitors(napi_env env, napi_callback_info info);

}  // namespace ostler
