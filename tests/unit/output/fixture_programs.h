// The stand-ins for the driver package's helpers, and waiting for what a
// started program leaves behind.
#pragma once

#include "testkit.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace fixtures {

inline const char* argvRecorder() { return PUMEX_TEST_ARGV_RECORDER; }
inline const char* commandModule() { return PUMEX_TEST_COMMAND_MODULE; }
inline const char* bareCommandModule() { return PUMEX_TEST_COMMAND_MODULE_BARE; }

// The root's printer-driver folder with its "3" subfolder, as a POSIX path.
inline std::string driverFolder3(const testkit::TempRoot& root)
{
    return root.path() + "/drive_c/windows/system32/spool/drivers/x64/3";
}

// Copies a built fixture to a POSIX path, keeping it executable.
inline void install(const std::string& from, const std::string& to)
{
    namespace fs = std::filesystem;
    fs::create_directories(fs::path(to).parent_path());
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
    fs::permissions(to, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec, fs::perm_options::add);
}

// Waits up to ten seconds for a file that a started program writes whole.
inline bool waitForFile(const std::string& path)
{
    for (int i = 0; i < 1000; ++i) {
        if (testkit::fileExists(path))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

// The lines the argument recorder wrote: its name, then each argument.
inline std::vector<std::string> recordedArgs(const std::string& path)
{
    std::vector<std::string> lines;
    std::string text = testkit::readFile(path), line;
    for (char c : text) {
        if (c == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += c;
        }
    }
    return lines;
}

}  // namespace fixtures
