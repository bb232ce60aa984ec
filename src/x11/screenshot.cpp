#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "image/finish_capture.h"
#include "x11/error_trap.h"
#include "x11/to_rgb.h"
#include "x11/x11_backend.h"

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
void requireMemoryForReply(Size screen) {
  constexpr std::size_t pixelBytes = 4, header = 4096, largestCounted = (32U << 20U) - 2 * header;
  const auto pixels = static_cast<std::size_t>(screen.width) * static_cast<std::size_t>(screen.height);
  const std::size_t reply = pixels * pixelBytes + header;
  const std::size_t bothCopies = std::max(reply, std::min(2 * reply, largestCounted));
  if (!canAllocate(bothCopies) && !canAllocate(reply)) throw std::bad_alloc();
}

// Returns null when the server refuses, for example because the screen has become smaller.
ImageOwner readWindow(Display* display, Window window, Size size) {
  const ErrorTrap trap(display);
  return ImageOwner(XGetImage(display, window, 0, 0, static_cast<unsigned>(size.width),
                              static_cast<unsigned>(size.height), AllPlanes, ZPixmap));
}

}  // namespace

std::vector<unsigned char> X11Backend::screenshot(Size target, Rect crop, double quality) {
  const Size screen = display();
  requireMemoryForReply(screen);
  XSync(xDisplay, False);
  std::shared_ptr<XImage> image = readWindow(xDisplay, rootWindow, screen);
  if (image == nullptr) return {};
  const Size size{image->width, image->height};
  const double scaleX = static_cast<double>(size.width) / screen.width;
  const double scaleY = static_cast<double>(size.height) / screen.height;
  auto convert = [image = std::move(image)](const Rect& part) { return toRgb(image.get(), part); };
  return finishCapture(shown({size, std::move(convert)}), scaleX, scaleY, target, crop, quality);
}

}  // namespace ostler
