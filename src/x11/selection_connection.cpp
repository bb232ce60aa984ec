#include "x11/selection_connection.h"

#include <cstdlib>
#include <stdexcept>

namespace ostler {

SelectionConnection::SelectionConnection() {
  const char* const name = std::getenv("DISPLAY");
  if (name == nullptr || *name == '\0')
    throw std::runtime_error("The clipboard needs an X server: DISPLAY is not set.");
  int screenNumber = 0;
  connection.reset(xcb_connect(name, &screenNumber));
  if (!isOpen())
    throw std::runtime_error(std::string("The clipboard needs an X server: unable to open ") + name + ".");
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(get()));
  for (; screenNumber > 0 && screens.rem > 1; --screenNumber) xcb_screen_next(&screens);
  windowId = xcb_generate_id(get());
  const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_create_window(get(), XCB_COPY_FROM_PARENT, windowId, screens.data->root, -10, -10, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
}

xcb_atom_t SelectionConnection::atom(std::string_view name) const {
  const xcb_intern_atom_cookie_t cookie =
      xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
  const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(get(), cookie, nullptr));
  return reply == nullptr ? static_cast<xcb_atom_t>(XCB_ATOM_NONE) : reply->atom;
}

std::string SelectionConnection::atomName(xcb_atom_t atom) const {
  xcb_generic_error_t* error = nullptr;
  const XcbReply<xcb_get_atom_name_reply_t> reply(
      xcb_get_atom_name_reply(get(), xcb_get_atom_name(get(), atom), &error));
  const XcbReply<xcb_generic_error_t> failure(error);
  if (reply == nullptr) return {};
  return {xcb_get_atom_name_name(reply.get()),
          static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

xcb_window_t SelectionConnection::ownerOf(xcb_atom_t selection) const {
  const XcbReply<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(get(), xcb_get_selection_owner(get(), selection), nullptr));
  return reply == nullptr ? static_cast<xcb_window_t>(XCB_WINDOW_NONE) : reply->owner;
}

}  // namespace ostler
