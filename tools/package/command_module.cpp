// The driver package's command module "qruxprcmdl.dll": starts the package's
// programs for the person printing. The plug-in loads it on Windows 6 and
// later and looks up its two exports by name.
#include "package_text.h"

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// Starts a command line; its process handle goes to *process when asked for,
// else it runs on unwatched. FALSE (and the last error) when it did not start.
BOOL start(LPWSTR commandLine, HANDLE* process)
{
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi))
        return FALSE;
    CloseHandle(pi.hThread);
    if (process)
        *process = pi.hProcess;
    else
        CloseHandle(pi.hProcess);
    return TRUE;
}

}  // namespace

// Runs a command line as the printing user: on Linux the user is the one
// running the job already. Returns 0 when the program started, else the error.
MODULE_EXPORT DWORD ExecProcessForPrinter(LPWSTR, LPWSTR commandLine)
{
    if (!commandLine)
        return ERROR_INVALID_PARAMETER;
    return start(commandLine, nullptr) ? 0 : GetLastError();
}

// Shows the error dialog for a printer, as a modal dialog does: starts the
// dialog program and waits for it. Returns its exit code, or -1 when it could
// not be started (or a name would break its command line).
MODULE_EXPORT INT DisplayErrorDlg(LPWSTR printerName, LPWSTR dialogPath, DWORD errorCode, DWORD)
{
    std::string printer = package::utf8(printerName), dialog = package::utf8(dialogPath);
    if (dialog.empty() || dialog.find('"') != std::string::npos || printer.find('"') != std::string::npos)
        return -1;
    std::u16string line = package::wide("\"" + dialog + "\" --error " + std::to_string(errorCode) + " --printer \"" +
                                        printer + "\"");
    HANDLE process = nullptr;
    if (!start(&line[0], &process))
        return -1;
    WaitForSingleObject(process, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    return (INT)code;
}
