#pragma once

#include <optional>
#include <string>
#include <vector>

#include <node_api.h>

#include "driver/records.h"

// The flat seam between the addon and the desktop. All functions are called on
// the host's JavaScript thread and block it.
#pragma GCC visibility push(default)

// Forwarded to the process-wide backend; they throw what it throws.
void driverMouseMove(double x, double y);
void driverClick(double x, double y, const std::string& button, int count);
void driverDrag(double fromX, double fromY, double toX, double toY);
void driverMouseDown(double x, double y);
void driverMouseUp(double x, double y);
void driverType(const std::string& text);
void driverKey(const std::string& combo);
void driverScroll(double x, double y, int dx, int dy);
ostler::Point driverCursorPosition();
ostler::Size driverDisplay();
// The first, third and fourth parameter are reserved and not looked at.
std::vector<unsigned char> driverScreenshot(const std::string& scope, ostler::Size target,
                                            const std::optional<std::vector<std::string>>& included,
                                            const std::vector<std::string>& excluded, ostler::Rect crop,
                                            double quality);

// Reserved: no platform implementation, fixed answers, no backend.
ostler::Capabilities driverCapabilities();
std::vector<ostler::DisplayInfo> driverListDisplays();
std::vector<ostler::WindowInfo> driverListWindows();
std::optional<ostler::WindowInfo> driverGetActiveWindow();
std::optional<ostler::WindowInfo> driverWindowAtPoint(const std::string& scope, double x, double y);
bool driverActivateApplication(const std::string& applicationId);
bool driverConcealApplication(const std::string& applicationId);
bool driverRestoreApplication(const std::string& applicationId);
bool driverActivateWindow(const std::string& windowId);
bool driverConcealWindow(const std::string& windowId);
bool driverRestoreWindow(const std::string& windowId);
bool driverPrepareForInput(const std::string& scope, const std::optional<std::vector<std::string>>& included,
                           const std::vector<std::string>& excluded, double x, double y);
bool driverCheckPermissions(const std::string& permission);
void driverRequestPermissions(const std::string& permission);

// Beside the backend: the CLIPBOARD selection of the X server that DISPLAY
// names. An empty string, or nothing, where that cannot be reached.
std::string driverGetClipboard();
void driverSetClipboard(const std::string& text);

// The Escape watcher. driverLock takes over `onEscape` when it answers true and
// gives it back on driverUnlock.
bool driverLock(napi_threadsafe_function onEscape);
void driverUnlock();

#pragma GCC visibility pop
