#include "driver/driver.h"

using ostler::Capabilities;
using ostler::DisplayInfo;
using ostler::WindowInfo;
using Strings = std::vector<std::string>;

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
