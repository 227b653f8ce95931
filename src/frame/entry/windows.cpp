// Module entry on Windows.
#include "frame/oemuni.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) { return ModuleEntry(reason); }
