#pragma once

#include <memory>
#include <string>

#include "backend/clipboard.h"
#include "wayland/portal/glib_handles.h"
#include "wayland/portal/portal_call.h"
#include "wayland/portal/signal_subscription.h"

namespace ostler {

// The signal by which the portal reports who owns the clipboard, and with which types.
inline constexpr SignalMatch clipboardOwnerChange{portalBusName, clipboardInterface, "SelectionOwnerChanged",
                                                  portalObjectPath};

// Makes a clipboard from that of a started session, which has to outlive it. `owner` has the
// parameters of the last clipboardOwnerChange, or is null.
std::unique_ptr<Clipboard> makePortalClipboard(GDBusConnection* connection, std::string sessionHandle,
                                               const Variant& owner);

}  // namespace ostler
