#include "x11/screen_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "x11/error_trap.h"
#include "x11/read_window.h"
#include "x11/to_rgb.h"

namespace ostler {
namespace {

// The pixels belong to the segment.
void destroySharedImage(XImage* image) {
  image->data = nullptr;
  destroyImage(image);
}

}  // namespace

// A segment of shared memory in which the server writes.
class ScreenReader::Segment {
public:
  Segment(Display* connection, std::size_t wanted) : size(wanted), display(connection) {
    info.shmid = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    if (info.shmid == -1) return;
    void* const memory = shmat(info.shmid, nullptr, 0);
    if (reinterpret_cast<std::intptr_t>(memory) != -1) {
      info.shmaddr = static_cast<char*>(memory);
      info.readOnly = False;
      const ErrorTrap trap(display);
      isAttached = XShmAttach(display, &info) != False;
      XSync(display, False);
      if (trap.caught()) isAttached = false;
    }
    // The segment lives until both sides have detached it, even if they are killed.
    shmctl(info.shmid, IPC_RMID, nullptr);
  }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
  ~Segment() {
    if (isAttached) XShmDetach(display, &info);
    if (info.shmaddr != nullptr) shmdt(info.shmaddr);
  }

  // Returns null when the server refuses.
  std::shared_ptr<XImage> read(Window window, const Rect& part) {
    const int screen = DefaultScreen(display);
    std::shared_ptr<XImage> image(
        XShmCreateImage(display, DefaultVisual(display, screen),
                        static_cast<unsigned>(DefaultDepth(display, screen)), ZPixmap, info.shmaddr, &info,
                        static_cast<unsigned>(part.width), static_cast<unsigned>(part.height)),
        [](XImage* made) {
          if (made != nullptr) destroySharedImage(made);
        });
    if (image == nullptr) return nullptr;
    const ErrorTrap trap(display);
    const bool isRead = XShmGetImage(display, window, image.get(), part.x, part.y, AllPlanes) != False;
    return isRead && !trap.caught() ? image : nullptr;
  }

  unsigned char* bytes() const { return reinterpret_cast<unsigned char*>(info.shmaddr); }

  const std::size_t size;
  bool isAttached = false;

private:
  Display* const display;
  XShmSegmentInfo info{};
};

ScreenReader::ScreenReader(Display* connection) : display(connection) {}
ScreenReader::~ScreenReader() = default;

std::shared_ptr<XImage> ScreenReader::read(Window window, const Rect& part) {
  // No row of a picture has more than four bytes for a pixel, and padding to four.
  const std::size_t size = 4 * static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height);
  return share(size) ? segment->read(window, part)
                     : std::shared_ptr<XImage>(readWindow(display, window, part));
}

// Returns whether there is a segment of at least this size.
bool ScreenReader::share(std::size_t size) {
  if (segment != nullptr && segment->size >= size) return true;
  if (isRefused || XShmQueryExtension(display) == False) return false;
  const Screen* const screen = DefaultScreenOfDisplay(display);
  const std::size_t whole =
      4 * static_cast<std::size_t>(WidthOfScreen(screen)) * static_cast<std::size_t>(HeightOfScreen(screen));
  segment.reset();
  segment = std::make_unique<Segment>(display, std::max(size, whole));
  if (segment->isAttached && isShared(RootWindowOfScreen(screen))) return true;
  segment.reset();
  isRefused = true;
  return false;
}

// A server on another machine could have attached a segment of its own with the same number. Then
// what is written here stays.
bool ScreenReader::isShared(Window window) {
  for (const int mark : {0x00, 0xff}) {
    std::memset(segment->bytes(), mark, 4);
    if (segment->read(window, {0, 0, 1, 1}) == nullptr) return false;
    const unsigned char expected[] = {static_cast<unsigned char>(mark), static_cast<unsigned char>(mark),
                                      static_cast<unsigned char>(mark), static_cast<unsigned char>(mark)};
    if (std::memcmp(segment->bytes(), expected, 4) != 0) return true;
  }
  return false;
}

Sight sightOf(std::shared_ptr<XImage> image) {
  if (image == nullptr) return {};
  const bool isUsual =
      image->bits_per_pixel == 32 && image->byte_order == LSBFirst && image->green_mask == 0xff00;
  const bool blueFirst = image->red_mask == 0xff0000 && image->blue_mask == 0xff;
  const bool redFirst = image->red_mask == 0xff && image->blue_mask == 0xff0000;
  if (isUsual && (blueFirst || redFirst)) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(image->data);
    const PixelRows rows{bytes, image->bytes_per_line, image->width, image->height,
                         blueFirst ? PixelOrder::bgrx : PixelOrder::rgbx};
    return {rows, std::move(image)};
  }
  const auto converted =
      std::make_shared<const RgbImage>(toRgb(image.get(), {0, 0, image->width, image->height}));
  return {rowsOf(*converted), converted};
}

}  // namespace ostler
