// Processes and the Windows version.
//
// CreateProcessW splits the command line into arguments exactly as a Windows
// program's start-up code would (the rules of CommandLineToArgvW), maps the
// program's path into the system root and spawns it without waiting. The two
// handles it returns (process and thread) stand for the same child; whichever
// is closed last hands a child that is still running to a list of orphans,
// which later calls reap, so started programs never linger as zombies.
#include "internal.h"
#include "px/winproc.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <new>
#include <mutex>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace px {
// Closes h when it is a process or thread handle of this library: returns true
// and the result of the close in *result. Otherwise returns false and leaves
// the thread's last error as it was, so CloseHandle can try the other kinds.
bool closeProcessHandle(HANDLE h, BOOL* result);
}  // namespace px

namespace {

// One started program, shared by its process and thread handles.
struct Child {
    pid_t pid = 0;
    bool ended = false;
    DWORD exitCode = STILL_ACTIVE;
    std::vector<std::string> args;  // as the program received them
};

struct ProcessHandle : px::HandleHeader {
    std::shared_ptr<Child> child;
};

std::mutex gChildLock;  // guards every Child and the orphan list
std::vector<std::shared_ptr<Child>>& orphans()
{
    static auto* list = new std::vector<std::shared_ptr<Child>>();
    return *list;
}

// Every program started and not yet reported by PxWaitForStartedPrograms, oldest first.
std::vector<std::shared_ptr<Child>>& started()
{
    static auto* list = new std::vector<std::shared_ptr<Child>>();
    return *list;
}

// Collects the child's exit status if it has ended; never blocks. Caller holds gChildLock.
void pollChild(Child& c)
{
    if (c.ended)
        return;
    int status = 0;
    pid_t r = ::waitpid(c.pid, &status, WNOHANG);
    if (r == c.pid) {
        c.ended = true;
        if (WIFEXITED(status))
            c.exitCode = (DWORD)WEXITSTATUS(status);
        else
            c.exitCode = WIFSIGNALED(status) ? 128u + (DWORD)WTERMSIG(status) : 1u;
    } else if (r < 0 && errno == ECHILD) {
        // Reaped elsewhere (SIGCHLD ignored by the host): it has ended, its code is lost.
        c.ended = true;
        c.exitCode = 0;
    }
}

// Reaps orphans that have ended. Caller holds gChildLock.
void reapOrphans()
{
    auto& list = orphans();
    for (size_t i = 0; i < list.size();) {
        pollChild(*list[i]);
        if (list[i]->ended) {
            list[i] = list.back();
            list.pop_back();
        } else {
            ++i;
        }
    }
}

bool isBlank(WCHAR c) { return c == u' ' || c == u'\t'; }

// The program name: up to the next quote when it starts with one (backslashes
// are plain characters there, since a path holds no quote), else up to the next
// blank. Returns the position just after it.
const WCHAR* takeProgramName(const WCHAR* s, std::u16string& out)
{
    if (*s == u'"') {
        ++s;
        while (*s && *s != u'"')
            out += *s++;
        if (*s == u'"')
            ++s;
        return s;
    }
    while (*s && !isBlank(*s))
        out += *s++;
    return s;
}

// Splits a command line into arguments by the Windows rules:
//  - the program name is read as takeProgramName says;
//  - other arguments are separated by blanks outside quotes;
//  - 2n backslashes before a quote give n backslashes and the quote opens or
//    closes a quoted part; 2n+1 backslashes give n backslashes and a literal quote;
//  - backslashes not before a quote are plain characters;
//  - within a quoted part, a doubled quote gives one literal quote and ends the
//    part; three quotes in a row outside give one literal quote.
std::vector<std::u16string> splitCommandLine(const WCHAR* s)
{
    std::vector<std::u16string> args;
    if (!s)
        return args;
    std::u16string program;
    s = takeProgramName(s, program);
    args.push_back(program);

    std::u16string arg;
    bool started = false;
    int quotes = 0;  // 0 outside a quoted part, 1 inside
    size_t backslashes = 0;
    while (isBlank(*s))
        ++s;
    while (*s) {
        WCHAR c = *s;
        if (isBlank(c) && quotes == 0) {
            arg.append(backslashes, u'\\');
            backslashes = 0;
            args.push_back(arg);
            arg.clear();
            started = false;
            while (isBlank(*s))
                ++s;
            continue;
        }
        started = true;
        if (c == u'\\') {
            ++backslashes;
            ++s;
            continue;
        }
        if (c == u'"') {
            arg.append(backslashes / 2, u'\\');
            if (backslashes % 2)
                arg += u'"';
            else
                ++quotes;
            backslashes = 0;
            ++s;
            while (*s == u'"') {
                ++s;
                if (++quotes == 3) {
                    arg += u'"';
                    quotes = 0;
                }
            }
            if (quotes == 2)
                quotes = 0;
            continue;
        }
        arg.append(backslashes, u'\\');
        backslashes = 0;
        arg += c;
        ++s;
    }
    if (started) {
        arg.append(backslashes, u'\\');
        args.push_back(arg);
    }
    return args;
}

}  // namespace

namespace px {

bool closeProcessHandle(HANDLE h, BOOL* result)
{
    DWORD lastError = GetLastError();
    auto* p = handleAs<ProcessHandle>(h, HandleKind::Process);
    if (!p) {
        SetLastError(lastError);
        return false;
    }
    unregisterHandle(p);
    std::shared_ptr<Child> child = std::move(p->child);
    delete p;
    std::lock_guard<std::mutex> lock(gChildLock);
    pollChild(*child);
    if (!child->ended && child.use_count() == 1)
        orphans().push_back(child);  // the last handle: reap it when it ends
    reapOrphans();
    *result = TRUE;
    return true;
}

}  // namespace px

namespace {

// The Windows error for a program path that cannot be started, or 0.
DWORD checkProgram(const std::string& path)
{
    struct stat st;
    if (path.empty())
        return ERROR_PATH_NOT_FOUND;
    if (PxGetSyscalls()->stat(path.c_str(), &st) != 0)
        return errno == ENOENT ? ERROR_FILE_NOT_FOUND : px::errorFromErrno(errno);
    if (S_ISDIR(st.st_mode) || ::access(path.c_str(), X_OK) != 0)
        return ERROR_ACCESS_DENIED;
    return 0;
}

// Spawn attributes: default signal handling and mask in the child, its own
// session when it gets a console or none, and no terminal output when it runs
// without a window.
struct SpawnSetup {
    posix_spawnattr_t attr;
    posix_spawn_file_actions_t actions;
    SpawnSetup() { posix_spawnattr_init(&attr), posix_spawn_file_actions_init(&actions); }
    ~SpawnSetup() { posix_spawnattr_destroy(&attr), posix_spawn_file_actions_destroy(&actions); }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;
};

bool prepareSpawn(SpawnSetup& s, DWORD flags)
{
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    sigaddset(&defaults, SIGCHLD);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    short spawnFlags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (flags & (DETACHED_PROCESS | CREATE_NEW_CONSOLE))
        spawnFlags |= POSIX_SPAWN_SETSID;
    if (posix_spawnattr_setsigmask(&s.attr, &none) != 0 || posix_spawnattr_setsigdefault(&s.attr, &defaults) != 0 ||
        posix_spawnattr_setflags(&s.attr, spawnFlags) != 0)
        return false;
    if (flags & (DETACHED_PROCESS | CREATE_NO_WINDOW)) {
        for (int fd = 0; fd <= 2; ++fd)
            if (posix_spawn_file_actions_addopen(&s.actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0) != 0)
                return false;
    }
    return true;
}

HANDLE newProcessHandle(const std::shared_ptr<Child>& child)
{
    auto* h = new (std::nothrow) ProcessHandle();
    if (!h)
        return nullptr;
    h->kind = px::HandleKind::Process;
    h->child = child;
    px::registerHandle(h);
    return h;
}

struct VersionChoice {
    DWORD major;
    DWORD minor;
};
std::mutex gVersionLock;
VersionChoice gVersionOverride = {0, 0};

// "major.minor" from the environment, or 10.0.
VersionChoice versionFromEnvironment()
{
    const char* text = std::getenv("PUMEX_WINDOWS_VERSION");
    if (!text || !*text)
        return {10, 0};
    char* end = nullptr;
    unsigned long major = std::strtoul(text, &end, 10);
    unsigned long minor = 0;
    if (end && *end == '.')
        minor = std::strtoul(end + 1, &end, 10);
    if (end == text || (end && *end) || major == 0 || major > 255 || minor > 255)
        return {10, 0};
    return {(DWORD)major, (DWORD)minor};
}

// The build number Windows reports with each version, for programs that print it.
DWORD buildOf(VersionChoice v)
{
    static const struct {
        DWORD major, minor, build;
    } kBuilds[] = {{5, 0, 2195}, {5, 1, 2600}, {5, 2, 3790}, {6, 0, 6002},
                   {6, 1, 7601}, {6, 2, 9200}, {6, 3, 9600}, {10, 0, 19045}};
    for (const auto& b : kBuilds)
        if (b.major == v.major && b.minor == v.minor)
            return b.build;
    return 0;
}

}  // namespace

BOOL CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES,
                    BOOL, DWORD dwCreationFlags, LPVOID lpEnvironment, LPCWSTR lpCurrentDirectory,
                    LPSTARTUPINFOW lpStartupInfo, LPPROCESS_INFORMATION lpProcessInformation)
{
    if (!lpStartupInfo || !lpProcessInformation)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    // The plug-in starts its helpers plainly: in the caller's environment and
    // folder, running at once. Anything else is refused rather than half done.
    if ((dwCreationFlags & (CREATE_SUSPENDED | DEBUG_PROCESS)) || lpEnvironment ||
        (lpCurrentDirectory && *lpCurrentDirectory))
        return px::fail(ERROR_NOT_SUPPORTED, FALSE);
    bool haveApp = lpApplicationName && *lpApplicationName;
    bool haveLine = lpCommandLine && *lpCommandLine;
    if (!haveApp && !haveLine)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);

    std::vector<std::u16string> wideArgs;
    if (haveLine)
        wideArgs = splitCommandLine(lpCommandLine);
    std::u16string program = haveApp ? std::u16string(lpApplicationName) : wideArgs[0];
    if (wideArgs.empty())
        wideArgs.push_back(program);
    if (program.empty())
        return px::fail(ERROR_PATH_NOT_FOUND, FALSE);

    std::string path = px::mapPath(px::narrow(program.c_str()).c_str());
    if (DWORD error = checkProgram(path))
        return px::fail(error, FALSE);

    std::vector<std::string> args;
    for (const auto& a : wideArgs)
        args.push_back(px::narrow(a.c_str()));
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);

    SpawnSetup setup;
    if (!prepareSpawn(setup, dwCreationFlags))
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    auto child = std::make_shared<Child>();
    int rc = PxGetSyscalls()->spawn(&child->pid, path.c_str(), &setup.actions, &setup.attr, argv.data(), environ);
    {
        std::lock_guard<std::mutex> lock(gChildLock);
        reapOrphans();
    }
    if (rc != 0)
        return px::fail(rc == ENOEXEC ? ERROR_BAD_EXE_FORMAT : px::errorFromErrno(rc), FALSE);
    child->args = std::move(args);
    {
        std::lock_guard<std::mutex> lock(gChildLock);
        started().push_back(child);
    }

    HANDLE process = newProcessHandle(child);
    HANDLE thread = process ? newProcessHandle(child) : nullptr;
    if (!thread) {
        // The program runs; only our bookkeeping failed. Reap it later.
        if (process) {
            BOOL ignored;
            px::closeProcessHandle(process, &ignored);
        } else {
            std::lock_guard<std::mutex> lock(gChildLock);
            orphans().push_back(child);
        }
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    }
    lpProcessInformation->hProcess = process;
    lpProcessInformation->hThread = thread;
    lpProcessInformation->dwProcessId = (DWORD)child->pid;
    lpProcessInformation->dwThreadId = (DWORD)child->pid;
    return TRUE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    auto* p = px::handleAs<ProcessHandle>(hHandle, px::HandleKind::Process);
    if (!p)
        return WAIT_FAILED;
    std::shared_ptr<Child> child = p->child;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(dwMilliseconds);
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(gChildLock);
            pollChild(*child);
            if (child->ended)
                return WAIT_OBJECT_0;
        }
        if (dwMilliseconds != INFINITE && std::chrono::steady_clock::now() >= deadline)
            return WAIT_TIMEOUT;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode)
{
    auto* p = px::handleAs<ProcessHandle>(hProcess, px::HandleKind::Process);
    if (!p)
        return FALSE;
    if (!lpExitCode)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    std::lock_guard<std::mutex> lock(gChildLock);
    pollChild(*p->child);
    *lpExitCode = p->child->exitCode;
    return TRUE;
}

DWORD GetVersion(void)
{
    VersionChoice v;
    {
        std::lock_guard<std::mutex> lock(gVersionLock);
        v = gVersionOverride;
    }
    if (v.major == 0)
        v = versionFromEnvironment();
    return (v.major & 0xFF) | ((v.minor & 0xFF) << 8) | ((buildOf(v) & 0x7FFF) << 16);
}

void PxSetWindowsVersion(DWORD major, DWORD minor)
{
    std::lock_guard<std::mutex> lock(gVersionLock);
    gVersionOverride = {major & 0xFF, minor & 0xFF};
}

DWORD PxWaitForStartedPrograms(PxStartedProgramFn report, void* context)
{
    std::vector<std::shared_ptr<Child>> list;
    {
        std::lock_guard<std::mutex> lock(gChildLock);
        list.swap(started());
    }
    for (const auto& child : list) {
        for (;;) {
            {
                std::lock_guard<std::mutex> lock(gChildLock);
                pollChild(*child);
                if (child->ended)
                    break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        if (report) {
            std::vector<const char*> argv;
            for (const auto& a : child->args)
                argv.push_back(a.c_str());
            report(context, (int)argv.size(), argv.data(), child->exitCode);
        }
    }
    return (DWORD)list.size();
}
