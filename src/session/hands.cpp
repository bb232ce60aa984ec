#include "session/hands.h"

#include <chrono>

#include "backend/waits.h"
#include "base/sleep.h"
#include "session/session.h"

namespace ostler {
namespace {

std::chrono::nanoseconds milliseconds(double count) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double, std::milli>(count));
}

}  // namespace

void moveFor(double x, double y, double duration) { openedSession().glide({x, y}, milliseconds(duration)); }

void clickHolding(const std::string& button, std::int32_t count, const std::vector<std::string>& keys,
                  bool moves, double x, double y) {
  const auto at = moves ? std::optional(Place{x, y}) : std::nullopt;
  openedSession().click(at, buttonNamed(button), count, keys);
}

void dragHolding(double fromX, double fromY, double toX, double toY, const std::string& button,
                 const std::vector<std::string>& keys, double duration) {
  openedSession().drag({fromX, fromY}, {toX, toY}, buttonNamed(button), keys, milliseconds(duration));
}

void setButton(const std::string& button, bool pressed, bool moves, double x, double y) {
  if (moves) {
    openedSession().mouseMove(x, y);
    sleepFor(waits::afterMove);
  }
  openedSession().setButton(buttonNamed(button), pressed);
}

}  // namespace ostler
