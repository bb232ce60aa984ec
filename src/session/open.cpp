#include "session/open.h"

#include <cstdint>
#include <string>
#include <vector>

#include "addon/call_frame.h"
#include "session/session.h"

namespace ostler {
namespace {

napi_value property(napi_env env, napi_value object, const char* name) {
  napi_value value = undefinedValue(env);
  napi_get_named_property(env, object, name, &value);
  return value;
}

// Calls a function of the options, if there is one of that name.
void call(napi_env env, napi_value options, const char* name, const std::vector<napi_value>& arguments) {
  const napi_value function = property(env, options, name);
  napi_valuetype type = napi_undefined;
  napi_typeof(env, function, &type);
  if (type != napi_function) return;
  const napi_status status =
      napi_call_function(env, options, function, arguments.size(), arguments.data(), nullptr);
  if (status != napi_ok) throw PendingException();
}

}  // namespace

napi_value open(napi_env env, napi_callback_info info) {
  return guarded(env, undefinedValue(env), [&] {
    const napi_value options = fetchArguments(env, info, 1)[0];
    PortalPermission permission;
    permission.clipboard = true;
    permission.persist = read<bool>(env, property(env, options, "persist"));
    permission.allMonitors = read<bool>(env, property(env, options, "allMonitors"));
    permission.token = read<std::string>(env, property(env, options, "token"));
    permission.asking = [&] { call(env, options, "asking", {}); };
    permission.granted = [&](const std::string& token) {
      call(env, options, "granted", {toValue(env, token)});
    };
    std::int32_t record = -1;
    napi_get_value_int32(env, property(env, options, "record"), &record);
    openSession(HeldRecord(record), permission);
    return undefinedValue(env);
  });
}

}  // namespace ostler
