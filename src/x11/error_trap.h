#pragma once

#include <memory>

#include <X11/Xlib.h>

namespace ostler {

// Catches the X errors of the requests that are sent on one connection while it
// lives, where Xlib's default error handler would end the process. All other
// errors go their usual way.
class ErrorTrap {
public:
  explicit ErrorTrap(Display* display);
  ErrorTrap(const ErrorTrap&) = delete;
  ErrorTrap& operator=(const ErrorTrap&) = delete;
  // Waits until the server has answered all requests.
  ~ErrorTrap();

  // Whether an error has arrived yet; after XSync, whether there was one.
  bool caught() const;

private:
  struct Handler;
  const std::unique_ptr<Handler> handler;
};

}  // namespace ostler
