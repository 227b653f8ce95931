// The native run: the runner's system root already holds the printer, and a
// Linux module has no resource section to read.
#include "driver_check.h"

bool preparePrinter(const WCHAR*) { return true; }

void checkResources(HMODULE, CheckLog&) {}
