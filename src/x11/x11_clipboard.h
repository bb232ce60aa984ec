#pragma once

#include <functional>
#include <memory>

#include "backend/clipboard.h"

namespace ostler {

// Makes a clipboard that is the CLIPBOARD selection of the X server that DISPLAY names. Returns
// null when there is no such server.
std::unique_ptr<Clipboard> makeX11Clipboard();

// Offers a content that another process has offered since `since` (Clipboard::offeredAt), unless a
// third one has copied something meanwhile. Then calls `taken` and returns when another program
// copies something, or at once when one has already.
void keepX11Clipboard(ClipboardContent content, std::uint32_t since, const std::function<void()>& taken);

}  // namespace ostler
