#include "addon/call_frame.h"
#include "addon/methods.h"
#include "driver/driver.h"

namespace ostler {
namespace {

void callHost(napi_env env, napi_value callback, void*, void*) noexcept {
  // Both are null while the environment is being torn down.
  if (env == nullptr || callback == nullptr) return;
  napi_value global = nullptr;
  napi_get_global(env, &global);
  napi_call_function(env, global, callback, 0, nullptr, nullptr);
}

napi_threadsafe_function makeThreadsafeFunction(napi_env env, napi_value callback) {
  napi_value name = nullptr;
  napi_create_string_utf8(env, "escapeCallback", NAPI_AUTO_LENGTH, &name);
  napi_threadsafe_function result = nullptr;
  const napi_status status = napi_create_threadsafe_function(env, callback, nullptr, name, 0, 1, nullptr,
                                                             nullptr, nullptr, callHost, &result);
  return status == napi_ok ? result : nullptr;
}

}  // namespace

napi_value lock(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    const std::vector<napi_value> arguments = fetchArguments(env, info, 1);
    const napi_threadsafe_function onEscape = makeThreadsafeFunction(env, arguments[0]);
    if (onEscape == nullptr) return toValue(env, false);
    const bool locked = driverLock(onEscape);
    if (!locked) napi_release_threadsafe_function(onEscape, napi_tsfn_release);
    return toValue(env, locked);
  });
}

}  // namespace ostler
