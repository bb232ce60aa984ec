#include "driver/driver.h"

bool driverLock(napi_threadsafe_function) { return false; }

void driverUnlock() {}
