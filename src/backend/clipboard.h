#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "backend/reader_watch.h"

namespace ostler {

// One form of what has been copied. `type` is a MIME type or, on X11, another target's name.
struct ClipboardItem {
  std::string type;
  std::string bytes;
};

// All forms of what has been copied. Empty when there is nothing.
using ClipboardContent = std::vector<ClipboardItem>;

// The type of every text. Only this one has a fixed encoding on all desktops: GTK escapes
// characters in "text/plain".
inline constexpr char textType[] = "text/plain;charset=utf-8";

// Contents that are longer in all are not read completely.
inline constexpr std::size_t longestContent = 16 << 20;  // in bytes

// Returns whether this type is one of the names of a plain text.
bool isTextType(std::string_view type);

std::string latin1ToUtf8(std::string_view text);
// Replaces the characters that Latin-1 lacks by question marks.
std::string utf8ToLatin1(std::string_view text);

// Puts a content into one sequence of bytes: for each item the length of the type and of the bytes,
// 32 bits each, and then both (lib/common/clipboard_content.js).
std::vector<unsigned char> pack(const ClipboardContent& content);
// Ignores an item that is cut off.
ClipboardContent unpack(std::string_view bytes);

enum class ClipboardPart { text, everything };

// The clipboard of a desktop. All functions run on the thread of the session; those that wait can
// be interrupted.
class Clipboard {
public:
  Clipboard() = default;
  Clipboard(const Clipboard&) = delete;
  Clipboard& operator=(const Clipboard&) = delete;
  virtual ~Clipboard() = default;

  // Returns a name for the host.
  virtual const char* kind() const = 0;

  // Reads what has been copied, most useful items first. Leaves out what its owner does not deliver
  // in time.
  virtual ClipboardContent read(ClipboardPart part) = 0;

  // Offers a content to all programs, and nothing when it is empty. Throws std::runtime_error.
  virtual void write(ClipboardContent content) = 0;

  // Returns whether the clipboard has what write() offered last.
  virtual bool owns() = 0;

  // Returns the reads of what write() offered last.
  virtual ReaderWatch& readers() = 0;

  // Hands the content to a clipboard manager that keeps it when this process has ended. Returns
  // whether one took it, or whether the desktop does this by itself.
  virtual bool handOver() = 0;

  // Returns when the content was offered, as a time of the X server; 0 elsewhere.
  virtual std::uint32_t offeredAt() { return 0; }
};

}  // namespace ostler
