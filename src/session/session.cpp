#include "session/session.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "driver/selection.h"
#include "driver/session.h"
#include "wayland/wayland_session.h"
#include "x11/x11_clipboard.h"
#include "x11/x11_session.h"

namespace ostler {
namespace {

std::unique_ptr<SessionBackend> makeSession(HeldRecord record, const PortalPermission& permission) {
  switch (chooseBackend()) {
    case BackendKind::wayland:
      return makeWaylandSession(std::move(record), permission);
    case BackendKind::x11:
      return makeX11Session(std::move(record));
    case BackendKind::none:
      break;
  }
  throw std::runtime_error(noSessionMessage);
}

// Both are destroyed when the process exits, the clipboard first.
std::unique_ptr<SessionBackend> session;
std::unique_ptr<Clipboard> clipboard;

}  // namespace

void openSession(HeldRecord record, const PortalPermission& permission) {
  if (session != nullptr) throw std::runtime_error("The session is open already.");
  session = makeSession(std::move(record), permission);
}

SessionBackend& openedSession() {
  if (session == nullptr) throw std::runtime_error("The session is not open.");
  return *session;
}

Clipboard* sessionClipboard() {
  if (clipboard == nullptr) clipboard = openedSession().makeClipboard();
  if (clipboard == nullptr) clipboard = makeX11Clipboard();
  return clipboard.get();
}

// The driver functions control the session.
Backend& backendInstance() { return openedSession(); }

}  // namespace ostler
