#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <thread>

#include "backend/clipboard.h"
#include "base/annotated_mutex.h"
#include "x11/selection_connection.h"

namespace ostler {

// Owns the CLIPBOARD selection and answers the requests of other programs, on a thread of its own
// with a connection of its own.
class SelectionOwner {
public:
  // Throws std::runtime_error when there is no X server.
  SelectionOwner();
  SelectionOwner(const SelectionOwner&) = delete;
  SelectionOwner& operator=(const SelectionOwner&) = delete;
  ~SelectionOwner();

  // Takes the selection with a content. `since` is a time of the server: the selection is not taken
  // when another program has taken it after that. 0 is now. Returns whether it was taken.
  bool take(ClipboardContent content, std::uint32_t since = 0);
  // Gives the selection up.
  void drop();

  // Returns the content while this owns the selection, and null otherwise.
  std::shared_ptr<const ClipboardContent> held();
  std::uint32_t heldSince();
  void waitUntilLost();

  // Asks a clipboard manager to keep the content. Returns whether one did.
  bool handOver();

  ReaderWatch readers;

private:
  // A content that a program reads in pieces. It is complete when `offset` is past the end.
  struct Transfer {
    xcb_window_t requestor;
    xcb_atom_t property;
    xcb_atom_t type;
    std::string bytes;
    std::size_t offset = 0;
  };

  void serve();
  void answer(const xcb_selection_request_event_t& request);
  bool convert(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
  bool convertMultiple(xcb_window_t requestor, xcb_atom_t property);
  std::vector<xcb_atom_t> targetsOf(const ClipboardContent& content) const;
  void store(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, std::string bytes);
  void continueTransfers(const xcb_property_notify_event_t& change);
  void endTransfersOf(xcb_window_t requestor);
  bool hasFocus(xcb_window_t window) const;
  void handle(const xcb_generic_event_t& event);
  void lose();
  std::uint32_t serverTime();

  SelectionConnection connection;
  const xcb_atom_t clipboard = connection.atom("CLIPBOARD");
  const xcb_atom_t targets = connection.atom("TARGETS");
  const xcb_atom_t timestamp = connection.atom("TIMESTAMP");
  const xcb_atom_t multiple = connection.atom("MULTIPLE");
  const xcb_atom_t incr = connection.atom("INCR");
  const xcb_atom_t utf8String = connection.atom("UTF8_STRING");
  const xcb_atom_t plainText = connection.atom("text/plain");
  const xcb_atom_t unicodeText = connection.atom(textType);
  const xcb_atom_t saveTargets = connection.atom("SAVE_TARGETS");
  const xcb_atom_t clockProperty = connection.atom("OSTLER_TIME");

  std::list<Transfer> transfers;  // only the thread uses it

  Mutex mutex;
  std::condition_variable changed;
  std::shared_ptr<const ClipboardContent> owned OSTLER_GUARDED_BY(mutex);
  std::uint32_t ownedSince OSTLER_GUARDED_BY(mutex) = 0;
  std::uint32_t reportedTime OSTLER_GUARDED_BY(mutex) = 0;
  enum class Saving { unanswered, refused, done };
  Saving saving OSTLER_GUARDED_BY(mutex) = Saving::unanswered;
  bool hasEnded OSTLER_GUARDED_BY(mutex) = false;

  std::thread thread;
};

}  // namespace ostler
