#pragma once

#include <optional>
#include <string>
#include <vector>

#include <node_api.h>

#include "driver/records.h"

// The Node-API layer calls these functions. Each is synchronous and runs on the host's JavaScript
// thread.
#pragma GCC visibility push(default)

// These call the backend of the process and throw what it throws.
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
// `scope`, `included` and `excluded` are reserved and ignored.
std::vector<unsigned char> driverScreenshot(const std::string& scope, ostler::Size target,
                                            const std::optional<std::vector<std::string>>& included,
                                            const std::vector<std::string>& excluded, ostler::Rect crop,
                                            double quality);

// These are reserved: they return fixed values and need no backend.
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

// These read and write the CLIPBOARD selection of the X server that DISPLAY names, without the
// backend. When the server cannot be reached, reading returns an empty string and writing does
// nothing.
std::string driverGetClipboard();
void driverSetClipboard(const std::string& text);

// These start and stop the Escape watcher. When driverLock returns true, the watcher owns
// `onEscape`, and driverUnlock releases it.
bool driverLock(napi_threadsafe_function onEscape);
void driverUnlock();

#pragma GCC visibility pop
