// Spooler calls over the printer files of the system root.
//
// A printer handle remembers only the printer's name: every call reads the
// file again, because another process (a second job, the `pumex` command)
// may have changed the printer's data since. The paper list and the forms are
// the exception: on Windows they come from the installed driver and never
// change under a running process, and callers rely on that (a count, then a
// buffer of that count filled), so each process reads them once. Return values
// and last errors are the ones Windows documents for each call.
#include "printer_file.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>

namespace {

using px::PrinterDoc;

constexpr DWORD kErrorInvalidLevel = 124;        // ERROR_INVALID_LEVEL
constexpr DWORD kPrinterEnumIcon8 = 0x00800000;     // PRINTER_ENUM_ICON8: a printer, not a server
constexpr DWORD kPrinterAttributeLocal = 0x00000040;  // PRINTER_ATTRIBUTE_LOCAL
constexpr DWORD kFormPrinter = 0x00000002;        // FORM_PRINTER: a form the printer's driver brings
constexpr WORD kDevModeVersion = 0x0401;          // the device-mode layout of Windows 2000 and later
constexpr short kDefaultDpi = 100;

struct PrinterHandle : px::HandleHeader {
    std::string name;
    ACCESS_MASK access = PRINTER_ACCESS_USE;
    std::mutex complaintLock;   // calls on one handle may come from several threads
    std::string lastComplaint;  // the last problem reported for this handle
};

PrinterHandle* printerOf(HANDLE h) { return px::handleAs<PrinterHandle>(h, px::HandleKind::Printer); }

// The printer's papers or forms as the file lists them; empty when it lists none.
PrinterDoc listOf(const PrinterDoc& doc, const char* key)
{
    auto it = doc.find(key);
    return it == doc.end() ? PrinterDoc::array() : *it;
}

// A printer's papers and forms as this process first read them.
struct PaperLists {
    PrinterDoc papers;
    PrinterDoc forms;
};
using PaperListsPtr = std::shared_ptr<const PaperLists>;

// The lists kept for each printer file, by path. Never destroyed: a call made
// while the process exits still finds them.
std::mutex& paperListsLock()
{
    static auto* lock = new std::mutex;
    return *lock;
}
std::map<std::string, PaperListsPtr>& paperListsByPath()
{
    static auto* lists = new std::map<std::string, PaperListsPtr>;
    return *lists;
}

// The lists of the printer whose file at path reads as doc: those kept since
// the first read, or doc's, kept from now on.
PaperListsPtr paperListsOf(const std::string& path, const PrinterDoc& doc)
{
    std::lock_guard<std::mutex> guard(paperListsLock());
    PaperListsPtr& lists = paperListsByPath()[path];
    if (!lists)
        lists = std::make_shared<const PaperLists>(PaperLists{listOf(doc, "papers"), listOf(doc, "forms")});
    return lists;
}

// A printer whose file is gone is deleted; one made again under its name starts afresh.
void forgetPaperLists(const std::string& path)
{
    std::lock_guard<std::mutex> guard(paperListsLock());
    paperListsByPath().erase(path);
}

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
    case px::PrinterLoad::Missing:
        forgetPaperLists(px::printerFilePath(p->name));
        complainOnce(p, problem);
        return ERROR_INVALID_PRINTER_NAME;
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

// A device mode a record carries inside its block (PRINTER_INFO_2W's pDevMode).
struct DevModeField {
    LPDEVMODEW* slot;
    DEVMODEW value;
};

// Lays out a record, then its device mode, then its strings in the caller's
// buffer, as the spooler hands records out: one block, the record's pointers
// into it. The records are multiples of 8 bytes, so the device mode that
// follows one is aligned; the strings after it need only 2-byte alignment.
template <typename Record>
BOOL fillRecord(Record& record, const std::vector<StringField>& strings, LPBYTE buf, DWORD cbBuf, LPDWORD pcbNeeded,
                const DevModeField* devMode = nullptr)
{
    static_assert(sizeof(Record) % alignof(DEVMODEW) == 0, "a device mode after the record stays aligned");
    size_t needed = sizeof(Record) + (devMode ? sizeof(DEVMODEW) : 0);
    for (const StringField& s : strings)
        needed += (s.text.size() + 1) * sizeof(WCHAR);
    if (needed > UINT32_MAX)
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    *pcbNeeded = (DWORD)needed;
    if (!buf || cbBuf < needed)
        return px::fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
    BYTE* cursor = buf + sizeof(Record);
    if (devMode) {
        std::memcpy(cursor, &devMode->value, sizeof(DEVMODEW));
        *devMode->slot = reinterpret_cast<LPDEVMODEW>(cursor);
        cursor += sizeof(DEVMODEW);
    }
    for (const StringField& s : strings) {
        size_t bytes = (s.text.size() + 1) * sizeof(WCHAR);
        std::memcpy(cursor, s.text.c_str(), bytes);
        *s.slot = reinterpret_cast<LPWSTR>(cursor);
        cursor += bytes;
    }
    std::memcpy(buf, &record, sizeof(Record));
    return TRUE;
}

// The device mode a printer starts jobs with. The printer file keeps none of
// its own, so it is the driver's default: portrait, 100 dpi both ways, on the
// first paper the printer lists. A printer that lists no paper leaves the
// paper out of dmFields, and whoever reads the device mode falls back to its
// own default paper.
DEVMODEW defaultDevMode(const PrinterDoc& doc, const PrinterDoc& papers)
{
    DEVMODEW dm{};
    std::u16string name = wide(doc.at("name").get<std::string>());
    px_wcscpy(dm.dmDeviceName, CCHDEVICENAME, name.c_str());  // cut to 31 characters, as Windows does
    dm.dmSpecVersion = kDevModeVersion;
    dm.dmSize = sizeof(DEVMODEW);
    dm.dmFields = DM_ORIENTATION | DM_PRINTQUALITY | DM_YRESOLUTION;
    dm.dmOrientation = DMORIENT_PORTRAIT;
    dm.dmCopies = 1;
    dm.dmPrintQuality = kDefaultDpi;
    dm.dmYResolution = kDefaultDpi;
    if (!papers.empty()) {
        dm.dmFields |= DM_PAPERSIZE;
        dm.dmPaperSize = papers[0].at("id").get<short>();
    }
    return dm;
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
    if (Level != 1 && Level != 2)
        return px::fail(kErrorInvalidLevel, FALSE);
    return guardedBool([&]() -> BOOL {
        px::PrinterDoc doc;
        DWORD rc = readPrinter(p, doc);
        if (rc != ERROR_SUCCESS)
            return px::fail(rc, FALSE);
        std::string name = doc.at("name").get<std::string>();
        std::string driver = doc.at("driver").get<std::string>();
        std::string port = doc.value("port", std::string());
        if (Level == 1) {
            PRINTER_INFO_1W info{};
            info.Flags = kPrinterEnumIcon8;
            return fillRecord(
                info, {{&info.pDescription, wide(name + "," + driver + "," + port)}, {&info.pName, wide(name)},
                       {&info.pComment, u""}},
                pPrinter, cbBuf, pcbNeeded);
        }
        // A local printer: no server name, no security descriptor; the
        // spooler's own print processor and data type.
        PRINTER_INFO_2W info{};
        info.Attributes = kPrinterAttributeLocal;
        info.Priority = 1;
        PaperListsPtr lists = paperListsOf(px::printerFilePath(p->name), doc);
        DevModeField devMode{&info.pDevMode, defaultDevMode(doc, lists->papers)};
        return fillRecord(info,
                          {{&info.pPrinterName, wide(name)},
                           {&info.pShareName, u""},
                           {&info.pPortName, wide(port)},
                           {&info.pDriverName, wide(driver)},
                           {&info.pComment, u""},
                           {&info.pLocation, u""},
                           {&info.pSepFile, u""},
                           {&info.pPrintProcessor, u"winprint"},
                           {&info.pDatatype, u"RAW"},
                           {&info.pParameters, u""}},
                          pPrinter, cbBuf, pcbNeeded, &devMode);
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

BOOL GetFormW(HANDLE hPrinter, LPWSTR pFormName, DWORD Level, LPBYTE pForm, DWORD cbBuf, LPDWORD pcbNeeded)
{
    PrinterHandle* p = printerOf(hPrinter);
    if (!p)
        return FALSE;
    if (!pcbNeeded || !pFormName)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    *pcbNeeded = 0;
    if (Level != 1)
        return px::fail(kErrorInvalidLevel, FALSE);
    return guardedBool([&]() -> BOOL {
        px::PrinterDoc doc;
        DWORD rc = readPrinter(p, doc);
        if (rc != ERROR_SUCCESS)
            return px::fail(rc, FALSE);
        // Form names compare without case, as the spooler's forms database does.
        std::string wanted = px::narrow(pFormName);
        for (const PrinterDoc& form : paperListsOf(px::printerFilePath(p->name), doc)->forms) {
            std::string name = form.at("name").get<std::string>();
            if (!px::sameName(name, wanted))
                continue;
            FORM_INFO_1W info{};
            info.Flags = kFormPrinter;
            info.Size.cx = form.at("width").get<LONG>();
            info.Size.cy = form.at("length").get<LONG>();
            info.ImageableArea = {0, 0, info.Size.cx, info.Size.cy};
            return fillRecord(info, {{&info.pName, wide(name)}}, pForm, cbBuf, pcbNeeded);
        }
        return px::fail(ERROR_INVALID_FORM_NAME, FALSE);
    });
}

namespace {

// One paper's entry of a DeviceCapabilitiesW list, written at out.
void writePaperId(const PrinterDoc& paper, BYTE* out)
{
    WORD id = paper.at("id").get<WORD>();
    std::memcpy(out, &id, sizeof id);
}

void writePaperSize(const PrinterDoc& paper, BYTE* out)
{
    POINT size{paper.at("width").get<LONG>(), paper.at("length").get<LONG>()};
    std::memcpy(out, &size, sizeof size);
}

struct PaperCapability {
    WORD capability;
    size_t entryBytes;
    void (*write)(const PrinterDoc& paper, BYTE* out);
};

const PaperCapability kPaperCapabilities[] = {
    {DC_PAPERS, sizeof(WORD), writePaperId},
    {DC_PAPERSIZE, sizeof(POINT), writePaperSize},
};

}  // namespace

// The paper lists of a printer, named by the printer's name; the port and the
// device mode change nothing here, because every paper a printer lists can be
// had on any port and in either orientation. A null output asks for the count.
INT DeviceCapabilitiesW(LPCWSTR pDevice, LPCWSTR, WORD fwCapability, LPWSTR pOutput, const DEVMODEW*)
{
    if (!pDevice)
        return px::fail(ERROR_INVALID_PARAMETER, -1);
    const PaperCapability* cap = nullptr;
    for (const PaperCapability& c : kPaperCapabilities)
        cap = c.capability == fwCapability ? &c : cap;
    try {
        std::string name = px::narrow(pDevice);
        if (!px::isPrinterName(name))
            return px::fail(ERROR_INVALID_PRINTER_NAME, -1);
        px::PrinterDoc doc;
        std::string problem;
        std::string path = px::printerFilePath(name);
        px::PrinterLoad load = px::loadPrinterFile(path, doc, problem);
        if (load == px::PrinterLoad::Missing)
            forgetPaperLists(path);
        else if (load != px::PrinterLoad::Ok)
            complain(problem);
        if (load != px::PrinterLoad::Ok)
            return px::fail(ERROR_INVALID_PRINTER_NAME, -1);
        if (!cap)
            return px::fail(ERROR_NOT_SUPPORTED, -1);
        PaperListsPtr lists = paperListsOf(path, doc);
        const PrinterDoc& papers = lists->papers;
        if (pOutput) {
            BYTE* out = reinterpret_cast<BYTE*>(pOutput);
            for (const PrinterDoc& paper : papers) {
                cap->write(paper, out);
                out += cap->entryBytes;
            }
        }
        return (INT)papers.size();
    } catch (const std::bad_alloc&) {
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, -1);
    } catch (...) {
        return px::fail(ERROR_INVALID_DATA, -1);
    }
}
