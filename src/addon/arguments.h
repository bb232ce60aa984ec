#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <node_api.h>

namespace ostler {

// These functions convert JavaScript arguments to native values. They reject nothing: a missing
// value, or one of the wrong type, becomes the zero value of the native type.

using Strings = std::vector<std::string>;

// Thrown when JavaScript code that ran during a conversion, such as a getter in an array, has
// thrown. That exception is pending and reaches the host unchanged.
struct PendingException {};

std::vector<napi_value> fetchArguments(napi_env env, napi_callback_info info, std::size_t count);

std::string readString(napi_env env, napi_value value);
Strings readStringList(napi_env env, napi_value value);
std::optional<Strings> readOptionalStringList(napi_env env, napi_value value);

template <typename T>
T read(napi_env env, napi_value value);

template <>
inline double read(napi_env env, napi_value value) {
  double number = 0.0;
  napi_get_value_double(env, value, &number);
  return number;
}

template <>
inline std::int32_t read(napi_env env, napi_value value) {
  std::int32_t number = 0;
  napi_get_value_int32(env, value, &number);
  return number;
}

template <>
inline bool read(napi_env env, napi_value value) {
  bool result = false;
  napi_get_value_bool(env, value, &result);
  return result;
}

template <>
inline std::string read(napi_env env, napi_value value) {
  return readString(env, value);
}

template <>
inline Strings read(napi_env env, napi_value value) {
  return readStringList(env, value);
}

template <>
inline std::optional<Strings> read(napi_env env, napi_value value) {
  return readOptionalStringList(env, value);
}

}  // namespace ostler
