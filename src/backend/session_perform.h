#pragma once

#include "backend/session_backend.h"

namespace ostler {

// Runs an operation. When it fails or is interrupted, what it has pressed is released.
template <typename Operation>
auto SessionBackend::perform(Operation operation) {
  const HeldRecord::Codes before = record.held();
  try {
    throwIfInterrupted();
    return operation();
  } catch (...) {
    startCall(0);  // an interruption must not stop the releases
    const HeldRecord::Codes pressed = record.held() & ~before;
    for (std::uint32_t code = 0; code < HeldRecord::firstLasting; ++code) {
      if (pressed.test(code)) release(code);
    }
    throw;
  }
}

}  // namespace ostler
