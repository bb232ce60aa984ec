#pragma once

#include <string>

namespace ostler {

// These functions read and write the CLIPBOARD selection of the X server that DISPLAY names, in
// every kind of session. They use neither the backend nor its connection.

// Returns an empty text when there is no X server, no owner or no answer.
std::string readClipboard();

// Hands `text` to the program xclip, which becomes the owner of the selection. Failures are not
// reported.
void writeClipboard(const std::string& text);

}  // namespace ostler
