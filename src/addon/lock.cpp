#include <set>
#include <type_traits>

#include "addon/call_frame.h"
#include "addon/special_methods.h"
#include "base/annotated_mutex.h"
#include "base/owner.h"
#include "driver/driver.h"

namespace ostler {
namespace {

void callHost(napi_env env, napi_value callback, void*, void*) noexcept {
  // Both are null while the environment is being torn down.
  if (env == nullptr || callback == nullptr) return;
  napi_value global = nullptr, exception = nullptr;
  napi_get_global(env, &global);
  if (napi_call_function(env, global, callback, 0, nullptr, nullptr) != napi_pending_exception) return;
  // Without this call Node would only print a warning about the exception.
  if (napi_get_and_clear_last_exception(env, &exception) == napi_ok) napi_fatal_exception(env, exception);
}

void releaseFunction(napi_threadsafe_function function) {
  napi_release_threadsafe_function(function, napi_tsfn_release);
}
using ThreadsafeFunction = Owner<std::remove_pointer_t<napi_threadsafe_function>, releaseFunction>;

ThreadsafeFunction makeThreadsafeFunction(napi_env env, napi_value callback) {
  napi_value name = nullptr;
  napi_create_string_utf8(env, "escapeCallback", NAPI_AUTO_LENGTH, &name);
  napi_threadsafe_function result = nullptr;
  const napi_status status = napi_create_threadsafe_function(env, callback, nullptr, name, 0, 1, nullptr,
                                                             nullptr, nullptr, callHost, &result);
  return ThreadsafeFunction(status == napi_ok ? result : nullptr);
}

// watcherEnvironment is the environment that last started the watcher. The mutex is held while the
// watcher is started, or is stopped because its environment ends, so that both change together.
Mutex environmentMutex;
napi_env watcherEnvironment OSTLER_GUARDED_BY(environmentMutex) = nullptr;

// Contains the environments of this thread that have the cleanup hook.
thread_local std::set<napi_env> hookedEnvironments;

// This cleanup hook stops the watcher when its environment ends, for example because a Worker is
// terminated. It runs before the environment destroys the thread-safe function.
void stopWithEnvironment(void* environment) noexcept {
  hookedEnvironments.erase(static_cast<napi_env>(environment));
  const MutexLock held(environmentMutex);
  if (watcherEnvironment == environment) driverUnlock();
}

void hookEnvironment(napi_env env) {
  // Each thread-safe function has a hook of its own. Hooks run in reverse order, so ours has to be
  // added again after each new function.
  if (!hookedEnvironments.insert(env).second) napi_remove_env_cleanup_hook(env, stopWithEnvironment, env);
  napi_add_env_cleanup_hook(env, stopWithEnvironment, env);
}

}  // namespace

napi_value lock(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    const std::vector<napi_value> arguments = fetchArguments(env, info, 1);
    ThreadsafeFunction onEscape = makeThreadsafeFunction(env, arguments[0]);
    if (onEscape == nullptr) return toValue(env, false);
    hookEnvironment(env);
    const MutexLock held(environmentMutex);
    if (!driverLock(onEscape.get())) return toValue(env, false);
    static_cast<void>(onEscape.release());  // the watcher owns it now
    watcherEnvironment = env;
    return toValue(env, true);
  });
}

}  // namespace ostler
