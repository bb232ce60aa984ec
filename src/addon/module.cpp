#include <cstdint>

#include "addon/methods.h"

extern "C" NAPI_MODULE_EXPORT std::int32_t node_api_module_get_api_version_v1() { return 8; }

extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  ostler::registerMethods(env, exports, ostler::driverMethods);
  return exports;
}
