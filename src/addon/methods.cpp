#include "addon/methods.h"

#include "addon/call_frame.h"
#include "addon/special_methods.h"
#include "driver/driver.h"

namespace ostler {
namespace {

constexpr Method rows[] = {
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

const std::span<const Method> driverMethods = rows;

void registerMethods(napi_env env, napi_value exports, std::span<const Method> methods) {
  for (const Method& method : methods) {
    napi_value function = nullptr;
    napi_create_function(env, method.name, NAPI_AUTO_LENGTH, method.callback, nullptr, &function);
    napi_set_named_property(env, exports, method.name, function);
  }
}

}  // namespace ostler
