// Processes, the Windows version, the temporary folder and the printer-driver
// folder, as the POSIX platform library exports them: Windows names, C linkage,
// Windows signatures and last-error values.
//
// Processes are started without waiting, as CreateProcessW does: the command
// line is split into arguments by the Windows quoting rules, the program path is
// mapped into the system root, and the handles returned must be closed with
// CloseHandle. The temporary folder is the root's C:\windows\temp, the
// printer-driver folder its C:\windows\system32\spool\drivers\x64.
#pragma once

#include "px/wintypes.h"

#ifndef _WIN32

struct SECURITY_ATTRIBUTES;
typedef SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

#ifndef ERROR_INVALID_LEVEL
#define ERROR_INVALID_LEVEL 124
#endif
#ifndef ERROR_BUFFER_OVERFLOW
#define ERROR_BUFFER_OVERFLOW 111
#endif
#ifndef ERROR_DIRECTORY
#define ERROR_DIRECTORY 267
#endif
#ifndef ERROR_BAD_EXE_FORMAT
#define ERROR_BAD_EXE_FORMAT 193
#endif
#ifndef WAIT_OBJECT_0
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu
#define INFINITE 0xFFFFFFFFu
#endif

// Creation flags and the exit code of a process that is still running.
#define DEBUG_PROCESS 0x00000001
#define CREATE_SUSPENDED 0x00000004
#define DETACHED_PROCESS 0x00000008
#define CREATE_NEW_CONSOLE 0x00000010
#define NORMAL_PRIORITY_CLASS 0x00000020
#define CREATE_UNICODE_ENVIRONMENT 0x00000400
#define CREATE_NO_WINDOW 0x08000000
#define STILL_ACTIVE 259

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
typedef STARTUPINFOW* LPSTARTUPINFOW;
static_assert(sizeof(STARTUPINFOW) == 104, "STARTUPINFOW");

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
typedef PROCESS_INFORMATION* LPPROCESS_INFORMATION;
static_assert(sizeof(PROCESS_INFORMATION) == 24, "PROCESS_INFORMATION");

// Starts a program and returns at once. lpApplicationName, when given, names the
// program; otherwise the first argument of lpCommandLine does. The program runs
// in the caller's environment and folder: a given environment block or folder
// is refused (ERROR_NOT_SUPPORTED), as are suspended and debugged starts.
PX_API BOOL CreateProcessW(LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                           LPSECURITY_ATTRIBUTES lpProcessAttributes, LPSECURITY_ATTRIBUTES lpThreadAttributes,
                           BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment,
                           LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                           LPPROCESS_INFORMATION lpProcessInformation);
// Waits for a process handle to be signalled (the process ended).
PX_API DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
// The exit code of a process, or STILL_ACTIVE while it runs.
PX_API BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode);

// Low byte: major version; next byte: minor version; high word: build number.
PX_API DWORD GetVersion(void);

// Temporary files
PX_API DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer);
PX_API UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName);

// The printer-driver folder of the local machine (level 1 only).
PX_API BOOL GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory,
                                       DWORD cbBuf, LPDWORD pcbNeeded);

// Controls that Windows has no call for.
//
// The Windows version GetVersion reports: the one set here, else the
// environment variable PUMEX_WINDOWS_VERSION ("5.1", "6.0", "10.0"), else 10.0.
// A major version of 0 goes back to that choice.
PX_API void PxSetWindowsVersion(DWORD major, DWORD minor);

#endif
