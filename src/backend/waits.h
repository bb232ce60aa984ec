#pragma once

#include <chrono>

namespace ostler {

// Input operations wait this long between events, on every platform.
namespace waits {
using std::chrono::milliseconds;
constexpr milliseconds afterMove{5};
constexpr milliseconds betweenPressAndRelease{10};
constexpr milliseconds betweenClicks{50};
constexpr milliseconds aroundDragPress{10};
constexpr milliseconds afterDragStep{5};
constexpr milliseconds afterCharacter{5};
}  // namespace waits

}  // namespace ostler
