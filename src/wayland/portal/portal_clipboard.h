#pragma once

#include <memory>
#include <string>

#include "backend/clipboard.h"
#include "wayland/portal/glib_handles.h"

namespace ostler {

// Asks for the clipboard in a session that has not been started. Returns false when the portal has
// no such interface. Whether the user agrees is in the answer of Start.
bool requestPortalClipboard(GDBusConnection* connection, const std::string& sessionHandle);

// Makes a clipboard from that of a started session, which has to outlive it.
std::unique_ptr<Clipboard> makePortalClipboard(GDBusConnection* connection, std::string sessionHandle);

}  // namespace ostler
