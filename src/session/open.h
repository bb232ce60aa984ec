#pragma once

#include <node_api.h>

namespace ostler {

// The method that opens the session. Takes { record, allMonitors, persist, token, asking, granted }: the
// descriptor of a file for the record of what is held down, and the fields of PortalPermission.
// Only `record` is necessary.
napi_value open(napi_env env, napi_callback_info info);

}  // namespace ostler
