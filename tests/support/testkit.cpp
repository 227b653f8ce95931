#include "testkit.h"

#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testkit {

TempRoot::TempRoot()
{
    std::string tmpl = (std::filesystem::temp_directory_path() / "pumex-test-XXXXXX").string();
    if (!mkdtemp(&tmpl[0]))
        throw std::runtime_error("mkdtemp failed");
    path_ = tmpl;
    PxSetSystemRoot(path_.c_str());
}

TempRoot::~TempRoot()
{
    PxResetSyscalls();
    PxSetSystemRoot(nullptr);
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string TempRoot::logPath() const { return path_ + "/drive_c/ProgramData/Quorvane/PumexPro.log"; }

std::string TempRoot::log() const { return readFile(logPath()); }

void TempRoot::writePrinter(const std::string& name, const std::string& json) const
{
    writeFile(path_ + "/printers/" + name + ".json", json);
}

Ran runCommand(const std::string& command, const std::string& folder)
{
    std::string out = folder + "/stdout.txt", err = folder + "/stderr.txt";
    int raw = std::system((command + " >'" + out + "' 2>'" + err + "'").c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
}

size_t countOf(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

bool fileExists(const std::string& path) { return std::filesystem::exists(path); }

std::u16string wide(const std::string& s)
{
    std::u16string out(s.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(&out[0], out.size(), s.c_str()));
    return out;
}

std::string dword(const std::string& name, long long value)
{
    return "\"" + name + "\": {\"type\": \"dword\", \"value\": " + std::to_string(value) + "}";
}

std::string printerJson(const std::string& name, const std::string& configMembers)
{
    return "{\n  \"name\": \"" + name + "\",\n  \"driver\": \"Pumex Pro\",\n  \"port\": \"FILE:\",\n" +
           "  \"data\": { \"Config\": { " + configMembers + " } }\n}\n";
}

namespace {

struct Faults {
    PxSyscalls real;
    std::atomic<unsigned> counts[(int)Call::Count];
    Call failing = Call::Count;
    unsigned nth = 0;
    std::atomic<bool> fired{false};
    std::atomic<long> outstanding{0};
};
Faults* gFaults = nullptr;

// Counts a call of this kind; true when it is the one to fail.
bool failNow(Call call)
{
    unsigned n = ++gFaults->counts[(int)call];
    if (call != gFaults->failing || n != gFaults->nth)
        return false;
    gFaults->fired = true;
    errno = call == Call::Write ? ENOSPC : EIO;
    return true;
}

int faultOpen(const char* p, int f, mode_t m) { return failNow(Call::Open) ? -1 : gFaults->real.open(p, f, m); }
ssize_t faultRead(int fd, void* b, size_t n) { return failNow(Call::Read) ? -1 : gFaults->real.read(fd, b, n); }
ssize_t faultWrite(int fd, const void* b, size_t n) { return failNow(Call::Write) ? -1 : gFaults->real.write(fd, b, n); }
int faultFsync(int fd) { return failNow(Call::Fsync) ? -1 : gFaults->real.fsync(fd); }
int faultRename(const char* a, const char* b) { return failNow(Call::Rename) ? -1 : gFaults->real.rename(a, b); }
int faultFlock(int fd, int op) { return failNow(Call::Flock) ? -1 : gFaults->real.flock(fd, op); }
int faultStat(const char* p, struct stat* st) { return failNow(Call::Stat) ? -1 : gFaults->real.stat(p, st); }
int faultUnlink(const char* p) { return failNow(Call::Unlink) ? -1 : gFaults->real.unlink(p); }
int faultMkdir(const char* p, mode_t m) { return failNow(Call::Mkdir) ? -1 : gFaults->real.mkdir(p, m); }
void* faultDlopen(const char* p, int f) { return failNow(Call::Dlopen) ? nullptr : gFaults->real.dlopen(p, f); }

// A failed close still releases the descriptor, as on Linux.
int faultClose(int fd)
{
    int rc = gFaults->real.close(fd);
    return failNow(Call::Close) ? (errno = EIO, -1) : rc;
}

int faultSpawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attr,
               char* const argv[], char* const envp[])
{
    return failNow(Call::Spawn) ? EAGAIN : gFaults->real.spawn(pid, path, actions, attr, argv, envp);
}

void* faultCalloc(size_t n, size_t size)
{
    if (failNow(Call::Alloc))
        return errno = ENOMEM, nullptr;
    void* block = gFaults->real.calloc(n, size);
    if (block)
        ++gFaults->outstanding;
    return block;
}

void faultFree(void* block)
{
    if (block)
        --gFaults->outstanding;
    gFaults->real.free(block);
}

}  // namespace

const char* callName(Call call)
{
    static const char* const names[] = {"open",  "read",  "write", "close",  "fsync", "rename", "flock",
                                        "stat",  "unlink", "mkdir", "dlopen", "posix_spawn", "allocation"};
    return call < Call::Count ? names[(int)call] : "none";
}

FaultInjector::FaultInjector(Call failing, unsigned nth)
{
    if (gFaults)
        throw std::logic_error("one fault injector at a time");
    gFaults = new Faults;
    gFaults->real = *PxGetSyscalls();
    for (auto& c : gFaults->counts)
        c = 0;
    gFaults->failing = failing;
    gFaults->nth = nth;
    *PxGetSyscalls() = PxSyscalls{faultOpen,  faultRead,  faultWrite,  faultClose, faultFsync,  faultRename, faultFlock,
                                  faultStat,  faultUnlink, faultMkdir, faultDlopen, faultSpawn, faultCalloc, faultFree};
}

FaultInjector::~FaultInjector()
{
    *PxGetSyscalls() = gFaults->real;  // before the guard, which restores the same
    delete gFaults;
    gFaults = nullptr;
}

unsigned FaultInjector::count(Call call) const { return gFaults->counts[(int)call]; }

bool FaultInjector::fired() const { return gFaults->fired; }

long FaultInjector::outstandingBlocks() const { return gFaults->outstanding; }

}  // namespace testkit
