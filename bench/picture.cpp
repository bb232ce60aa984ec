// Covers the screen of DISPLAY with a picture like a desktop's: gradients, a photograph-like area
// and windows full of text. Prints a line once the picture is visible, and runs until its standard
// input is closed.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

struct Colour {
  double red, green, blue;
};

unsigned long toPixel(const Colour& colour) {
  const auto byte = [](double value) {
    return static_cast<unsigned long>(std::lround(std::min(std::max(value, 0.0), 255.0)));
  };
  return byte(colour.red) << 16 | byte(colour.green) << 8 | byte(colour.blue);
}

Colour wallpaper(double x, double y) { return {40 + 60 * x, 70 + 50 * y, 150 - 40 * x + 60 * y}; }

// Smooth shapes with the noise of a camera's sensor.
class Photograph {
public:
  Colour at(double x, double y) {
    const double hills = std::sin(x * 9) * 0.2 + std::sin(x * 23 + 1) * 0.07 + 0.55;
    const double light = y < hills ? 190 - 90 * y : 60 + 50 * std::sin(x * 40) * std::cos(y * 60);
    const double grain = noise(random);
    return {light * 0.9 + grain, light + grain, light * (y < hills ? 1.2 : 0.6) + grain};
  }

private:
  std::mt19937 random{1};
  std::normal_distribution<double> noise{0, 6};
};

void drawText(Display* display, Drawable to, GC gc, int left, int top, int width, int height) {
  XSetForeground(display, gc, 0xfafafa);
  XFillRectangle(display, to, gc, left, top, static_cast<unsigned>(width), static_cast<unsigned>(height));
  XSetForeground(display, gc, 0x202020);
  std::mt19937 random(2);
  for (int y = top + 16; y < top + height - 4; y += 15) {
    std::string line;
    while (static_cast<int>(line.size()) < width / 6 - 12) {
      line.append(random() % 9 + 1, static_cast<char>('a' + random() % 26)).push_back(' ');
    }
    XDrawString(display, to, gc, left + 8, y, line.data(), static_cast<int>(line.size()));
  }
}

}  // namespace

int main() {
  Display* const display = XOpenDisplay(nullptr);
  if (display == nullptr) return 1;
  const int screen = DefaultScreen(display);
  const int width = DisplayWidth(display, screen), height = DisplayHeight(display, screen);

  std::vector<unsigned> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  Photograph photograph;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double right = static_cast<double>(x) / width, down = static_cast<double>(y) / height;
      const bool inPhotograph = right > 0.55 && right < 0.95 && down > 0.1 && down < 0.5;
      const Colour colour =
          inPhotograph ? photograph.at((right - 0.55) / 0.4, (down - 0.1) / 0.4) : wallpaper(right, down);
      pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
          static_cast<unsigned>(toPixel(colour));
    }
  }
  XImage* const image = XCreateImage(display, DefaultVisual(display, screen), 24, ZPixmap, 0,
                                     reinterpret_cast<char*>(pixels.data()), static_cast<unsigned>(width),
                                     static_cast<unsigned>(height), 32, 0);
  XSetWindowAttributes attributes{};
  attributes.override_redirect = True;
  const Pixmap background = XCreatePixmap(display, DefaultRootWindow(display), static_cast<unsigned>(width),
                                          static_cast<unsigned>(height), 24);
  const GC gc = XCreateGC(display, background, 0, nullptr);
  XPutImage(display, background, gc, image, 0, 0, 0, 0, static_cast<unsigned>(width),
            static_cast<unsigned>(height));
  drawText(display, background, gc, width / 20, height / 12, width * 9 / 20, height * 3 / 4);
  drawText(display, background, gc, width * 11 / 20, height * 11 / 20, width * 2 / 5, height * 2 / 5);
  attributes.background_pixmap = background;
  const Window window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                                      static_cast<unsigned>(height), 0, CopyFromParent, InputOutput,
                                      CopyFromParent, CWOverrideRedirect | CWBackPixmap, &attributes);
  XMapWindow(display, window);
  XSetInputFocus(display, window, RevertToParent, CurrentTime);
  XSync(display, False);
  std::puts("shown");
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
}
