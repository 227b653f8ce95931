// The diagnostic log: "PumexPro.log" in the all-users application-data folder.
#include "diag.h"

DWORD gDebugLevel = 0;

namespace {

const char kLogFolder[] = "\\Quorvane";
const char kLogName[] = "PumexPro.log";

// Fills path with the log file's path; FALSE when no file path can be had.
// When the folder is known but its "\Quorvane" subfolder can neither be found
// nor made, the message is dropped: opening the folder itself as a file could
// only fail, and a log in some other place would not be found by anyone.
BOOL getLogPath(char* path, size_t cap)
{
    char folder[MAX_PATH] = {0};
    if (FAILED(SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, folder))) {
        px_format(path, cap, "c:\\%s", kLogName);
        return TRUE;
    }
    char sub[MAX_PATH];
    px_format(sub, sizeof sub, "%s%s", folder, kLogFolder);
    if (GetFileAttributesA(sub) == INVALID_FILE_ATTRIBUTES && !CreateDirectoryA(sub, nullptr))
        return FALSE;
    return px_format(path, cap, "%s\\%s", sub, kLogName) > 0 ? TRUE : FALSE;
}

bool levelWrites(DWORD level) { return level == 1 || level == 2; }

}  // namespace

void LogWrite(const char* format, va_list args)
{
    // A log line must not change what the caller's next GetLastError() reports.
    DWORD lastError = GetLastError();
    char message[LOG_BUFFER_SIZE];
    size_t length = px_vformat(message, sizeof message, format, args);

    char path[MAX_PATH];
    if (getLogPath(path, sizeof path)) {
        // Read-only sharing: a writer that collides with another loses its message.
        HANDLE file = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) {
            DWORD written = 0;
            SetFilePointer(file, 0, nullptr, FILE_END);
            WriteFile(file, message, (DWORD)length, &written, nullptr);
            CloseHandle(file);
        }
    }
    SetLastError(lastError);
}

void LogMessage(const char* format, ...)
{
    if (!levelWrites(gDebugLevel))
        return;
    va_list args;
    va_start(args, format);
    LogWrite(format, args);
    va_end(args);
}

void LogDetail(const char* format, ...)
{
    if (gDebugLevel != 2)
        return;
    va_list args;
    va_start(args, format);
    LogWrite(format, args);
    va_end(args);
}
