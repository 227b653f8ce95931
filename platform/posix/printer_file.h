// Printer files: printers/<name>.json of the system root, read, checked and
// rewritten. Shared by the spooler calls and anything else that views a
// printer's data (the registry keys of a printer map onto the same file).
//
// Readers take no lock: a writer replaces the file by renaming a complete
// copy over it, so a reader always sees one whole version or the other.
#pragma once

#include "internal.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace px {

// A printer file's contents, member order kept as written.
using PrinterDoc = nlohmann::ordered_json;

// A value as the registry hands it out: its REG_* type and its bytes.
struct PrinterValue {
    DWORD type = REG_NONE;
    std::vector<BYTE> bytes;
};

// How reading a printer file went.
enum class PrinterLoad { Ok, Missing, Unreadable, Invalid };

// True when name can be a printer: not empty, no folder separators, not "." or "..".
bool isPrinterName(const std::string& name);

// ASCII case-insensitive equality, as the registry compares key and value names.
bool sameName(const std::string& a, const std::string& b);

// How messages name a file: relative to the system root when inside it.
std::string printerFileLabel(const std::string& path);

// Reads, parses and checks the printer file at path. The printer's name is the
// file's name without ".json". On failure, problem names the file and the key.
PrinterLoad loadPrinterFile(const std::string& path, PrinterDoc& doc, std::string& problem);

// Checks a parsed printer; returns "" when valid, else the key path and problem.
std::string checkPrinter(const PrinterDoc& doc, const std::string& printerName);

// The value data.<key>.<value>, names compared as the registry does; false when absent.
bool findPrinterValue(const PrinterDoc& doc, const std::string& key, const std::string& value, PrinterValue& out);

// The bytes of a typed value (or of a plain string, which is REG_SZ) of a valid file.
PrinterValue decodePrinterValue(const PrinterDoc& typed);

// The file form of a value given as a registry type and bytes. Returns
// ERROR_SUCCESS, or ERROR_INVALID_PARAMETER / ERROR_NOT_SUPPORTED.
DWORD encodePrinterValue(DWORD type, const BYTE* data, DWORD size, PrinterDoc& typed);

// Sets data.<key>.<value> in doc, keeping the spelling and place of an
// existing key or value and creating them (and "data") when missing.
void setPrinterValue(PrinterDoc& doc, const std::string& key, const std::string& value, const PrinterDoc& typed);

// Changes a printer's file: under the printer's lock, re-reads the file, lets
// edit change it, and replaces the file atomically. Returns a Windows error
// code; problem holds a message when the file on disk is unusable.
DWORD updatePrinterFile(const std::string& name, const std::function<DWORD(PrinterDoc&)>& edit,
                        std::string& problem);

// The text of a printer file, laid out as people write them by hand.
std::string formatPrinter(const PrinterDoc& doc);

}  // namespace px
