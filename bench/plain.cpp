// A plain program with which the addon is compared. It makes the same calls of Xlib, libjpeg and
// libpng in the straightforward way. Each line of its input has an operation and a count. It runs
// the operation that many times, and prints the nanoseconds that this took and the size of the last
// picture in bytes.

#include <chrono>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <jpeglib.h>
#include <png.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "bench/reference_conversion.h"
#include "bench/reference_resample.h"
#include "image/rgb_image.h"

namespace {

using ostler::RgbImage;
using Bytes = std::vector<unsigned char>;

Bytes encodeJpeg(const RgbImage& image) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* output = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &output, &size);
  info.image_width = static_cast<JDIMENSION>(image.width);
  info.image_height = static_cast<JDIMENSION>(image.height);
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, 75, TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    auto* row = const_cast<JSAMPROW>(image.row(static_cast<int>(info.next_scanline)));
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  Bytes bytes(output, output + size);
  jpeg_destroy_compress(&info);
  std::free(output);
  return bytes;
}

void appendPng(png_structp png, png_bytep data, png_size_t size) {
  auto* bytes = static_cast<Bytes*>(png_get_io_ptr(png));
  bytes->insert(bytes->end(), data, data + size);
}

Bytes encodePng(const RgbImage& image) {
  Bytes bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(png, &bytes, appendPng, nullptr);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < image.height; ++y) png_write_row(png, image.row(y));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return bytes;
}

RgbImage crop(const RgbImage& image, int left, int top, int width, int height) {
  RgbImage result(width, height);
  for (int y = 0; y < height; ++y) {
    std::memcpy(result.row(y), image.row(top + y) + static_cast<std::size_t>(left) * 3,
                static_cast<std::size_t>(width) * 3);
  }
  return result;
}

class Program {
public:
  explicit Program(Display* opened) : display(opened), root(DefaultRootWindow(opened)) {}

  // Returns the size in bytes of the picture that the operation makes, or 0 if it makes none.
  std::size_t run(const std::string& operation) {
    const auto found = operations.find(operation);
    if (found == operations.end()) std::exit(2);
    return found->second();
  }

private:
  RgbImage capture() {
    XSync(display, False);
    XImage* const image = XGetImage(display, root, 0, 0, static_cast<unsigned>(DisplayWidth(display, 0)),
                                    static_cast<unsigned>(DisplayHeight(display, 0)), AllPlanes, ZPixmap);
    RgbImage result = ostler::referenceToRgb(image);
    XDestroyImage(image);
    return result;
  }

  // Reads the screen into memory that stays shared with the X server.
  std::size_t pixels() {
    if (shared == nullptr) {
      shared =
          XShmCreateImage(display, DefaultVisual(display, 0), static_cast<unsigned>(DefaultDepth(display, 0)),
                          ZPixmap, nullptr, &segment, static_cast<unsigned>(DisplayWidth(display, 0)),
                          static_cast<unsigned>(DisplayHeight(display, 0)));
      const auto size =
          static_cast<std::size_t>(shared->bytes_per_line) * static_cast<std::size_t>(shared->height);
      segment.shmid = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
      segment.shmaddr = shared->data = static_cast<char*>(shmat(segment.shmid, nullptr, 0));
      XShmAttach(display, &segment);
      XSync(display, False);
      shmctl(segment.shmid, IPC_RMID, nullptr);
    }
    XShmGetImage(display, root, shared, 0, 0, AllPlanes);
    return 0;
  }

  void tap(const std::vector<KeySym>& keysyms) {
    std::vector<KeyCode> keys;
    keys.reserve(keysyms.size());
    for (const KeySym keysym : keysyms) keys.push_back(XKeysymToKeycode(display, keysym));
    for (auto key = keys.begin(); key != keys.end(); ++key) XTestFakeKeyEvent(display, *key, True, 0);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) XTestFakeKeyEvent(display, *key, False, 0);
    XSync(display, False);
  }

  std::size_t key() {
    tap({XK_a});
    return 0;
  }

  std::size_t combo() {
    tap({XK_Control_L, XK_Shift_L, XK_a});
    return 0;
  }

  std::size_t move() {
    XWarpPointer(display, None, root, 0, 0, 0, 0, 600 + ++position % 2, 400);
    XSync(display, False);
    return 0;
  }

  std::size_t typeCharacter() {
    tap({XK_a});
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return 0;
  }

  std::size_t cursorPosition() {
    Window window = 0;
    int x = 0;
    unsigned mask = 0;
    XQueryPointer(display, root, &window, &window, &x, &x, &x, &x, &mask);
    return 0;
  }

  std::size_t setClipboard() {
    std::FILE* const stream = popen("xclip -selection clipboard >/dev/null 2>&1", "w");
    std::fputs("A line of text for the clipboard", stream);
    pclose(stream);
    return 0;
  }

  std::size_t getClipboard() {
    Display* const connection = XOpenDisplay(nullptr);
    const Atom clipboard = XInternAtom(connection, "CLIPBOARD", False);
    const Atom utf8 = XInternAtom(connection, "UTF8_STRING", False);
    const Atom property = XInternAtom(connection, "XSEL_DATA", False);
    const Window window = XCreateSimpleWindow(connection, DefaultRootWindow(connection), 0, 0, 1, 1, 0, 0, 0);
    XConvertSelection(connection, clipboard, utf8, property, window, CurrentTime);
    XFlush(connection);
    XEvent event{};
    for (int pass = 0; pass < 200 && event.type != SelectionNotify; ++pass) {
      if (XPending(connection) > 0) {
        XNextEvent(connection, &event);
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
    }
    Atom type = None;
    int format = 0;
    unsigned long items = 0, left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(connection, window, property, 0, 0x100000, False, AnyPropertyType, &type, &format,
                       &items, &left, &data);
    if (data != nullptr) XFree(data);
    XCloseDisplay(connection);
    return 0;
  }

  Display* const display;
  const Window root;
  int position = 0;
  XShmSegmentInfo segment{};
  XImage* shared = nullptr;
  const std::map<std::string, std::function<std::size_t()>> operations{
      {"move", [this] { return move(); }},
      {"key", [this] { return key(); }},
      {"combo", [this] { return combo(); }},
      {"type", [this] { return typeCharacter(); }},
      {"cursorPosition", [this] { return cursorPosition(); }},
      {"jpeg", [this] { return encodeJpeg(capture()).size(); }},
      {"pixels", [this] { return pixels(); }},
      {"png", [this] { return encodePng(capture()).size(); }},
      {"crop", [this] { return encodeJpeg(crop(capture(), 800, 300, 200, 200)).size(); }},
      {"jpeg720", [this] { return encodeJpeg(ostler::referenceResample(capture(), 1280, 720)).size(); }},
      {"jpeg768", [this] { return encodeJpeg(ostler::referenceResample(capture(), 1366, 768)).size(); }},
      {"setClipboard", [this] { return setClipboard(); }},
      {"getClipboard", [this] { return getClipboard(); }},
  };
};

}  // namespace

int main() {
  Display* const display = XOpenDisplay(nullptr);
  if (display == nullptr) return 1;
  Program program(display);
  std::string operation;
  int count = 0;
  while (std::cin >> operation >> count) {
    std::size_t bytes = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) bytes = program.run(operation);
    const auto time = std::chrono::steady_clock::now() - start;
    std::cout << std::chrono::nanoseconds(time).count() << ' ' << bytes << '\n' << std::flush;
  }
}
