#pragma once

#include <concepts>
#include <exception>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <node_api.h>

#include "addon/arguments.h"
#include "addon/results.h"
#include "base/exit_guard.h"

namespace ostler {

// Runs `body` and returns its result. Turns an exception into a pending JavaScript error and
// returns `fallback`, which JavaScript never sees.
template <typename Body>
napi_value guarded(napi_env env, napi_value fallback, Body body) noexcept {
  const ExitGuard exitGuard;
  try {
    return body();
  } catch (const PendingException&) {
    // The pending exception reaches JavaScript.
  } catch (const std::exception& error) {
    napi_throw_error(env, nullptr, error.what());
  } catch (...) {
    napi_throw_error(env, nullptr, "Unknown Linux native addon error");
  }
  return fallback;
}

// Returns the value that a callback with this result type returns after an error.
template <typename Result>
napi_value fallbackFor(napi_env env) {
  if constexpr (std::same_as<Result, std::vector<unsigned char>> ||
                std::same_as<Result, std::optional<WindowInfo>>) {
    return nullValue(env);
  } else if constexpr (std::same_as<Result, std::string>) {
    return toValue(env, std::string());
  } else {
    return undefinedValue(env);
  }
}

// Makes a callback from a driver function. The types of its parameters decide how the arguments are
// read, the type of its result decides what is returned.
template <auto function>
struct Forward;

template <typename Result, typename... Parameters, Result (*function)(Parameters...)>
struct Forward<function> {
  static napi_value callback(napi_env env, napi_callback_info info) {
    return guarded(env, fallbackFor<Result>(env),
                   [&] { return call(env, info, std::index_sequence_for<Parameters...>()); });
  }

private:
  template <std::size_t... index>
  static napi_value call(napi_env env, [[maybe_unused]] napi_callback_info info,
                         std::index_sequence<index...>) {
    std::tuple<std::remove_cvref_t<Parameters>...> values;
    if constexpr (sizeof...(Parameters) > 0) {
      const std::vector<napi_value> arguments = fetchArguments(env, info, sizeof...(Parameters));
      // Braces evaluate their elements from left to right.
      values = {read<std::remove_cvref_t<Parameters>>(env, arguments[index])...};
    }
    if constexpr (std::is_void_v<Result>) {
      std::apply(function, values);
      return undefinedValue(env);
    } else {
      return toValue(env, std::apply(function, values));
    }
  }
};

template <auto function>
constexpr napi_callback forward = Forward<function>::callback;

}  // namespace ostler
