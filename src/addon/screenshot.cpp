#include "addon/call_frame.h"
#include "addon/special_methods.h"
#include "driver/driver.h"

namespace ostler {
namespace {

// Subtracts with 32-bit wraparound, as JavaScript's int32 operators do.
std::int32_t distance(std::int32_t from, std::int32_t to) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from));
}

}  // namespace

// The host passes the crop as two corners.
napi_value screenshot(napi_env env, napi_callback_info info) {
  return guarded(env, nullValue(env), [&] {
    const std::vector<napi_value> arguments = fetchArguments(env, info, 10);
    const auto scope = readString(env, arguments[0]);
    const auto included = readOptionalStringList(env, arguments[1]);
    const auto excluded = readStringList(env, arguments[2]);
    const auto integer = [&](std::size_t index) { return read<std::int32_t>(env, arguments[index]); };
    const Size target{integer(3), integer(4)};
    const std::int32_t left = integer(5), top = integer(6), right = integer(7), bottom = integer(8);
    const Rect crop{left, top, distance(left, right), distance(top, bottom)};
    const auto quality = read<double>(env, arguments[9]);
    return toValue(env, driverScreenshot(scope, target, included, excluded, crop, quality));
  });
}

}  // namespace ostler
