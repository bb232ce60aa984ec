#include <node_api.h>

#include "addon/call_frame.h"
#include "addon/methods.h"
#include "driver/driver.h"

namespace ostler {
namespace {

struct Method {
  const char* name;
  napi_callback callback;
};

constexpr Method methods[] = {
    {"click", forward<driverClick>},
    {"move", forward<driverMouseMove>},
    {"drag", forward<driverDrag>},
    {"mouseDown", forward<driverMouseDown>},
    {"mouseUp", forward<driverMouseUp>},
    {"type", forward<driverType>},
    {"key", forward<driverKey>},
    {"scroll", forward<driverScroll>},
    {"cursorPosition", forward<driverCursorPosition>},
    {"display", forward<driverDisplay>},
    {"screenshot", screenshot},
    {"capabilities", forward<driverCapabilities>},
    {"listDisplays", forward<driverListDisplays>},
    {"listWindows", forward<driverListWindows>},
    {"getActiveWindow", forward<driverGetActiveWindow>},
    {"windowAtPoint", forward<driverWindowAtPoint>},
    {"activateApplication", forward<driverActivateApplication>},
    {"concealApplication", forward<driverConcealApplication>},
    {"restoreApplication", forward<driverRestoreApplication>},
    {"activateWindow", forward<driverActivateWindow>},
    {"concealWindow", forward<driverConcealWindow>},
    {"restoreWindow", forward<driverRestoreWindow>},
    {"prepareForInput", forward<driverPrepareForInput>},
    {"getClipboard", forward<driverGetClipboard>},
    {"setClipboard", forward<driverSetClipboard>},
    {"lock", lock},
    {"unlock", forward<driverUnlock>},
    {"checkPermissions", forward<driverCheckPermissions>},
    {"requestPermissions", forward<driverRequestPermissions>},
};

}  // namespace
}  // namespace ostler

extern "C" NAPI_MODULE_EXPORT std::int32_t node_api_module_get_api_version_v1() { return 8; }

extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  for (const auto& method : ostler::methods) {
    napi_value function = nullptr;
    napi_create_function(env, method.name, NAPI_AUTO_LENGTH, method.callback, nullptr, &function);
    napi_set_named_property(env, exports, method.name, function);
  }
  return exports;
}
