#include "backend/interruption.h"

#include <atomic>

namespace ostler {
namespace {

std::atomic<std::int32_t> runningCall{0};
std::atomic<std::int32_t> interruptedCall{0};
bool isInterruptible = true;  // used only on the thread of the calls

}  // namespace

void startCall(std::int32_t call) { runningCall = call; }

void interruptCall(std::int32_t call) { interruptedCall = call; }

void throwIfInterrupted() {
  const std::int32_t call = runningCall;
  if (isInterruptible && call != 0 && call == interruptedCall) throw Interrupted();
}

Uninterrupted::Uninterrupted() { isInterruptible = false; }
Uninterrupted::~Uninterrupted() { isInterruptible = true; }

}  // namespace ostler
