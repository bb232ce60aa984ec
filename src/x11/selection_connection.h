#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include <xcb/xcb.h>

#include "base/owner.h"

namespace ostler {

template <typename Reply>
using XcbReply = std::unique_ptr<Reply, Deleter<std::free>>;

// A connection to the X server that DISPLAY names, with an invisible window, for a selection. It
// uses XCB: there a server that goes away does not end the process, errors of requests are events
// that can be ignored (the window of another program may vanish at any time), and one thread can
// wait for events while another sends requests.
class SelectionConnection {
public:
  // Throws std::runtime_error.
  SelectionConnection();

  xcb_connection_t* get() const { return connection.get(); }
  xcb_window_t window() const { return windowId; }
  // Returns false once the server has gone or the connection was shut down.
  bool isOpen() const { return xcb_connection_has_error(connection.get()) == 0; }

  // Returns XCB_ATOM_NONE when the connection has ended.
  xcb_atom_t atom(std::string_view name) const;
  std::string atomName(xcb_atom_t atom) const;
  xcb_window_t ownerOf(xcb_atom_t selection) const;
  void flush() const { xcb_flush(connection.get()); }

private:
  Owner<xcb_connection_t, xcb_disconnect> connection;
  xcb_window_t windowId = XCB_WINDOW_NONE;
};

}  // namespace ostler
