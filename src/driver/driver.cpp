#include "driver/driver.h"

#include "driver/selection.h"
#include "driver/session.h"
#include "x11/clipboard.h"
#include "x11/escape_watcher.h"

using ostler::backendInstance;
using ostler::Capabilities;
using ostler::DisplayInfo;
using ostler::Point;
using ostler::Rect;
using ostler::Size;
using ostler::WindowInfo;
using Strings = std::vector<std::string>;

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

std::vector<unsigned char> driverScreenshot(const std::string&, Size target, const std::optional<Strings>&,
                                            const Strings&, Rect crop, double quality) {
  return backendInstance().screenshot(target, crop, quality);
}

Capabilities driverCapabilities() { return {}; }
std::vector<DisplayInfo> driverListDisplays() { return {}; }
std::vector<WindowInfo> driverListWindows() { return {}; }
std::optional<WindowInfo> driverGetActiveWindow() { return {}; }
std::optional<WindowInfo> driverWindowAtPoint(const std::string&, double, double) { return {}; }
bool driverActivateApplication(const std::string&) { return false; }
bool driverConcealApplication(const std::string&) { return false; }
bool driverRestoreApplication(const std::string&) { return false; }
bool driverActivateWindow(const std::string&) { return false; }
bool driverConcealWindow(const std::string&) { return false; }
bool driverRestoreWindow(const std::string&) { return false; }
bool driverPrepareForInput(const std::string&, const std::optional<Strings>&, const Strings&, double,
                           double) {
  return false;
}
bool driverCheckPermissions(const std::string&) { return true; }
void driverRequestPermissions(const std::string&) {}

std::string driverGetClipboard() { return ostler::readClipboard(); }
void driverSetClipboard(const std::string& text) { ostler::writeClipboard(text); }

bool driverLock(napi_threadsafe_function onEscape) {
  // Xwayland does not see the keys that go to Wayland programs.
  if (ostler::detectSessionKind() == "wayland" || ostler::waylandSocketPresent()) return false;
  return ostler::EscapeWatcher::instance().start(onEscape);
}
void driverUnlock() { ostler::EscapeWatcher::instance().stop(); }
