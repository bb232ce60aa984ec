#pragma once

#include <chrono>

namespace ostler {

// Waits for the whole time, whatever signals arrive meanwhile.
void sleepFor(std::chrono::nanoseconds duration);

}  // namespace ostler
