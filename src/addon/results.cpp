#include "addon/results.h"

#include <initializer_list>

namespace ostler {
namespace {

struct Property {
  const char* name;
  napi_value value;
};

napi_value makeObject(napi_env env, std::initializer_list<Property> properties) {
  napi_value object = nullptr;
  napi_create_object(env, &object);
  for (const Property& property : properties) {
    napi_set_named_property(env, object, property.name, property.value);
  }
  return object;
}

napi_value rectToObject(napi_env env, const Rect& rect) {
  return makeObject(env, {{"x", toValue(env, rect.x)},
                          {"y", toValue(env, rect.y)},
                          {"width", toValue(env, rect.width)},
                          {"height", toValue(env, rect.height)}});
}

napi_value displayInfoToObject(napi_env env, const DisplayInfo& display) {
  return makeObject(env, {{"displayId", toValue(env, display.displayId)},
                          {"label", toValue(env, display.label)},
                          {"bounds", rectToObject(env, display.bounds)},
                          {"isPrimary", toValue(env, display.isPrimary)}});
}

template <typename List, typename ToElement>
napi_value makeArray(napi_env env, const List& list, ToElement toElement) {
  std::vector<napi_value> elements;
  elements.reserve(list.size());
  for (const auto& item : list) elements.push_back(toElement(env, item));
  napi_value array = nullptr;
  napi_create_array_with_length(env, elements.size(), &array);
  for (std::uint32_t index = 0; index < elements.size(); ++index) {
    napi_set_element(env, array, index, elements[index]);
  }
  return array;
}

napi_value windowInfoToObject(napi_env env, const WindowInfo& window) {
  const auto toString = [](napi_env environment, const std::string& text) {
    return toValue(environment, text);
  };
  return makeObject(env, {{"windowId", toValue(env, window.windowId)},
                          {"applicationId", toValue(env, window.applicationId)},
                          {"applicationName", toValue(env, window.applicationName)},
                          {"applicationNames", makeArray(env, window.applicationNames, toString)},
                          {"title", toValue(env, window.title)},
                          {"displayId", toValue(env, window.displayId)},
                          {"bounds", rectToObject(env, window.bounds)},
                          {"isMinimized", toValue(env, window.isMinimized)}});
}

}  // namespace

napi_value undefinedValue(napi_env env) {
  napi_value result = nullptr;
  napi_get_undefined(env, &result);
  return result;
}

napi_value nullValue(napi_env env) {
  napi_value result = nullptr;
  napi_get_null(env, &result);
  return result;
}

napi_value toValue(napi_env env, bool value) {
  napi_value result = nullptr;
  napi_get_boolean(env, value, &result);
  return result;
}

napi_value toValue(napi_env env, std::int32_t value) {
  napi_value result = nullptr;
  napi_create_int32(env, value, &result);
  return result;
}

napi_value toValue(napi_env env, const std::string& value) {
  napi_value result = nullptr;
  napi_create_string_utf8(env, value.data(), value.size(), &result);
  return result;
}

napi_value toValue(napi_env env, const Point& point) {
  return makeObject(env, {{"x", toValue(env, point.x)}, {"y", toValue(env, point.y)}});
}

napi_value toValue(napi_env env, const Size& size) {
  return makeObject(env, {{"width", toValue(env, size.width)},
                          {"height", toValue(env, size.height)},
                          {"pixelWidth", toValue(env, size.width)},
                          {"pixelHeight", toValue(env, size.height)}});
}

napi_value toValue(napi_env env, const Capabilities& capabilities) {
  return makeObject(env, {{"discovery", toValue(env, capabilities.discovery)},
                          {"application", toValue(env, capabilities.application)},
                          {"window", toValue(env, capabilities.window)},
                          {"state", toValue(env, capabilities.state)}});
}

napi_value toValue(napi_env env, const std::vector<unsigned char>& bytes) {
  if (bytes.empty()) return nullValue(env);
  napi_value buffer = nullptr;
  napi_create_buffer_copy(env, bytes.size(), bytes.data(), nullptr, &buffer);
  return buffer;
}

napi_value toValue(napi_env env, const std::vector<DisplayInfo>& displays) {
  return makeArray(env, displays, displayInfoToObject);
}

napi_value toValue(napi_env env, const std::vector<WindowInfo>& windows) {
  return makeArray(env, windows, windowInfoToObject);
}

napi_value toValue(napi_env env, const std::optional<WindowInfo>& window) {
  return window ? windowInfoToObject(env, *window) : nullValue(env);
}

}  // namespace ostler
