#pragma once

#include <memory>
#include <string>

#include "backend/clipboard.h"
#include "wayland/portal/glib_handles.h"

namespace ostler {

// Makes a clipboard from that of a started session, which has to outlive it.
std::unique_ptr<Clipboard> makePortalClipboard(GDBusConnection* connection, std::string sessionHandle);

}  // namespace ostler
