#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/file_descriptor.h"
#include "wayland/portal/glib_handles.h"

namespace ostler {

// Synchronous calls of the desktop portal.
//
// Floating parameters are consumed. Failures are thrown as std::runtime_error.

inline constexpr char portalBusName[] = "org.freedesktop.portal.Desktop";
inline constexpr char portalObjectPath[] = "/org/freedesktop/portal/desktop";
inline constexpr char remoteDesktopInterface[] = "org.freedesktop.portal.RemoteDesktop";
inline constexpr char screenCastInterface[] = "org.freedesktop.portal.ScreenCast";
inline constexpr char sessionInterface[] = "org.freedesktop.portal.Session";
inline constexpr char clipboardInterface[] = "org.freedesktop.portal.Clipboard";

// Whether that many descriptors can be opened. GLib aborts the process if it has none left for the
// main context that each of its blocking calls creates.
bool haveSpareDescriptors(int count) noexcept;

// A unique handle token that is valid in an object path.
std::string newPortalToken();

// The portal refused a Notify* method because the session has an EIS channel. GNOME does so since
// 45, KDE since 6.1.
class PortalInputRefusal : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Frees the error, which may be null, and throws the prefix with the error's message: as
// PortalInputRefusal if the message says so.
[[noreturn]] void throwGError(std::string_view prefix, GError* error);

// A uint32 property of the ScreenCast interface.
std::uint32_t readPortalProperty(GDBusConnection* connection, const char* name);

// Calls a method that answers with a Response signal, and waits for the signal as long as the user
// takes. The last parameter is the dictionary of options, with a handle_token. Returns the
// dictionary of the Response.
Variant portalRequest(GDBusConnection* connection, const char* interfaceName, const char* method,
                      GVariant* parameters);

// Calls a RemoteDesktop method that needs no Response. Throws PortalInputRefusal if the portal
// refuses such calls because of EIS.
void portalInputCall(GDBusConnection* connection, const char* method, GVariant* parameters);

// The result of a method that hands out a descriptor. Only a lack of file descriptors is thrown,
// because a later attempt may succeed.
struct PortalDescriptor {
  bool answered = false;      // the call itself succeeded
  FileDescriptor descriptor;  // none when the call failed or the reply held none
  GLibError error;            // may be null even then
};
PortalDescriptor portalDescriptorCall(GDBusConnection* connection, const char* interfaceName,
                                      const char* method, GVariant* parameters);
PortalDescriptor portalDescriptorCall(GDBusConnection* connection, const char* interfaceName,
                                      const char* method, const std::string& sessionHandle);

}  // namespace ostler
