#include "session/monitors.h"

#include "addon/call_frame.h"
#include "session/session.h"

namespace ostler {
namespace {

napi_value toObject(napi_env env, const Monitor& monitor) {
  napi_value object = nullptr, scale = nullptr;
  napi_create_object(env, &object);
  napi_create_double(env, monitor.scale, &scale);
  napi_set_named_property(env, object, "id", toValue(env, monitor.id));
  napi_set_named_property(env, object, "x", toValue(env, monitor.area.x));
  napi_set_named_property(env, object, "y", toValue(env, monitor.area.y));
  napi_set_named_property(env, object, "width", toValue(env, monitor.area.width));
  napi_set_named_property(env, object, "height", toValue(env, monitor.area.height));
  napi_set_named_property(env, object, "scale", scale);
  return object;
}

}  // namespace

napi_value monitors(napi_env env, napi_callback_info) {
  return guarded(env, undefinedValue(env), [&] {
    napi_value array = nullptr;
    napi_create_array(env, &array);
    std::uint32_t index = 0;
    for (const Monitor& monitor : openedSession().monitors()) {
      napi_set_element(env, array, index++, toObject(env, monitor));
    }
    return array;
  });
}

}  // namespace ostler
