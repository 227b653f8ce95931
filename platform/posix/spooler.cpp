// Spooler calls over the printer files of the system root.
//
// A printer handle remembers only the printer's name: every call reads the
// file again, because another process (a second job, the `pumex` command)
// may have changed the printer since. Return values and last errors are the
// ones Windows documents for each call.
#include "printer_file.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <new>

namespace {

constexpr DWORD kErrorInvalidLevel = 124;        // ERROR_INVALID_LEVEL
constexpr DWORD kPrinterEnumIcon8 = 0x00800000;     // PRINTER_ENUM_ICON8: a printer, not a server

struct PrinterHandle : px::HandleHeader {
    std::string name;
    ACCESS_MASK access = PRINTER_ACCESS_USE;
    std::mutex complaintLock;   // calls on one handle may come from several threads
    std::string lastComplaint;  // the last problem reported for this handle
};

PrinterHandle* printerOf(HANDLE h) { return px::handleAs<PrinterHandle>(h, px::HandleKind::Printer); }

void complain(const std::string& message) { std::fprintf(stderr, "pumex platform: %s\n", message.c_str()); }

// Reports a problem with an open printer's file once, not at every call that meets it.
void complainOnce(PrinterHandle* p, const std::string& message)
{
    std::lock_guard<std::mutex> lock(p->complaintLock);
    if (message.empty() || message == p->lastComplaint)
        return;
    p->lastComplaint = message;
    complain(message);
}

// The open printer's file as it is now, or the Windows error for why it cannot be used.
DWORD readPrinter(PrinterHandle* p, px::PrinterDoc& doc)
{
    std::string problem;
    switch (px::loadPrinterFile(px::printerFilePath(p->name), doc, problem)) {
    case px::PrinterLoad::Ok: return ERROR_SUCCESS;
    case px::PrinterLoad::Missing: complainOnce(p, problem); return ERROR_INVALID_PRINTER_NAME;
    case px::PrinterLoad::Unreadable: complainOnce(p, problem); return ERROR_READ_FAULT;
    case px::PrinterLoad::Invalid: complainOnce(p, problem); return ERROR_INVALID_DATA;
    }
    return ERROR_INVALID_DATA;
}

std::u16string wide(const std::string& s)
{
    std::u16string w(s.size() + 1, u'\0');
    w.resize(px_utf8_to_wide(&w[0], w.size(), s.c_str()));
    return w;
}

// Runs a call's body, turning an exception into the Windows error it stands for.
template <typename Body>
DWORD guardedStatus(Body body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        return ERROR_INVALID_DATA;
    }
}

template <typename Body>
BOOL guardedBool(Body body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    } catch (...) {
        return px::fail(ERROR_INVALID_DATA, FALSE);
    }
}

// A string member of a spooler record and the text it points to.
struct StringField {
    LPWSTR* slot;
    std::u16string text;
};

// Lays out a record and then its strings in the caller's buffer, as the
// spooler hands records out: one block, the record's pointers into it.
template <typename Record>
BOOL fillRecord(Record& record, const std::vector<StringField>& strings, LPBYTE buf, DWORD cbBuf, LPDWORD pcbNeeded)
{
    size_t needed = sizeof(Record);
    for (const StringField& s : strings)
        needed += (s.text.size() + 1) * sizeof(WCHAR);
    if (needed > UINT32_MAX)
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    *pcbNeeded = (DWORD)needed;
    if (!buf || cbBuf < needed)
        return px::fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
    BYTE* cursor = buf + sizeof(Record);
    for (const StringField& s : strings) {
        size_t bytes = (s.text.size() + 1) * sizeof(WCHAR);
        std::memcpy(cursor, s.text.c_str(), bytes);
        *s.slot = reinterpret_cast<LPWSTR>(cursor);
        cursor += bytes;
    }
    std::memcpy(buf, &record, sizeof(Record));
    return TRUE;
}

// Environments a driver may be asked for. Only the 64-bit driver is installed.
DWORD checkEnvironment(LPWSTR pEnvironment)
{
    std::string env = px::narrow(pEnvironment);
    if (env.empty() || px::sameName(env, "Windows x64"))
        return ERROR_SUCCESS;
    static const char* const kOthers[] = {"Windows NT x86", "Windows IA64", "Windows ARM64", "Windows 4.0"};
    for (const char* other : kOthers)
        if (px::sameName(env, other))
            return ERROR_UNKNOWN_PRINTER_DRIVER;
    return ERROR_INVALID_ENVIRONMENT;
}

}  // namespace

BOOL OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault)
{
    if (phPrinter)
        *phPrinter = nullptr;
    if (!pPrinterName || !phPrinter)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    return guardedBool([&]() -> BOOL {
        std::string name = px::narrow(pPrinterName);
        if (!px::isPrinterName(name))
            return px::fail(ERROR_INVALID_PRINTER_NAME, FALSE);
        px::PrinterDoc doc;
        std::string problem;
        px::PrinterLoad load = px::loadPrinterFile(px::printerFilePath(name), doc, problem);
        if (load != px::PrinterLoad::Ok) {
            if (load != px::PrinterLoad::Missing)  // asking for a printer that is not there is no fault
                complain(problem);
            return px::fail(ERROR_INVALID_PRINTER_NAME, FALSE);
        }
        auto printer = std::make_unique<PrinterHandle>();
        printer->kind = px::HandleKind::Printer;
        printer->name = name;
        if (pDefault && pDefault->DesiredAccess)
            printer->access = pDefault->DesiredAccess;
        px::registerHandle(printer.get());
        *phPrinter = printer.release();
        return TRUE;
    });
}

BOOL ClosePrinter(HANDLE hPrinter)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return FALSE;
    px::unregisterHandle(p);
    delete p;
    return TRUE;
}

DWORD GetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, LPDWORD pType, LPBYTE pData,
                        DWORD nSize, LPDWORD pcbNeeded)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return ERROR_INVALID_HANDLE;
    if (!pcbNeeded || !pKeyName || !pValueName)
        return ERROR_INVALID_PARAMETER;
    *pcbNeeded = 0;
    return guardedStatus([&]() -> DWORD {
        px::PrinterDoc doc;
        DWORD rc = readPrinter(p, doc);
        if (rc != ERROR_SUCCESS)
            return rc;
        px::PrinterValue value;
        if (!px::findPrinterValue(doc, px::narrow(pKeyName), px::narrow(pValueName), value))
            return ERROR_FILE_NOT_FOUND;
        DWORD size = (DWORD)value.bytes.size();
        *pcbNeeded = size;
        if (pType)
            *pType = value.type;
        if (size > nSize || (size && !pData))
            return ERROR_MORE_DATA;
        if (size)
            std::memcpy(pData, value.bytes.data(), size);
        return ERROR_SUCCESS;
    });
}

DWORD SetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, DWORD Type, LPBYTE pData,
                        DWORD cbData)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return ERROR_INVALID_HANDLE;
    if (!pKeyName || !*pKeyName || !pValueName || (!pData && cbData))
        return ERROR_INVALID_PARAMETER;
    return guardedStatus([&]() -> DWORD {
        px::PrinterDoc typed;
        DWORD rc = px::encodePrinterValue(Type, pData, cbData, typed);
        if (rc != ERROR_SUCCESS)
            return rc;
        std::string key = px::narrow(pKeyName), value = px::narrow(pValueName);
        std::string problem;
        rc = px::updatePrinterFile(
            p->name,
            [&](px::PrinterDoc& doc) {
                px::setPrinterValue(doc, key, value, typed);
                return (DWORD)ERROR_SUCCESS;
            },
            problem);
        complainOnce(p, problem);
        return rc;
    });
}

BOOL GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return FALSE;
    if (!pcbNeeded)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    *pcbNeeded = 0;
    if (Level != 1)
        return px::fail(kErrorInvalidLevel, FALSE);
    return guardedBool([&]() -> BOOL {
        px::PrinterDoc doc;
        DWORD rc = readPrinter(p, doc);
        if (rc != ERROR_SUCCESS)
            return px::fail(rc, FALSE);
        std::string name = doc.at("name").get<std::string>();
        std::string description =
            name + "," + doc.at("driver").get<std::string>() + "," + doc.value("port", std::string());
        PRINTER_INFO_1W info{};
        info.Flags = kPrinterEnumIcon8;
        return fillRecord(info,
                          {{&info.pDescription, wide(description)}, {&info.pName, wide(name)}, {&info.pComment, u""}},
                          pPrinter, cbBuf, pcbNeeded);
    });
}

BOOL GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                       LPDWORD pcbNeeded)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return FALSE;
    if (!pcbNeeded)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    *pcbNeeded = 0;
    return guardedBool([&]() -> BOOL {
        DWORD rc = checkEnvironment(pEnvironment);
        if (rc != ERROR_SUCCESS)
            return px::fail(rc, FALSE);
        if (Level != 1)
            return px::fail(kErrorInvalidLevel, FALSE);
        px::PrinterDoc doc;
        rc = readPrinter(p, doc);
        if (rc != ERROR_SUCCESS)
            return px::fail(rc, FALSE);
        DRIVER_INFO_1W info{};
        return fillRecord(info, {{&info.pName, wide(doc.at("driver").get<std::string>())}}, pDriverInfo, cbBuf,
                          pcbNeeded);
    });
}
