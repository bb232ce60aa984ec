#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <node_api.h>

#include "driver/records.h"

namespace ostler {

// These functions convert native results to JavaScript values.

napi_value undefinedValue(napi_env env);
napi_value nullValue(napi_env env);

napi_value toValue(napi_env env, bool value);
napi_value toValue(napi_env env, std::int32_t value);
napi_value toValue(napi_env env, const std::string& value);
napi_value toValue(napi_env env, const Point& point);
// Makes an object that contains the size twice, also as pixelWidth and pixelHeight.
napi_value toValue(napi_env env, const Size& size);
napi_value toValue(napi_env env, const Capabilities& capabilities);
// Makes a Buffer with a copy of the bytes, or null when there are none.
napi_value toValue(napi_env env, const std::vector<unsigned char>& bytes);
napi_value toValue(napi_env env, const std::vector<DisplayInfo>& displays);
napi_value toValue(napi_env env, const std::vector<WindowInfo>& windows);
napi_value toValue(napi_env env, const std::optional<WindowInfo>& window);

}  // namespace ostler
