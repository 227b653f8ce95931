// The system root a fuzz target works in, and the files it writes there.
#pragma once

#include "px/posix.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace fuzzroot {

// A system root of this process's own, made once. Its files need not survive
// a crash, so syncing them is left out: a printer file rewritten on every run
// would otherwise cost two disk syncs a run.
inline const std::string& root()
{
    static const std::string made = [] {
        char tmpl[] = "/tmp/pumex-fuzz-XXXXXX";
        std::string path = mkdtemp(tmpl) ? tmpl : "/tmp";
        PxSetSystemRoot(path.c_str());
        PxGetSyscalls()->fsync = [](int) { return 0; };
        return path;
    }();
    return made;
}

// Writes bytes to a file of the root (a path below it); false when it cannot.
inline bool write(const std::string& relative, const uint8_t* data, size_t size)
{
    FILE* file = std::fopen((root() + "/" + relative).c_str(), "wb");
    if (!file)
        return false;
    bool ok = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && ok;
}

inline bool write(const std::string& relative, const std::string& text)
{
    return write(relative, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Removes the plug-in's log, which a printer asking for one would grow run
// after run.
inline void dropLog() { std::remove((root() + "/drive_c/ProgramData/Quorvane/PumexPro.log").c_str()); }

}  // namespace fuzzroot
