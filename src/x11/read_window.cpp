#include "x11/read_window.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "x11/error_trap.h"

namespace ostler {
namespace {

bool canAllocate(std::size_t size) {
  // Volatile keeps the compiler from removing the unused allocation.
  void* volatile block = std::malloc(size);
  std::free(block);
  return block != nullptr;
}

constexpr std::size_t header = 4096;  // of a reply, or of a block of malloc, at most

std::size_t sizeOfReply(const Rect& part) {
  constexpr std::size_t pixelBytes = 4;
  const auto pixels = static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height);
  return pixels * pixelBytes + header;
}

// glibc's malloc returns freed memory to the system once it exceeds twice the largest block freed
// so far. libxcb's reply and Xlib's copy of it would exceed that, and each screenshot would get all
// its pages anew, which takes longer than reading the screen. So this frees a block as large as
// both. Blocks above 32 MiB do not count.
void keepHeapForNextReply(std::size_t reply) {
  constexpr std::size_t largestCounted = (32U << 20U) - 2 * header;
  if (reply < largestCounted) canAllocate(std::min(2 * reply, largestCounted));
}

// When libxcb cannot allocate a reply it closes the connection, and Xlib then ends the process.
// This first checks that the memory is available. If Xlib's own copy of the reply cannot be
// allocated, XGetImage just returns null.
void requireMemoryForReply(std::size_t reply) {
  if (!canAllocate(reply)) throw std::bad_alloc();
}

}  // namespace

ImageOwner readWindow(Display* display, Window window, const Rect& part) {
  const std::size_t reply = sizeOfReply(part);
  keepHeapForNextReply(reply);
  requireMemoryForReply(reply);
  XSync(display, False);
  const ErrorTrap trap(display);
  return ImageOwner(XGetImage(display, window, part.x, part.y, static_cast<unsigned>(part.width),
                              static_cast<unsigned>(part.height), AllPlanes, ZPixmap));
}

}  // namespace ostler
