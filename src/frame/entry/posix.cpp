// Module entry on POSIX: the loader's attach and detach, as constructor and
// destructor of the shared module. Threads have no notification here.
#include "frame/oemuni.h"

namespace {

__attribute__((constructor)) void moduleAttach() { ModuleEntry(DLL_PROCESS_ATTACH); }

__attribute__((destructor)) void moduleDetach() { ModuleEntry(DLL_PROCESS_DETACH); }

}  // namespace
