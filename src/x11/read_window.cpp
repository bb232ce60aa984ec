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

// When libxcb cannot allocate a reply it closes the connection, and Xlib then ends
// the process. This first checks that the memory is available. If Xlib's own copy of the
// reply cannot be allocated, XGetImage just returns null.
//
// The check first tries a block as large as both copies. glibc's malloc returns freed memory to
// the system once it exceeds twice the largest block freed so far. After a block for the reply
// alone, the two copies exceed that, and each screenshot gets all its pages anew: that takes
// longer than reading the screen. Blocks above 32 MiB, with malloc's own header, do not count.
void requireMemoryForReply(const Rect& part) {
  constexpr std::size_t pixelBytes = 4, header = 4096, largestCounted = (32U << 20U) - 2 * header;
  const auto pixels = static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height);
  const std::size_t reply = pixels * pixelBytes + header;
  const std::size_t bothCopies = std::max(reply, std::min(2 * reply, largestCounted));
  if (!canAllocate(bothCopies) && !canAllocate(reply)) throw std::bad_alloc();
}

}  // namespace

ImageOwner readWindow(Display* display, Window window, const Rect& part) {
  requireMemoryForReply(part);
  XSync(display, False);
  const ErrorTrap trap(display);
  return ImageOwner(XGetImage(display, window, part.x, part.y, static_cast<unsigned>(part.width),
                              static_cast<unsigned>(part.height), AllPlanes, ZPixmap));
}

}  // namespace ostler
