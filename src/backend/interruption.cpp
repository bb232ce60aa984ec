#include "backend/interruption.h"

#include <atomic>

namespace ostler {
namespace {

std::atomic<std::int32_t> runningCall{0};
std::atomic<std::int32_t> interruptedCall{0};

}  // namespace

void startCall(std::int32_t call) { runningCall = call; }

void interruptCall(std::int32_t call) { interruptedCall = call; }

void throwIfInterrupted() {
  const std::int32_t call = runningCall;
  if (call != 0 && call == interruptedCall) throw Interrupted();
}

}  // namespace ostler
