// Controls of the POSIX platform library that Windows has no call for: the
// system root that stands in for drive C and the registry, the mapping of
// Windows paths into it, and the table of system calls that tests replace to
// make a file operation or an allocation fail on purpose.
#pragma once

#include "win32.h"

#include <sys/types.h>

#ifndef _WIN32
#include <spawn.h>
#include <sys/stat.h>
#endif

#ifndef _WIN32

// The system root: a folder holding drive_c/ and printers/. Chosen by
// PxSetSystemRoot, else the environment variable PUMEX_ROOT, else the default
// compiled into the library. Returns the root in use, without a trailing slash.
PX_API const char* PxGetSystemRoot(void);
// Selects the system root for the rest of the process (null: back to the default
// choice). Creates the standard folders (drive_c/ProgramData, drive_c/windows/...,
// printers) when they are missing. Returns FALSE when the folder cannot be made.
PX_API BOOL PxSetSystemRoot(const char* root);

// Maps a Windows path to a POSIX path: "C:\a\b" -> "<root>/drive_c/a/b" (any
// drive letter, lower-cased), backslashes to slashes; a POSIX absolute path
// passes through. Returns FALSE when the result does not fit cap bytes.
PX_API BOOL PxMapPath(const char* winPath, char* out, size_t cap);
PX_API BOOL PxMapPathW(const WCHAR* winPath, char* out, size_t cap);

// System calls behind the platform library, one named entry each: every file,
// library, process and memory operation of the platform goes through this
// table, so a test can replace any entry to make that call fail on purpose
// (the replacement sets errno as the real call would) and restore the table
// with PxResetSyscalls.
struct PxSyscalls {
    int (*open)(const char* path, int flags, mode_t mode);
    ssize_t (*read)(int fd, void* buf, size_t n);
    ssize_t (*write)(int fd, const void* buf, size_t n);
    int (*close)(int fd);
    int (*fsync)(int fd);
    int (*rename)(const char* from, const char* to);
    int (*flock)(int fd, int operation);
    int (*stat)(const char* path, struct stat* st);
    int (*unlink)(const char* path);
    int (*mkdir)(const char* path, mode_t mode);
    void* (*dlopen)(const char* path, int flags);
    // posix_spawn: returns the error number instead of setting errno.
    int (*spawn)(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]);
    void* (*calloc)(size_t n, size_t size);
    void (*free)(void* block);
};
PX_API PxSyscalls* PxGetSyscalls(void);
PX_API void PxResetSyscalls(void);

// Waits for every program this process started through CreateProcessW since
// the last call (a print job's dialog program or viewer) and reports each,
// oldest first: its arguments as it received them and its exit code. Returns
// how many were reported.
typedef void (*PxStartedProgramFn)(void* context, int argc, const char* const* argv, DWORD exitCode);
PX_API DWORD PxWaitForStartedPrograms(PxStartedProgramFn report, void* context);

// Checks a printer file (printers/<name>.json of the root) against its schema.
// Returns TRUE when valid; otherwise FALSE and a message naming the file and key.
PX_API BOOL PxValidatePrinterFile(const char* path, char* message, size_t cap);

// The text services behind the exported GDI text calls (px/wingdi.h). The
// platform has no fonts or glyphs of its own: a host that draws text registers
// a table at start-up, as SQLite registers a VFS, and every call is handed to
// it unchanged. Entries must not throw; a null entry fails like an
// unregistered table.
struct PxTextServices {
    void (*strobjEnumStart)(STROBJ* pstro);
    BOOL (*strobjEnum)(STROBJ* pstro, ULONG* pc, PGLYPHPOS* ppgpos);
    PIFIMETRICS (*fontobjPifi)(FONTOBJ* pfo);
    ULONG (*fontobjGetGlyphs)(FONTOBJ* pfo, ULONG iMode, ULONG cGlyph, HGLYPH* phg, PVOID* ppvGlyph);
    ULONG (*brushobjGetBrushColor)(BRUSHOBJ* pbo);
    HDC (*createDC)(LPCWSTR driver, LPCWSTR device, LPCWSTR port, const DEVMODEW* pdm);
    HFONT (*createFont)(int cHeight, int cWidth, int cEscapement, int cOrientation, int cWeight, DWORD bItalic,
                        DWORD bUnderline, DWORD bStrikeOut, DWORD iCharSet, DWORD iOutPrecision,
                        DWORD iClipPrecision, DWORD iQuality, DWORD iPitchAndFamily, LPCWSTR faceName);
    HGDIOBJ (*selectObject)(HDC hdc, HGDIOBJ h);
    DWORD (*getFontUnicodeRanges)(HDC hdc, LPGLYPHSET lpgs);
    DWORD (*getGlyphIndices)(HDC hdc, LPCWSTR lpstr, int c, WORD* pgi, DWORD fl);
    BOOL (*deleteObject)(HGDIOBJ ho);
    BOOL (*deleteDC)(HDC hdc);
};
// Registers the table (kept by pointer, so it must outlive its use; null:
// none). Returns the table registered before.
PX_API const PxTextServices* PxRegisterTextServices(const PxTextServices* services);

#endif
