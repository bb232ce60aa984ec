#include "driver/driver.h"

#include "driver/backend.h"

using ostler::backendInstance;
using ostler::Point;
using ostler::Rect;
using ostler::Size;

void driverMouseMove(double x, double y) { backendInstance().mouseMove(x, y); }

void driverClick(double x, double y, const std::string& button, int count) {
  backendInstance().click(x, y, button, count);
}

void driverDrag(double fromX, double fromY, double toX, double toY) {
  backendInstance().drag(fromX, fromY, toX, toY);
}

void driverMouseDown(double x, double y) { backendInstance().mouseDown(x, y); }

void driverMouseUp(double x, double y) { backendInstance().mouseUp(x, y); }

void driverType(const std::string& text) { backendInstance().type(text); }

void driverKey(const std::string& combo) { backendInstance().key(combo); }

void driverScroll(double x, double y, int dx, int dy) { backendInstance().scroll(x, y, dx, dy); }

Point driverCursorPosition() { return backendInstance().cursorPosition(); }

Size driverDisplay() { return backendInstance().display(); }

std::vector<unsigned char> driverScreenshot(const std::string&, Size target,
                                            const std::optional<std::vector<std::string>>&,
                                            const std::vector<std::string>&, Rect crop, double quality) {
  return backendInstance().screenshot(target, crop, quality);
}
