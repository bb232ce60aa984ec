#pragma once

#include <node_api.h>

namespace ostler {

// The method that opens the session. Takes an object with `record`, the descriptor of a file for the
// record of what is held down, and with the fields of PortalPermission, which can be absent.
napi_value open(napi_env env, napi_callback_info info);

}  // namespace ostler
