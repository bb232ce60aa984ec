#pragma once

#include <string>

namespace ostler {

// The CLIPBOARD selection of the X server that DISPLAY names, whatever the
// session. Neither function uses the backend or its connection.

// The text of the selection. Empty when there is no X server, owner or answer.
std::string readClipboard();

// Hands `text` to the program xclip, which becomes the owner of the selection.
// Failures are not reported.
void writeClipboard(const std::string& text);

}  // namespace ostler
