#pragma once

#include <cstdint>
#include <stdexcept>

namespace ostler {

// An operation throws this when another thread has interrupted it.
class Interrupted : public std::runtime_error {
public:
  Interrupted() : std::runtime_error("The call was interrupted.") {}
};

// Each call has a number above 0, so that an interruption that comes late cannot hit the next call.

// Call this before an operation, on its thread. 0 means that no call is running.
void startCall(std::int32_t call);

// Makes the call with this number stop before its next step. Any thread may call this, also before
// the call starts.
void interruptCall(std::int32_t call);

void throwIfInterrupted();

// While this exists, throwIfInterrupted() returns: for events that must not be separated.
class Uninterrupted {
public:
  Uninterrupted();
  Uninterrupted(const Uninterrupted&) = delete;
  Uninterrupted& operator=(const Uninterrupted&) = delete;
  ~Uninterrupted();
};

}  // namespace ostler
