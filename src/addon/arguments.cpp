#include "addon/arguments.h"

namespace ostler {

std::vector<napi_value> fetchArguments(napi_env env, napi_callback_info info, std::size_t count) {
  std::vector<napi_value> arguments(count, nullptr);
  napi_get_cb_info(env, info, &count, arguments.data(), nullptr, nullptr);
  return arguments;
}

std::string readString(napi_env env, napi_value value) {
  std::size_t length = 0;
  napi_get_value_string_utf8(env, value, nullptr, 0, &length);
  if (length == 0) return {};
  std::vector<char> buffer(length + 1, '\0');
  napi_get_value_string_utf8(env, value, buffer.data(), buffer.size(), nullptr);
  return buffer.data();  // ends at the first NUL
}

Strings readStringList(napi_env env, napi_value value) {
  if (value == nullptr) return {};
  bool isArray = false;
  napi_is_array(env, value, &isArray);
  if (!isArray) return {};
  std::uint32_t length = 0;
  napi_get_array_length(env, value, &length);
  Strings strings;
  strings.reserve(length);
  for (std::uint32_t index = 0; index < length; ++index) {
    napi_value element = nullptr;
    if (napi_get_element(env, value, index, &element) != napi_ok) throw PendingException();
    strings.push_back(readString(env, element));
  }
  return strings;
}

std::optional<Strings> readOptionalStringList(napi_env env, napi_value value) {
  if (value == nullptr) return std::nullopt;
  napi_valuetype type = napi_undefined;
  napi_typeof(env, value, &type);
  if (type == napi_undefined || type == napi_null) return std::nullopt;
  return readStringList(env, value);
}

}  // namespace ostler
