#include "driver/driver.h"

std::string driverGetClipboard() { return {}; }

void driverSetClipboard(const std::string&) {}
