#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostler {

// Input with more choice than the driver functions offer. Unless `moves` is true, the pointer stays
// where it is and the coordinates count for nothing. Durations are in milliseconds.

void moveFor(double x, double y, double duration);
void clickHolding(const std::string& button, std::int32_t count, const std::vector<std::string>& keys,
                  bool moves, double x, double y);
void dragHolding(double fromX, double fromY, double toX, double toY, const std::string& button,
                 const std::vector<std::string>& keys, double duration);
void setButton(const std::string& button, bool pressed, bool moves, double x, double y);

}  // namespace ostler
