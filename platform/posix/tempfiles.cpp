// The temporary folder, temporary file names and the printer-driver folder.
//
// Both folders are folders of the system root, so each root (each test) has
// its own: C:\windows\temp, the temporary folder of the spooler's account, and
// C:\windows\system32\spool\drivers\x64, where the driver package's helper
// programs lie.
#include "internal.h"
#include "px/winproc.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const WCHAR kTempFolder[] = WSTR("C:\\windows\\temp\\");
const WCHAR kDriverFolder[] = WSTR("C:\\windows\\system32\\spool\\drivers\\");

// Characters of the longest name GetTempFileNameW may add to the folder:
// a separator, three prefix characters, four hex digits and ".tmp".
constexpr size_t kTempNameChars = 1 + 3 + 4 + 4;

std::u16string hexText(UINT n)
{
    static const char16_t kDigits[] = u"0123456789ABCDEF";
    std::u16string out;
    do {
        out.insert(out.begin(), kDigits[n & 0xF]);
        n >>= 4;
    } while (n);
    return out;
}

bool endsWithSeparator(const std::u16string& s) { return !s.empty() && (s.back() == u'\\' || s.back() == u'/'); }

// The number a generated name starts from: the clock and the process id, so two
// processes that ask at the same moment start apart.
UINT firstUnique()
{
    auto ticks = (UINT)std::chrono::duration_cast<std::chrono::milliseconds>(
                     std::chrono::steady_clock::now().time_since_epoch())
                     .count();
    UINT n = (ticks ^ ((UINT)::getpid() * 2654435761u >> 16)) & 0xFFFF;
    return n ? n : 1;
}

// Creates the file if no file of that name exists. 0: created; EEXIST: taken; other errno values: failure.
int createExclusive(const std::u16string& winName)
{
    std::string path = px::mapPath(px::narrow(winName.c_str()).c_str());
    if (path.empty())
        return ENOENT;
    int fd = PxGetSyscalls()->open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        return errno ? errno : EIO;
    PxGetSyscalls()->close(fd);
    return 0;
}

bool sameTextIgnoringCase(const WCHAR* a, const char* b)
{
    for (; *a && *b; ++a, ++b) {
        WCHAR x = (*a >= u'A' && *a <= u'Z') ? (WCHAR)(*a + 32) : *a;
        char y = (*b >= 'A' && *b <= 'Z') ? (char)(*b + 32) : *b;
        if (x != (WCHAR)(unsigned char)y)
            return false;
    }
    return *a == 0 && *b == 0;
}

// The driver folder's last part for an environment name; null when unknown.
const WCHAR* environmentFolder(const WCHAR* environment)
{
    if (!environment || !*environment || sameTextIgnoringCase(environment, "Windows x64"))
        return WSTR("x64");
    if (sameTextIgnoringCase(environment, "Windows NT x86"))
        return WSTR("W32X86");
    return nullptr;
}

}  // namespace

DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer)
{
    // The root's standard folders include it; make it again if someone removed it.
    std::string folder = px::mapPath("C:\\windows\\temp");
    PxGetSyscalls()->mkdir(folder.c_str(), 0777);
    DWORD length = (DWORD)px_wcslen(kTempFolder);
    if (!lpBuffer || nBufferLength <= length)
        return length + 1;  // the size needed, terminator included
    px_wcscpy(lpBuffer, nBufferLength, kTempFolder);
    return length;
}

UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName)
{
    if (!lpPathName || !lpTempFileName)
        return px::fail(ERROR_INVALID_PARAMETER, 0u);
    std::u16string base(lpPathName);
    if (base.size() + kTempNameChars + 1 > MAX_PATH)
        return px::fail(ERROR_BUFFER_OVERFLOW, 0u);
    if (!endsWithSeparator(base))
        base += u'\\';
    if (lpPrefixString)
        base.append(lpPrefixString, std::min<size_t>(px_wcslen(lpPrefixString), 3));

    if (uUnique != 0) {
        // A caller-chosen number: the name only, no file, as Windows does.
        uUnique &= 0xFFFF;
        px_wcscpy(lpTempFileName, MAX_PATH, (base + hexText(uUnique) + u".tmp").c_str());
        return uUnique;
    }
    UINT n = firstUnique();
    for (UINT tries = 0; tries < 0xFFFF; ++tries) {
        std::u16string name = base + hexText(n) + u".tmp";
        int err = createExclusive(name);
        if (err == 0) {
            px_wcscpy(lpTempFileName, MAX_PATH, name.c_str());
            return n;
        }
        if (err != EEXIST)
            return px::fail(err == ENOENT || err == ENOTDIR ? ERROR_DIRECTORY : px::errorFromErrno(err), 0u);
        n = (n & 0xFFFF) == 0xFFFF ? 1 : n + 1;
    }
    return px::fail(ERROR_FILE_EXISTS, 0u);
}

BOOL GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory, DWORD cbBuf,
                                LPDWORD pcbNeeded)
{
    if (Level != 1)
        return px::fail(ERROR_INVALID_LEVEL, FALSE);
    if (pName && *pName)
        return px::fail(ERROR_INVALID_NAME, FALSE);  // only the local machine is served
    const WCHAR* sub = environmentFolder(pEnvironment);
    if (!sub)
        return px::fail(ERROR_INVALID_ENVIRONMENT, FALSE);
    if (!pcbNeeded)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    std::u16string folder = std::u16string(kDriverFolder) + sub;
    DWORD needed = (DWORD)((folder.size() + 1) * sizeof(WCHAR));
    *pcbNeeded = needed;
    if (!pDriverDirectory || cbBuf < needed)
        return px::fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
    std::memcpy(pDriverDirectory, folder.c_str(), needed);
    return TRUE;
}
