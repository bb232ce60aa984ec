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

// Sends a request of RandR and returns its reply with everything that follows it, or null.
template <typename Request>
Reply<unsigned char> ask(xcb_connection_t* connection, Request request) {
  static xcb_extension_t randr{"RANDR", 0};
  const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &randr);
  // xcb closes the connection when a request's extension is missing.
  if (extension == nullptr || extension->present == 0) return nullptr;
  const xcb_protocol_request_t protocol{1, &randr, request.randrReqType, 0};
  iovec parts[3]{};  // xcb needs the first two for itself
  parts[2] = {&request, sizeof request};
  const unsigned sequence = xcb_send_request(connection, XCB_REQUEST_CHECKED, parts + 2, &protocol);
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

}  // namespace

bool X11Monitors::connect() {
  if (connection == nullptr) connection.reset(xcb_connect(name.c_str(), nullptr));
  return xcb_connection_has_error(connection.get()) == 0;
}

std::vector<Monitor> X11Monitors::read() {
  if (!connect()) return {};
  xRRQueryVersionReq version{};
  version.randrReqType = X_RRQueryVersion;
  version.majorVersion = 1;
  version.minorVersion = 5;
  const auto versions = ask(connection.get(), version);
  if (versions == nullptr) return {};
  const auto supported = readAt<xRRQueryVersionReply>(versions.get());
  if (supported.majorVersion == 1 && supported.minorVersion < 5) return {};

  xRRGetMonitorsReq request{};
  request.randrReqType = X_RRGetMonitors;
  request.window = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
  request.get_active = 1;
  const auto reply = ask(connection.get(), request);
  if (reply == nullptr) return {};
  const auto head = readAt<xRRGetMonitorsReply>(reply.get());
  const unsigned char* const end = reply.get() + sz_xRRGetMonitorsReply + std::size_t{head.length} * 4;
  std::vector<Monitor> monitors;
  const unsigned char* place = reply.get() + sz_xRRGetMonitorsReply;
  for (CARD32 i = 0; i < head.nmonitors && end - place >= sz_xRRMonitorInfo; ++i) {
    const auto info = readAt<xRRMonitorInfo>(place);
    monitors.push_back({atomName(connection.get(), info.name), {info.x, info.y, info.width, info.height}});
    place += sz_xRRMonitorInfo + std::size_t{info.noutput} * 4;
  }
  return monitors;
}

}  // namespace ostler
