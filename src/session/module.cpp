#include <cstdint>
#include <string>

#include "addon/call_frame.h"
#include "addon/methods.h"
#include "backend/interruption.h"
#include "session/clipboard_methods.h"
#include "session/eyes.h"
#include "session/file_lock.h"
#include "session/hands.h"
#include "session/monitors.h"
#include "session/open.h"
#include "session/session.h"
#include "session/windows.h"
#include "x11/escape_watcher.h"

namespace ostler {
namespace {

void setKey(const std::string& name, bool pressed) { openedSession().setKey(name, pressed); }

std::string untypable(const std::string& text) { return openedSession().untypable(text); }

void write(const std::string& text, std::int32_t delay) { openedSession().write(text, delay); }

void restoreKeyboard() { openedSession().restoreKeyboard(); }

void releaseAll() { openedSession().releaseAll(); }

std::string escapeFailure() { return EscapeWatcher::instance().startFailure(); }

std::string sessionEnd() { return openedSession().sessionEnd(); }

// `interrupt` may be called on any thread that has loaded the module, all others on the thread that
// calls `open`.
constexpr Method sessionMethods[] = {
    {"open", open},
    {"lockFile", forward<lockFile>},
    {"monitors", monitors},
    {"startCall", forward<startCall>},
    {"interrupt", forward<interruptCall>},
    {"picture", forward<picture>},
    {"pixels", forward<pixels>},
    {"watch", forward<watch>},
    {"hasChanged", forward<hasChanged>},
    {"watchedPicture", forward<watchedPicture>},
    {"endWatch", forward<endWatch>},
    {"windows", forward<windows>},
    {"activate", forward<activate>},
    {"moveFor", forward<moveFor>},
    {"clickHolding", forward<clickHolding>},
    {"dragHolding", forward<dragHolding>},
    {"setButton", forward<setButton>},
    {"setKey", forward<setKey>},
    {"untypable", forward<untypable>},
    {"write", forward<write>},
    {"restoreKeyboard", forward<restoreKeyboard>},
    {"releaseAll", forward<releaseAll>},
    {"escapeFailure", forward<escapeFailure>},
    {"sessionEnd", forward<sessionEnd>},
};

}  // namespace
}  // namespace ostler

extern "C" NAPI_MODULE_EXPORT std::int32_t node_api_module_get_api_version_v1() { return 8; }

extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  ostler::registerMethods(env, exports, ostler::driverMethods);
  ostler::registerMethods(env, exports, ostler::sessionMethods);
  ostler::registerMethods(env, exports, ostler::clipboardMethods);
  return exports;
}
