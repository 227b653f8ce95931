// Helpers shared by the test programs.
#pragma once

#include "px/posix.h"

#include <string>

namespace testkit {

// A fresh, empty system root for one test; selected on construction, removed
// (and the default root selected again) on destruction.
class TempRoot {
public:
    TempRoot();
    ~TempRoot();
    TempRoot(const TempRoot&) = delete;
    TempRoot& operator=(const TempRoot&) = delete;

    const std::string& path() const { return path_; }
    // Where the plug-in's diagnostic log lands in this root.
    std::string logPath() const;
    // The log's bytes, or "" when there is no log file.
    std::string log() const;
    // Writes printers/<name>.json with the given text.
    void writePrinter(const std::string& name, const std::string& json) const;

private:
    std::string path_;
};

// Keeps the platform's system-call table as it was on construction and puts it
// back on destruction, whatever the test replaced in between.
class SyscallGuard {
public:
    SyscallGuard() : saved_(*PxGetSyscalls()) {}
    ~SyscallGuard() { *PxGetSyscalls() = saved_; }
    SyscallGuard(const SyscallGuard&) = delete;
    SyscallGuard& operator=(const SyscallGuard&) = delete;

    PxSyscalls* operator->() const { return PxGetSyscalls(); }

private:
    PxSyscalls saved_;
};

// The kinds of system call a fault can be put on, one per entry of the table
// (allocation stands for calloc; free is counted, never failed).
enum class Call { Open, Read, Write, Close, Fsync, Rename, Flock, Stat, Unlink, Mkdir, Dlopen, Spawn, Alloc, Count };
const char* callName(Call call);

// Counts the calls of each kind made through the table while it lives, and
// makes the nth call (from 1) of one chosen kind fail as the system would
// (errno EIO, ENOSPC for a write, a null block for an allocation). Only one
// injector may live at a time.
class FaultInjector {
public:
    explicit FaultInjector(Call failing = Call::Count, unsigned nth = 0);
    ~FaultInjector();
    FaultInjector(const FaultInjector&) = delete;
    FaultInjector& operator=(const FaultInjector&) = delete;

    unsigned count(Call call) const;
    bool fired() const;
    // Blocks allocated through the table and not yet freed since construction.
    long outstandingBlocks() const;

private:
    SyscallGuard guard_;
};

// A command run through the shell: its exit status (-1 when it did not
// exit) and what it wrote on stdout and stderr, kept in files of `folder`.
struct Ran {
    int status = -1;
    std::string out, err;
};
Ran runCommand(const std::string& command, const std::string& folder);

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& bytes);
bool fileExists(const std::string& path);

// UTF-16 text from UTF-8, for calls that take wide strings.
std::u16string wide(const std::string& s);

// How often what occurs in text (a log, say), counting overlaps.
size_t countOf(const std::string& text, const std::string& what);

// A printer file with the given "Config" values (a JSON object's members, e.g.
// dword("DebugLevel", 1)), and one such member holding a dword.
std::string printerJson(const std::string& name, const std::string& configMembers = "");
std::string dword(const std::string& name, long long value);

}  // namespace testkit
