#include "x11/x11_monitors.h"

#include <cstdlib>
#include <cstring>

#include <X11/extensions/randr.h>
#include <X11/extensions/randrproto.h>
#include <sys/uio.h>
#include <xcb/xcbext.h>

namespace ostler {
namespace {

template <typename T>
using Reply = Owner<T, std::free>;

xcb_extension_t randr{"RANDR", 0};

// xcb closes the connection when the extension of a request is missing.
bool hasRandr(xcb_connection_t* connection) {
  const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &randr);
  return extension != nullptr && extension->present != 0;
}

// Sends a request of RandR and returns its number.
template <typename Request>
unsigned send(xcb_connection_t* connection, Request request, bool isAnswered) {
  const xcb_protocol_request_t protocol{1, &randr, request.randrReqType,
                                        static_cast<std::uint8_t>(isAnswered ? 0 : 1)};
  iovec parts[3]{};  // xcb needs the first two for itself
  parts[2] = {&request, sizeof request};
  return xcb_send_request(connection, isAnswered ? XCB_REQUEST_CHECKED : 0, parts + 2, &protocol);
}

// Sends a request of RandR and returns its reply with everything that follows it, or null.
template <typename Request>
Reply<unsigned char> ask(xcb_connection_t* connection, const Request& request) {
  const unsigned sequence = send(connection, request, true);
  xcb_generic_error_t* error = nullptr;
  Reply<unsigned char> reply(static_cast<unsigned char*>(xcb_wait_for_reply(connection, sequence, &error)));
  const Reply<xcb_generic_error_t> owner(error);
  return reply;
}

std::string atomName(xcb_connection_t* connection, xcb_atom_t atom) {
  const Reply<xcb_get_atom_name_reply_t> reply(
      xcb_get_atom_name_reply(connection, xcb_get_atom_name(connection, atom), nullptr));
  if (reply == nullptr) return {};
  return {xcb_get_atom_name_name(reply.get()),
          static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

template <typename T>
T readAt(const unsigned char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

xcb_window_t rootOf(xcb_connection_t* connection) {
  return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

bool hasMonitors(xcb_connection_t* connection) {
  if (!hasRandr(connection)) return false;
  xRRQueryVersionReq version{};
  version.randrReqType = X_RRQueryVersion;
  version.majorVersion = 1;
  version.minorVersion = 5;
  const auto versions = ask(connection, version);
  if (versions == nullptr) return false;
  const auto supported = readAt<xRRQueryVersionReply>(versions.get());
  return supported.majorVersion > 1 || supported.minorVersion >= 5;
}

// Makes the server report every change of the monitors. Of one that a program has defined itself,
// as with `xrandr --setmonitor`, only the event of the root window reports it.
void selectChanges(xcb_connection_t* connection) {
  const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection, rootOf(connection), XCB_CW_EVENT_MASK, &structure);
  xRRSelectInputReq request{};
  request.randrReqType = X_RRSelectInput;
  request.window = rootOf(connection);
  request.enable = RRScreenChangeNotifyMask | RRCrtcChangeNotifyMask | RROutputChangeNotifyMask;
  send(connection, request, false);
}

std::vector<Monitor> askForMonitors(xcb_connection_t* connection) {
  xRRGetMonitorsReq request{};
  request.randrReqType = X_RRGetMonitors;
  request.window = rootOf(connection);
  request.get_active = 1;
  const auto reply = ask(connection, request);
  if (reply == nullptr) return {};
  const auto head = readAt<xRRGetMonitorsReply>(reply.get());
  const unsigned char* const end = reply.get() + sz_xRRGetMonitorsReply + std::size_t{head.length} * 4;
  std::vector<Monitor> monitors;
  const unsigned char* place = reply.get() + sz_xRRGetMonitorsReply;
  for (CARD32 i = 0; i < head.nmonitors && end - place >= sz_xRRMonitorInfo; ++i) {
    const auto info = readAt<xRRMonitorInfo>(place);
    monitors.push_back({atomName(connection, info.name), {info.x, info.y, info.width, info.height}});
    place += sz_xRRMonitorInfo + std::size_t{info.noutput} * 4;
  }
  return monitors;
}

}  // namespace

// Returns whether the server can be asked for its monitors.
bool X11Monitors::connect() {
  if (connection == nullptr) {
    connection.reset(xcb_connect(name.c_str(), nullptr));
    isAvailable = xcb_connection_has_error(connection.get()) == 0 && hasMonitors(connection.get());
    if (isAvailable) selectChanges(connection.get());
  }
  return isAvailable && xcb_connection_has_error(connection.get()) == 0;
}

// Returns whether the server has reported something.
bool X11Monitors::takeEvents() {
  bool isAny = false;
  while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) isAny = true;
  return isAny;
}

std::vector<Monitor> X11Monitors::read() {
  if (!connect()) return {};
  if (takeEvents() || !known) known = askForMonitors(connection.get());
  return *known;
}

}  // namespace ostler
