// Helper processes: the error dialog, the preview viewer, and the temporary
// files that carry pages to them.
//
// The plug-in runs inside the spooler and shows nothing itself. Before
// Windows 6 it starts the driver package's programs with CreateProcessW; from
// Windows 6 on, the package's command module starts them as the printing user.
// No caller waits for a started program.
#pragma once

#include "win32.h"

struct Config;

// Error codes the dialog program understands.
#define DLG_ERROR_PAGE_FILES 33     // front and back page files of a double-sided job
#define DLG_ERROR_MISSING_FONTS 34  // braille font files that are missing

// Paths and command lines are built in buffers of this many characters.
#define HELPER_TEXT_CHARS 4096

// A command line under construction, in fixed storage that is never overrun.
// Arguments are quoted so that the program receives each one exactly: a quote
// or trailing backslashes in a printer name or file name cannot end the
// argument early and add arguments of their own. A line that does not fit, or
// whose program path holds a quote, is marked bad and must not be started.
struct CommandLine {
    WCHAR text[HELPER_TEXT_CHARS];
    size_t length;
    BOOL bad;
};

void CommandLine_init(CommandLine* line);
// The program path in quotes, as the first argument.
void CommandLine_addProgram(CommandLine* line, LPCWSTR path);
// Plain ASCII text as it stands, such as " --error ".
void CommandLine_addText(CommandLine* line, const char* text);
void CommandLine_addNumber(CommandLine* line, DWORD number);
// One argument in quotes, escaped by the Windows quoting rules where needed.
void CommandLine_addQuoted(CommandLine* line, LPCWSTR argument);

// The dialog program's command lines: `"<dialog>" --error <code> --printer "<printer>"`
// and the same followed by ` --files "<front>" "<back>"` when front is given.
void buildDialogCommandLine(CommandLine* line, LPCWSTR dialogPath, DWORD errorCode, LPCWSTR printerName,
                            LPCWSTR frontFile, LPCWSTR backFile);
// The viewer's command line: `"<viewer>" "<stream file>" -printer "<printer>"`.
void buildViewerCommandLine(CommandLine* line, LPCWSTR viewerPath, LPCWSTR fileName, LPCWSTR printerName);

// A file of the driver package: the printer-driver folder, "\3\" and name.
// FALSE (and an empty path) when the folder is unknown or the path does not fit.
BOOL getDriverPackageFile(LPWSTR path, size_t chars, LPCWSTR name);

// TRUE on Windows 6 and later, where the command module starts the helpers.
BOOL isCommandModuleSystem();

// Names a new, empty temporary file ("pmx" prefix) in the temporary folder and
// creates it. fileName holds MAX_PATH characters. Returns the system's unique
// number, or 0 (and an empty name) when no file could be made.
UINT getTempFileName(LPWSTR fileName);

// Runs commandLine as the printing user through the command module's
// ExecProcessForPrinter. Always 0; the log shows how far it got.
DWORD CreateProcessAsUserForVista(LPWSTR printerName, LPWSTR commandLine);

// Shows the error dialog for errorCode: on Windows 6 and later through the
// command module (its result), before that by starting the dialog program
// (STILL_ACTIVE). -1 when nothing could be started.
INT DisplayErrorDlgXP(const Config* config, DWORD errorCode);
INT DisplayErrorDlgVista(const Config* config, DWORD errorCode);

// Starts the preview viewer on a stream file.
void envokeViewer(LPCWSTR viewerPath, LPCWSTR fileName, const Config* config);

// Starts the dialog program on the front and back page files of a double-sided
// document (error 33), for the end of the document.
void startPageFilesDialog(const Config* config, LPCWSTR frontFile, LPCWSTR backFile);
