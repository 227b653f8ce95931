// Helper processes: the error dialog, the preview viewer and the temporary
// files that carry pages to them.
#include "output/helpers.h"

#include "config/config.h"
#include "diag/diag.h"

namespace {

const WCHAR kCommandModule[] = WSTR("qruxprcmdl.dll");
const WCHAR kDialogProgram[] = WSTR("qruxprdlg.dll");
const WCHAR kTempPrefix[] = WSTR("pmx");

// The command module's exports.
typedef DWORD(WINAPI* PFN_ExecProcessForPrinter)(LPWSTR printerName, LPWSTR commandLine);
typedef INT(WINAPI* PFN_DisplayErrorDlg)(LPWSTR printerName, LPWSTR dialogPath, DWORD errorCode, DWORD reserved);

template <typename Fn>
Fn procAs(FARPROC proc)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(proc));
}

void addChar(CommandLine* line, WCHAR c)
{
    if (line->length + 1 >= HELPER_TEXT_CHARS) {
        line->bad = TRUE;
        return;
    }
    line->text[line->length++] = c;
    line->text[line->length] = 0;
}

void addChars(CommandLine* line, WCHAR c, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        addChar(line, c);
}

// Releases both handles of a started program without waiting for it.
void releaseProcess(PROCESS_INFORMATION* pi)
{
    if (pi->hThread)
        CloseHandle(pi->hThread);
    if (pi->hProcess)
        CloseHandle(pi->hProcess);
}

// Starts a command line with CreateProcessW and the given creation flags,
// without waiting; the process id goes to *processId. Returns CreateProcessW's answer.
DWORD startProcess(CommandLine* line, DWORD creationFlags, DWORD* processId)
{
    STARTUPINFOW si = {};
    PROCESS_INFORMATION pi = {};
    si.cb = sizeof si;
    DWORD result = CreateProcessW(nullptr, line->text, nullptr, nullptr, FALSE, creationFlags, nullptr, nullptr,
                                  &si, &pi);
    if (processId)
        *processId = pi.dwProcessId;
    releaseProcess(&pi);
    return result;
}

// The dialog program's command line; FALSE (logged for caller) when it cannot be built whole.
BOOL dialogLine(CommandLine* line, const Config* config, DWORD errorCode, LPCWSTR frontFile, LPCWSTR backFile,
                const char* caller, const char* logFormat)
{
    WCHAR dialogPath[HELPER_TEXT_CHARS];
    getDriverPackageFile(dialogPath, HELPER_TEXT_CHARS, kDialogProgram);
    buildDialogCommandLine(line, dialogPath, errorCode, config->printerName, frontFile, backFile);
    LogMessage(logFormat, line->text);
    if (line->bad)
        LogMessage("%s(): command line does not fit or names no program, not started\n", caller);
    return line->bad ? FALSE : TRUE;
}

}  // namespace

void CommandLine_init(CommandLine* line)
{
    line->text[0] = 0;
    line->length = 0;
    line->bad = FALSE;
}

void CommandLine_addProgram(CommandLine* line, LPCWSTR path)
{
    // A program path is read up to the next quote: one inside it would name
    // another program. Windows paths hold no quotes, so such a path is refused.
    if (!path || !*path)
        line->bad = TRUE;
    for (const WCHAR* p = path; p && *p; ++p)
        if (*p == '"')
            line->bad = TRUE;
    addChar(line, '"');
    for (const WCHAR* p = path; p && *p; ++p)
        addChar(line, *p);
    addChar(line, '"');
}

void CommandLine_addText(CommandLine* line, const char* text)
{
    for (const char* p = text; p && *p; ++p)
        addChar(line, (WCHAR)(unsigned char)*p);
}

void CommandLine_addNumber(CommandLine* line, DWORD number)
{
    WCHAR digits[12];
    size_t n = 0;
    do {
        digits[n++] = (WCHAR)('0' + number % 10);
        number /= 10;
    } while (number);
    while (n)
        addChar(line, digits[--n]);
}

void CommandLine_addQuoted(CommandLine* line, LPCWSTR argument)
{
    // Backslashes count only before a quote: there each one is doubled and the
    // quote is escaped; before the closing quote they are doubled so that it
    // still closes. Everything else goes as it is, so ordinary names come out
    // exactly as `"name"`.
    addChar(line, '"');
    const WCHAR* p = argument ? argument : WSTR("");
    while (*p) {
        size_t backslashes = 0;
        while (p[backslashes] == '\\')
            ++backslashes;
        WCHAR next = p[backslashes];
        if (next == 0) {
            addChars(line, '\\', backslashes * 2);
            p += backslashes;
        } else if (next == '"') {
            addChars(line, '\\', backslashes * 2 + 1);
            addChar(line, '"');
            p += backslashes + 1;
        } else {
            addChars(line, '\\', backslashes);
            addChar(line, next);
            p += backslashes + 1;
        }
    }
    addChar(line, '"');
}

void buildDialogCommandLine(CommandLine* line, LPCWSTR dialogPath, DWORD errorCode, LPCWSTR printerName,
                            LPCWSTR frontFile, LPCWSTR backFile)
{
    CommandLine_init(line);
    CommandLine_addProgram(line, dialogPath);
    CommandLine_addText(line, " --error ");
    CommandLine_addNumber(line, errorCode);
    CommandLine_addText(line, " --printer ");
    CommandLine_addQuoted(line, printerName);
    if (frontFile) {
        CommandLine_addText(line, " --files ");
        CommandLine_addQuoted(line, frontFile);
        CommandLine_addText(line, " ");
        CommandLine_addQuoted(line, backFile);
    }
}

void buildViewerCommandLine(CommandLine* line, LPCWSTR viewerPath, LPCWSTR fileName, LPCWSTR printerName)
{
    CommandLine_init(line);
    CommandLine_addProgram(line, viewerPath);
    CommandLine_addText(line, " ");
    CommandLine_addQuoted(line, fileName);
    CommandLine_addText(line, " -printer ");
    CommandLine_addQuoted(line, printerName);
}

BOOL getDriverPackageFile(LPWSTR path, size_t chars, LPCWSTR name)
{
    // The folder is asked into a buffer of the path's own size; "\3\" and the
    // name are added only when the whole path fits, never cut.
    path[0] = 0;
    DWORD needed = 0;
    if (!GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<LPBYTE>(path),
                                    (DWORD)(chars * sizeof(WCHAR)), &needed)) {
        path[0] = 0;
        return FALSE;
    }
    size_t folder = px_wcslen(path);
    if (folder + 3 + px_wcslen(name) + 1 > chars) {
        path[0] = 0;
        return FALSE;
    }
    px_wcscat(path, chars, WSTR("\\3\\"));
    px_wcscat(path, chars, name);
    return TRUE;
}

BOOL isCommandModuleSystem() { return (GetVersion() & 0xFF) >= 6 ? TRUE : FALSE; }

UINT getTempFileName(LPWSTR fileName)
{
    WCHAR folder[MAX_PATH];
    fileName[0] = 0;
    DWORD length = GetTempPathW(MAX_PATH, folder);
    if (length == 0 || length >= MAX_PATH) {
        LogMessage("getTempFileName(): no temporary folder, error %u\n", GetLastError());
        return 0;
    }
    UINT unique = GetTempFileNameW(folder, kTempPrefix, 0, fileName);
    if (unique == 0) {
        fileName[0] = 0;
        LogMessage("getTempFileName(): no temporary file in %ws, error %u\n", folder, GetLastError());
    }
    return unique;
}

DWORD CreateProcessAsUserForVista(LPWSTR printerName, LPWSTR commandLine)
{
    WCHAR modulePath[HELPER_TEXT_CHARS];
    getDriverPackageFile(modulePath, HELPER_TEXT_CHARS, kCommandModule);
    LogMessage("CreateProcessAsUserForVista(): %S\n", modulePath);
    HMODULE module = modulePath[0] ? LoadLibraryW(modulePath) : nullptr;
    if (!module)
        return 0;
    LogMessage("CreateProcessAsUserForVista(): got module handle %S\n", modulePath);
    auto exec = procAs<PFN_ExecProcessForPrinter>(GetProcAddress(module, "ExecProcessForPrinter"));
    if (!exec)
        return 0;
    LogMessage("CreateProcessAsUserForVista(): got proc address\n");
    exec(printerName, commandLine);
    // The module stays loaded: the program it started may still be talking to it.
    return 0;
}

INT DisplayErrorDlgXP(const Config* config, DWORD errorCode)
{
    if (isCommandModuleSystem())
        return DisplayErrorDlgVista(config, errorCode);

    CommandLine line;
    if (!dialogLine(&line, config, errorCode, nullptr, nullptr, "DisplayErrorDlgXP",
                    "DisplayErrorDlgXP(): create process %ws\n"))
        return -1;
    DWORD processId = 0;
    startProcess(&line, CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS | CREATE_UNICODE_ENVIRONMENT, &processId);
    LogMessage("DisplayErrorDlgXP(): processId=0x%p\n", (void*)(ULONG_PTR)processId);
    LogMessage("DisplayErrorDlgXP(): process exit %d %d\n", STILL_ACTIVE, processId);
    return STILL_ACTIVE;
}

INT DisplayErrorDlgVista(const Config* config, DWORD errorCode)
{
    WCHAR printerName[HELPER_TEXT_CHARS];
    WCHAR dialogPath[HELPER_TEXT_CHARS];
    WCHAR modulePath[HELPER_TEXT_CHARS];
    px_wcscpy(printerName, HELPER_TEXT_CHARS, config->printerName);
    getDriverPackageFile(dialogPath, HELPER_TEXT_CHARS, kDialogProgram);
    getDriverPackageFile(modulePath, HELPER_TEXT_CHARS, kCommandModule);

    HMODULE module = modulePath[0] ? LoadLibraryW(modulePath) : nullptr;
    LogMessage("DisplayErrorDlgVista(): 0x%p %d\n", (void*)module, GetLastError());
    LogMessage("DisplayErrorDlgVista(): %ws\n", dialogPath);
    LogMessage("DisplayErrorDlgVista(): %ws\n", modulePath);
    if (!module)
        return -1;

    auto display = procAs<PFN_DisplayErrorDlg>(GetProcAddress(module, "DisplayErrorDlg"));
    INT result = display ? display(printerName, dialogPath, errorCode, 0) : -1;
    LogMessage("DisplayErrorDlgVista(): DisplayErrorDlg=0x%p\n", (void*)display);
    LogMessage("DisplayErrorDlgVista(): DisplayErrorDlg()=%d\n", result);
    FreeLibrary(module);
    return result;
}

namespace {

// Starts a command line for the printer's user: through the command module
// from Windows 6 on, else with CreateProcessW and the given creation flags,
// without waiting. Returns what CreateProcessW answered (0 on the newer path).
DWORD startForPrinter(const Config* config, CommandLine* line, DWORD creationFlags, const char* caller)
{
    if (isCommandModuleSystem()) {
        // Printer names are at most 220 characters on Windows, so the copy of
        // MAX_PATH always holds the whole name; a longer one is refused, not
        // cut. The whole line goes to the command module: a copy cut to
        // MAX_PATH characters could lose a closing quote and change what starts.
        WCHAR printerName[MAX_PATH];
        if (px_wcslen(config->printerName) >= MAX_PATH) {
            LogMessage("%s(): printer name too long, not started\n", caller);
            return 0;
        }
        px_wcscpy(printerName, MAX_PATH, config->printerName);
        return CreateProcessAsUserForVista(printerName, line->text);
    }
    return startProcess(line, creationFlags, nullptr);
}

}  // namespace

void envokeViewer(LPCWSTR viewerPath, LPCWSTR fileName, const Config* config)
{
    CommandLine line;
    buildViewerCommandLine(&line, viewerPath, fileName, config->printerName);
    LogMessage("envokeViewer(): cmdLine -- %ws\n", line.text);
    if (line.bad) {
        LogMessage("envokeViewer(): command line does not fit or names no program, not started\n");
        return;
    }
    DWORD result = startForPrinter(config, &line, DETACHED_PROCESS, "envokeViewer");
    LogMessage("envokeViewer(): %u=CreateProcess(), err=%d\n", result, GetLastError());
}

void startPageFilesDialog(const Config* config, LPCWSTR frontFile, LPCWSTR backFile)
{
    CommandLine line;
    if (dialogLine(&line, config, DLG_ERROR_PAGE_FILES, frontFile, backFile, "startPageFilesDialog",
                   "cmdLine: %ws\n"))
        startForPrinter(config, &line, CREATE_NO_WINDOW, "startPageFilesDialog");
}
