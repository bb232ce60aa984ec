#pragma once

#include <chrono>

namespace ostler {

// Sleeps for the whole duration, even when signals arrive meanwhile.
void sleepFor(std::chrono::nanoseconds duration);

}  // namespace ostler
