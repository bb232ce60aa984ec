#include <memory>
#include <mutex>
#include <set>

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

struct ThreadsafeFunctionReleaser {
  using pointer = napi_threadsafe_function;
  void operator()(napi_threadsafe_function function) const {
    napi_release_threadsafe_function(function, napi_tsfn_release);
  }
};
using ThreadsafeFunction = std::unique_ptr<napi_threadsafe_function, ThreadsafeFunctionReleaser>;

ThreadsafeFunction makeThreadsafeFunction(napi_env env, napi_value callback) {
  napi_value name = nullptr;
  napi_create_string_utf8(env, "escapeCallback", NAPI_AUTO_LENGTH, &name);
  napi_threadsafe_function result = nullptr;
  const napi_status status = napi_create_threadsafe_function(env, callback, nullptr, name, 0, 1, nullptr,
                                                             nullptr, nullptr, callHost, &result);
  return ThreadsafeFunction(status == napi_ok ? result : nullptr);
}

// Which environments have a hook, and in which the watcher was started last.
// Several JavaScript threads can come here.
std::mutex hookMutex;
std::set<napi_env> hookedEnvironments;
napi_env watcherEnvironment = nullptr;

// Where an environment ends with the watcher running, as in a terminated
// Worker, it takes the thread-safe function with it. A hook runs before that.
void stopWithEnvironment(void* data) noexcept {
  const auto env = static_cast<napi_env>(data);
  const std::lock_guard lock(hookMutex);
  hookedEnvironments.erase(env);
  if (watcherEnvironment == env) driverUnlock();
}

// One hook for each environment, as a second one ends Node, and a newer one
// than the function's own. Deno panics on the removal of one that is not there.
void hookEnvironment(napi_env env) {
  const std::lock_guard lock(hookMutex);
  if (!hookedEnvironments.insert(env).second) napi_remove_env_cleanup_hook(env, stopWithEnvironment, env);
  napi_add_env_cleanup_hook(env, stopWithEnvironment, env);
  watcherEnvironment = env;
}

}  // namespace

napi_value lock(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    const std::vector<napi_value> arguments = fetchArguments(env, info, 1);
    ThreadsafeFunction onEscape = makeThreadsafeFunction(env, arguments[0]);
    if (onEscape == nullptr || !driverLock(onEscape.get())) return toValue(env, false);
    static_cast<void>(onEscape.release());  // the watcher's now
    hookEnvironment(env);
    return toValue(env, true);
  });
}

}  // namespace ostler
