#pragma once

#include <memory>

#include <X11/Xlib.h>

namespace ostler {

// Catches the X errors of requests that are sent on one connection while the trap exists. Xlib's
// default error handler would end the process. All other errors reach the handler as usual.
class ErrorTrap {
public:
  explicit ErrorTrap(Display* display);
  ErrorTrap(const ErrorTrap&) = delete;
  ErrorTrap& operator=(const ErrorTrap&) = delete;
  // Waits until the server has answered all requests.
  ~ErrorTrap();

  // Returns whether an error has arrived so far. Call XSync first to wait for all answers.
  bool caught() const;

private:
  struct Handler;
  const std::unique_ptr<Handler> handler;
};

}  // namespace ostler
