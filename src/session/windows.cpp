#include "session/windows.h"

#include "addon/results.h"
#include "session/session.h"

namespace ostler {
namespace {

napi_value toValue(napi_env env, double value) {
  napi_value result = nullptr;
  napi_create_double(env, value, &result);
  return result;
}

napi_value toValue(napi_env env, std::optional<std::int32_t> value) {
  return value ? ostler::toValue(env, *value) : nullValue(env);
}

}  // namespace

napi_value toValue(napi_env env, const std::vector<DesktopWindow>& windows) {
  napi_value array = nullptr;
  napi_create_array_with_length(env, windows.size(), &array);
  std::uint32_t index = 0;
  for (const DesktopWindow& window : windows) {
    napi_value object = nullptr;
    napi_create_object(env, &object);
    const auto set = [&](const char* name, napi_value value) {
      napi_set_named_property(env, object, name, value);
    };
    set("id", toValue(env, static_cast<double>(window.id)));
    set("title", ostler::toValue(env, window.title));
    set("class", ostler::toValue(env, window.className));
    set("pid", toValue(env, window.pid));
    set("x", ostler::toValue(env, window.bounds.x));
    set("y", ostler::toValue(env, window.bounds.y));
    set("width", ostler::toValue(env, window.bounds.width));
    set("height", ostler::toValue(env, window.bounds.height));
    set("desktop", toValue(env, window.desktop));
    set("active", ostler::toValue(env, window.isActive));
    napi_set_element(env, array, index++, object);
  }
  return array;
}

std::vector<DesktopWindow> windows() { return openedSession().windows(); }

void activate(double id) { openedSession().activate(static_cast<std::uint32_t>(id)); }

}  // namespace ostler
