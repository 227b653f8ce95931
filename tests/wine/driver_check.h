// The plug-in module driven as the universal driver drives it, by a program
// built for both targets: the same source runs pumexuni.dll under Wine and
// pumexuni.so natively, and each run writes every scripted document's stream
// to a file so that the two can be compared byte for byte.
#pragma once

#include "win32.h"

#include <string>

// Counts failed checks and says what failed, one line each.
struct CheckLog {
    int failures = 0;
    void fail(const std::string& what);
    void expect(bool ok, const std::string& what)
    {
        if (!ok)
            fail(what);
    }
};

// The printer the documents print to, made known to the spooler where the
// test has to (a registry key under Wine; the runner's system root natively).
bool preparePrinter(const WCHAR* printerName);

// The string table and version resource of the loaded module (the DLL only).
void checkResources(HMODULE module, CheckLog& log);

// GetInfo, GetImplementedMethod, DevMode and EnableDriver's hook table.
void checkFrame(IPrintOemUni* plugin, CheckLog& log);

// Runs every scripted document and writes its stream to outDir/<name>.prn.
void runDocuments(IPrintOemUni* plugin, const std::string& outDir, CheckLog& log);
