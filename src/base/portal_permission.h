#pragma once

#include <functional>
#include <string>

namespace ostler {

// How a session asks the desktop portal for the user's permission.
struct PortalPermission {
  bool allMonitors = false;  // the user may share several
  bool clipboard = false;    // asks for the clipboard too
  bool persist = false;      // asks the portal to remember the permission
  std::string token;         // of the remembered permission, or empty
  // Called before the request that shows the dialog, if it is necessary.
  std::function<void()> asking;
  // Called as soon as the user has agreed, with the token of the next session. It is empty if the
  // portal remembers nothing. The previous token may be void from now on.
  std::function<void(const std::string& token)> granted;
};

}  // namespace ostler
