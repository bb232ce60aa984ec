#pragma once

#include <X11/Xlib.h>

namespace ostler {

// Has XGetImage on this connection answer null when the server refuses, as it
// does once the screen has become smaller than it was, where Xlib's default
// error handler would end the process. All other errors still reach that.
void letCaptureFail(Display* display);

}  // namespace ostler
