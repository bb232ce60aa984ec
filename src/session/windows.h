#pragma once

#include <vector>

#include <node_api.h>

#include "backend/desktop_window.h"

namespace ostler {

napi_value toValue(napi_env env, const std::vector<DesktopWindow>& windows);

std::vector<DesktopWindow> windows();
void activate(double id);

}  // namespace ostler
