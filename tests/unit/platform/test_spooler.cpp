// The spooler calls over printer files: opening, reading and writing printer
// data, the printer and driver records, the paper lists and forms, the checks
// on a printer file, and two processes writing one printer at once.
#include "testkit.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Bytes = std::vector<BYTE>;
const std::string kPrinter = "Pumex Embosser";
constexpr DWORD kMagic = 0xDEADBEEF;

Bytes utf16z(const std::string& s)
{
    Bytes out;
    for (char16_t c : testkit::wide(s)) {
        out.push_back((BYTE)c);
        out.push_back((BYTE)(c >> 8));
    }
    out.insert(out.end(), {0, 0});
    return out;
}

Bytes dword(uint32_t v) { return {(BYTE)v, (BYTE)(v >> 8), (BYTE)(v >> 16), (BYTE)(v >> 24)}; }

BOOL openPrinter(const std::string& name, HANDLE* h)
{
    std::u16string w = testkit::wide(name);
    return OpenPrinterW(&w[0], h, nullptr);
}

struct Read {
    DWORD rc;
    DWORD type;
    DWORD needed;
    Bytes bytes;
};

Read readValue(HANDLE h, const std::string& key, const std::string& value, DWORD size = 256)
{
    Read r{0, kMagic, kMagic, Bytes(size, 0xAA)};
    r.rc = GetPrinterDataExW(h, testkit::wide(key).c_str(), testkit::wide(value).c_str(), &r.type, r.bytes.data(),
                             size, &r.needed);
    if (r.rc == ERROR_SUCCESS)
        r.bytes.resize(r.needed);
    return r;
}

DWORD setValue(HANDLE h, const std::string& key, const std::string& value, DWORD type, Bytes data)
{
    return SetPrinterDataExW(h, testkit::wide(key).c_str(), testkit::wide(value).c_str(), type, data.data(),
                             (DWORD)data.size());
}

class Spooler : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter(kPrinter, testkit::printerJson(kPrinter, kConfig));
        ASSERT_TRUE(openPrinter(kPrinter, &h));
    }
    void TearDown() override { ClosePrinter(h); }

    std::string file() const { return root.path() + "/printers/" + kPrinter + ".json"; }
    nlohmann::ordered_json parsed() const { return nlohmann::ordered_json::parse(testkit::readFile(file())); }

    static constexpr const char* kConfig =
        R"("DebugLevel": {"type": "dword", "value": 1}, "Offset": {"type": "dword", "value": -2},
           "PreviewPrnPath": {"type": "sz", "value": "C:\\Viewer\\view.exe"},
           "Temp": {"type": "expand_sz", "value": "%TEMP%"}, "Accent": {"type": "sz", "value": "é€"},
           "ControlFlags": {"type": "binary", "value": "MEDIATYPE=CARDSTOCK"},
           "Raw": {"type": "binary", "value": {"hex": "00ff10"}}, "Cleared": {"type": "binary", "value": ""})";

    testkit::TempRoot root;
    HANDLE h = nullptr;
};

TEST_F(Spooler, ClosedAndForeignHandlesAreRefused)
{
    HANDLE second = nullptr;
    ASSERT_TRUE(openPrinter(kPrinter, &second));
    ASSERT_TRUE(ClosePrinter(second));
    int notAHandle = 0;
    for (HANDLE bad : {second, (HANDLE)&notAHandle, (HANDLE) nullptr, INVALID_HANDLE_VALUE}) {
        SetLastError(kMagic);
        EXPECT_FALSE(ClosePrinter(bad));
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_HANDLE);
        EXPECT_EQ(readValue(bad, "Config", "DebugLevel").rc, (DWORD)ERROR_INVALID_HANDLE);
        EXPECT_EQ(setValue(bad, "Config", "DebugLevel", REG_DWORD, dword(2)), (DWORD)ERROR_INVALID_HANDLE);
        DWORD needed = 0;
        EXPECT_FALSE(GetPrinterW(bad, 1, nullptr, 0, &needed));
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_HANDLE);
    }
}

TEST_F(Spooler, OpenRefusesNamesThatAreNotPrintersOfTheRoot)
{
    // A valid printer file one folder up must stay out of reach.
    testkit::writeFile(root.path() + "/outside.json", testkit::printerJson("outside"));
    for (std::string name : {"", "Nope", ".", "..", "../outside", "..\\outside", "sub/x"}) {
        HANDLE other = (HANDLE)&name;
        SetLastError(kMagic);
        EXPECT_FALSE(openPrinter(name, &other)) << name;
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PRINTER_NAME) << name;
        EXPECT_EQ(other, nullptr) << name;
    }
    std::u16string name = testkit::wide(kPrinter);
    HANDLE other = nullptr;
    EXPECT_FALSE(OpenPrinterW(nullptr, &other, nullptr));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_FALSE(OpenPrinterW(&name[0], nullptr, nullptr));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ALL_ACCESS};
    ASSERT_TRUE(OpenPrinterW(&name[0], &other, &defaults));
    EXPECT_TRUE(ClosePrinter(other));
}

TEST_F(Spooler, ReadsEachTypeAsTheRegistryWould)
{
    struct Case {
        const char* value;
        DWORD type;
        Bytes bytes;
    } cases[] = {
        {"DebugLevel", REG_DWORD, dword(1)},
        {"Offset", REG_DWORD, dword(0xFFFFFFFE)},
        {"PreviewPrnPath", REG_SZ, utf16z("C:\\Viewer\\view.exe")},
        {"Temp", REG_EXPAND_SZ, utf16z("%TEMP%")},
        {"Accent", REG_SZ, {0xE9, 0, 0xAC, 0x20, 0, 0}},
        {"ControlFlags", REG_BINARY, Bytes{'M', 'E', 'D', 'I', 'A', 'T', 'Y', 'P', 'E', '=', 'C', 'A', 'R', 'D', 'S',
                                           'T', 'O', 'C', 'K'}},
        {"Raw", REG_BINARY, {0x00, 0xFF, 0x10}},
        {"Cleared", REG_BINARY, {}},
        {"debuglevel", REG_DWORD, dword(1)},  // names compare without case
    };
    for (const Case& c : cases) {
        Read r = readValue(h, c.value == std::string("debuglevel") ? "CONFIG" : "Config", c.value);
        EXPECT_EQ(r.rc, (DWORD)ERROR_SUCCESS) << c.value;
        EXPECT_EQ(r.type, c.type) << c.value;
        EXPECT_EQ(r.bytes, c.bytes) << c.value;
    }
}

TEST_F(Spooler, ReadReportsShortBuffersAndMissingValues)
{
    Read r = readValue(h, "Config", "PreviewPrnPath", 4);
    EXPECT_EQ(r.rc, (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(r.needed, utf16z("C:\\Viewer\\view.exe").size());
    EXPECT_EQ(r.type, (DWORD)REG_SZ);
    EXPECT_EQ(r.bytes, Bytes(4, 0xAA)) << "nothing is copied";

    DWORD needed = 0;
    EXPECT_EQ(GetPrinterDataExW(h, u"Config", u"DebugLevel", nullptr, nullptr, 0, &needed), (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(needed, 4u);
    EXPECT_EQ(GetPrinterDataExW(h, u"Config", u"Cleared", nullptr, nullptr, 0, &needed), (DWORD)ERROR_SUCCESS);
    EXPECT_EQ(needed, 0u);
    EXPECT_EQ(GetPrinterDataExW(h, u"Config", u"DebugLevel", nullptr, nullptr, 0, nullptr),
              (DWORD)ERROR_INVALID_PARAMETER);

    EXPECT_EQ(readValue(h, "Config", "Missing").rc, (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(readValue(h, "NoSuchKey", "DebugLevel").rc, (DWORD)ERROR_FILE_NOT_FOUND);
}

TEST_F(Spooler, ReadSeesTheFileAsItIsNow)
{
    root.writePrinter(kPrinter, testkit::printerJson(kPrinter, R"("DebugLevel": {"type": "dword", "value": 7})"));
    EXPECT_EQ(readValue(h, "Config", "DebugLevel").bytes, dword(7));
    root.writePrinter(kPrinter, "{ broken");
    EXPECT_EQ(readValue(h, "Config", "DebugLevel").rc, (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(setValue(h, "Config", "DebugLevel", REG_DWORD, dword(2)), (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(testkit::readFile(file()), "{ broken") << "a broken printer is not overwritten";
}

// A printer file around the given members, for the checks below.
std::string printerWith(const std::string& members)
{
    return R"({"name": "Pumex Embosser", "driver": "Pumex Pro")" + (members.empty() ? "" : ", " + members) + "}";
}

TEST(PrinterFile, ChecksNameTheFileAndTheKey)
{
    testkit::TempRoot root;
    const std::string label = "printers/Pumex Embosser.json: ";
    struct Case {
        std::string json;
        std::string message;  // after the file's label
    } cases[] = {
        {printerWith(R"("colour": 1)"), R"(unknown key "colour")"},
        {R"({"name": "Pumex Embosser"})", R"(missing key "driver")"},
        {R"({"name": "Other", "driver": "Pumex Pro"})",
         R"("name" is "Other" but the file is for printer "Pumex Embosser")"},
        {printerWith(R"("port": 1)"), R"("port" must be a string)"},
        {printerWith(R"("data": {"Config": {"DebugLevel": {"type": "dword", "value": 1, "unit": "x"}}})"),
         R"(data.Config.DebugLevel: unknown key "unit")"},
        {printerWith(R"("data": {"Config": {"DebugLevel": {"type": "qword", "value": 1}}})"),
         R"(data.Config.DebugLevel: "type" must be one of dword, sz, expand_sz, binary)"},
        {printerWith(R"("data": {"Config": {"DebugLevel": {"type": "dword", "value": 4294967296}}})"),
         R"(data.Config.DebugLevel: "value" must be an integer from -2147483648 to 4294967295)"},
        {printerWith(R"("data": {"Config": {"DebugLevel": {"type": "dword", "value": 1.5}}})"),
         R"(data.Config.DebugLevel: "value" must be an integer from -2147483648 to 4294967295)"},
        {printerWith(R"("data": {"Config": {"Path": {"type": "sz", "value": 3}}})"),
         R"(data.Config.Path: "value" must be a string)"},
        {printerWith(R"("data": {"Config": {"Flags": {"type": "binary", "value": {"hex": "abc"}}}})"),
         R"(data.Config.Flags.value: "hex" must be an even number of hexadecimal digits)"},
        {printerWith(R"("data": {"Config": {"Flags": {"type": "binary", "value": [1]}}})"),
         R"(data.Config.Flags: "value" must be a string or an object with "hex")"},
        {printerWith(R"("data": {"Config": {"DebugLevel": 1}})"),
         R"(data.Config.DebugLevel: must be an object with "type" and "value")"},
        {printerWith(R"("data": {"Config": {"DebugLevel": {"value": 1}}})"),
         R"(data.Config.DebugLevel: missing key "type")"},
        {printerWith(R"("data": {"Config": {"A": {"type": "sz", "value": ""}, "a": {"type": "sz", "value": ""}}})"),
         R"(data.Config: names "A" and "a" differ only in case)"},
        {printerWith(R"("fontList": {"Braille 29": 29})"),
         R"(fontList.Braille 29: must be a string or an object with "type" and "value")"},
        {printerWith(R"("papers": [{"id": 0, "name": "Letter", "width": 2159, "length": 2794}])"),
         R"(papers[0]: "id" must be an integer from 1 to 32767)"},
        {printerWith(R"("forms": [{"name": "Letter", "width": 215900, "height": 279400}])"),
         R"(forms[0]: unknown key "height")"},
        {printerWith(R"("driver": "again")"), R"(key "driver" appears twice in one object)"},
        {"[]", "must be an object"},
        {"{\n  \"name\": \"Pumex Embosser\",\n  \"driver\": }", "parse error at line 3, column 13"},
    };
    const std::string path = root.path() + "/printers/" + kPrinter + ".json";
    for (const Case& c : cases) {
        root.writePrinter(kPrinter, c.json);
        char message[512];
        EXPECT_FALSE(PxValidatePrinterFile(path.c_str(), message, sizeof message)) << c.json;
        EXPECT_EQ(std::string(message).substr(0, label.size() + c.message.size()), label + c.message) << c.json;
        HANDLE h = nullptr;
        EXPECT_FALSE(openPrinter(kPrinter, &h)) << c.json;
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PRINTER_NAME);
    }
    char tiny[8] = "xxxxxxx";
    EXPECT_FALSE(PxValidatePrinterFile(path.c_str(), tiny, 4));
    EXPECT_STREQ(tiny, "pri") << "a message is cut to fit and terminated";
}

TEST(PrinterFile, AcceptsTheDocumentedShapeAndTheBundledPrinter)
{
    testkit::TempRoot root;
    root.writePrinter(kPrinter, printerWith(R"("port": "FILE:",
        "data": {"Config": {"DebugLevel": {"type": "dword", "value": 1},
                            "ControlFlags": {"type": "binary", "value": "MEDIATYPE=CARDSTOCK,DOTHEIGHT=LOW"}}},
        "fontList": {"Braille 29": "C:\\Fonts\\braille29.dp", "Six": {"type": "expand_sz", "value": "%F%\\6.dp"}},
        "papers": [{"id": 1, "name": "Letter", "width": 2159, "length": 2794}],
        "forms": [{"name": "Letter", "width": 215900, "length": 279400}])"));
    char message[256] = "x";
    std::string path = root.path() + "/printers/" + kPrinter + ".json";
    EXPECT_TRUE(PxValidatePrinterFile(path.c_str(), message, sizeof message)) << message;
    EXPECT_STREQ(message, "");

    std::string bundled = std::filesystem::path(__FILE__).parent_path().string() +
                          "/../../../data/root/printers/Pumex Embosser.json";
    EXPECT_TRUE(PxValidatePrinterFile(bundled.c_str(), message, sizeof message)) << message;
}

TEST_F(Spooler, WritesReadBackExactly)
{
    struct Case {
        const char* value;
        DWORD type;
        Bytes written;
        Bytes read;
    } cases[] = {
        {"DebugLevel", REG_DWORD, dword(3), dword(3)},
        {"Big", REG_DWORD, dword(0xFFFFFFFF), dword(0xFFFFFFFF)},
        {"PreviewPrnPath", REG_SZ, utf16z("D:\\é"), utf16z("D:\\é")},
        {"NoTerminator", REG_SZ, Bytes{'a', 0, 'b', 0}, utf16z("ab")},
        {"Temp", REG_EXPAND_SZ, utf16z(""), utf16z("")},
        {"ControlFlags", REG_BINARY, Bytes{'A', '=', '1'}, Bytes{'A', '=', '1'}},
        {"Raw", REG_BINARY, Bytes{0, '\n', 0x80}, Bytes{0, '\n', 0x80}},
        {"Cleared", REG_BINARY, Bytes{}, Bytes{}},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(setValue(h, "Config", c.value, c.type, c.written), (DWORD)ERROR_SUCCESS) << c.value;
        Read r = readValue(h, "Config", c.value);
        EXPECT_EQ(r.type, c.type) << c.value;
        EXPECT_EQ(r.bytes, c.read) << c.value;
    }
    auto config = parsed()["data"]["Config"];
    EXPECT_EQ(config["Cleared"], nlohmann::ordered_json::parse(R"({"type": "binary", "value": ""})"));
    EXPECT_EQ(config["Raw"]["value"]["hex"], "000a80");
    EXPECT_EQ(config["ControlFlags"]["value"], "A=1");
}

TEST_F(Spooler, WritesKeepEverythingElseInPlace)
{
    root.writePrinter(kPrinter, printerWith(R"("port": "FILE:", "fontList": {"Zeta": "z.dp", "Alpha": "a.dp"},
        "papers": [{"id": 9, "name": "A4", "width": 2100, "length": 2970}],
        "forms": [{"name": "A4", "width": 210000, "length": 297000}])"));
    nlohmann::ordered_json before = parsed();
    ASSERT_EQ(setValue(h, "Config", "DebugLevel", REG_DWORD, dword(2)), (DWORD)ERROR_SUCCESS);
    ASSERT_EQ(setValue(h, "Config", "ControlFlags", REG_BINARY, {'X'}), (DWORD)ERROR_SUCCESS);
    ASSERT_EQ(setValue(h, "CONFIG", "debuglevel", REG_DWORD, dword(5)), (DWORD)ERROR_SUCCESS);
    ASSERT_EQ(setValue(h, "Later", "Value", REG_SZ, utf16z("v")), (DWORD)ERROR_SUCCESS);

    nlohmann::ordered_json after = parsed();
    std::vector<std::string> keys;
    for (auto it = after.begin(); it != after.end(); ++it)
        keys.push_back(it.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"name", "driver", "port", "data", "fontList", "papers", "forms"}));
    after.erase("data");
    EXPECT_EQ(after.dump(), before.dump()) << "other members and their order are kept";
    EXPECT_EQ(parsed()["data"].dump(),
              R"({"Config":{"DebugLevel":{"type":"dword","value":5},"ControlFlags":{"type":"binary","value":"X"}},)"
              R"("Later":{"Value":{"type":"sz","value":"v"}}})");
    char message[256];
    EXPECT_TRUE(PxValidatePrinterFile(file().c_str(), message, sizeof message)) << message;
}

TEST_F(Spooler, WriteRefusesWhatTheFileCannotHold)
{
    EXPECT_EQ(setValue(h, "Config", "DebugLevel", REG_DWORD, {1, 2, 3}), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_EQ(setValue(h, "Config", "List", REG_MULTI_SZ, utf16z("a")), (DWORD)ERROR_NOT_SUPPORTED);
    EXPECT_EQ(setValue(h, "", "DebugLevel", REG_DWORD, dword(1)), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_EQ(SetPrinterDataExW(h, nullptr, u"DebugLevel", REG_DWORD, nullptr, 0), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_EQ(SetPrinterDataExW(h, u"Config", u"Raw", REG_BINARY, nullptr, 4), (DWORD)ERROR_INVALID_PARAMETER);
}

TEST_F(Spooler, FailedWriteLeavesThePrinterWhole)
{
    struct Fault {
        const char* what;
        void (*inject)(PxSyscalls*);
        DWORD error;
    } faults[] = {
        {"disk full",
         [](PxSyscalls* s) { s->write = [](int, const void*, size_t) -> ssize_t { return errno = ENOSPC, -1; }; },
         ERROR_DISK_FULL},
        {"rename refused",
         [](PxSyscalls* s) { s->rename = [](const char*, const char*) { return errno = EACCES, -1; }; },
         ERROR_ACCESS_DENIED},
    };
    const std::string original = testkit::readFile(file());
    for (const Fault& f : faults) {
        f.inject(PxGetSyscalls());
        EXPECT_EQ(setValue(h, "Config", "DebugLevel", REG_DWORD, dword(9)), f.error) << f.what;
        PxResetSyscalls();
        EXPECT_EQ(testkit::readFile(file()), original) << f.what;
        for (auto& entry : std::filesystem::directory_iterator(root.path() + "/printers"))
            EXPECT_NE(entry.path().extension(), ".tmp") << f.what << ": " << entry.path();
    }
}

TEST_F(Spooler, PrinterAndDriverRecordsFillOneBlock)
{
    DWORD needed = 0;
    SetLastError(kMagic);
    EXPECT_FALSE(GetPrinterW(h, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    ASSERT_GT(needed, sizeof(PRINTER_INFO_1W));
    std::vector<BYTE> buf(needed);
    EXPECT_FALSE(GetPrinterW(h, 1, buf.data(), needed - 1, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    ASSERT_TRUE(GetPrinterW(h, 1, buf.data(), needed, &needed));
    auto* info = reinterpret_cast<PRINTER_INFO_1W*>(buf.data());
    EXPECT_EQ(info->Flags, 0x00800000u);
    EXPECT_EQ(std::u16string(info->pDescription), u"Pumex Embosser,Pumex Pro,FILE:");
    EXPECT_EQ(std::u16string(info->pName), u"Pumex Embosser");
    EXPECT_EQ(std::u16string(info->pComment), u"");
    EXPECT_EQ((BYTE*)info->pComment + sizeof(WCHAR), buf.data() + needed) << "strings lie inside the block";
    EXPECT_FALSE(GetPrinterW(h, 3, buf.data(), needed, &needed));
    EXPECT_EQ(GetLastError(), 124u);  // ERROR_INVALID_LEVEL

    EXPECT_FALSE(GetPrinterDriverW(h, nullptr, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(needed, sizeof(DRIVER_INFO_1W) + sizeof(u"Pumex Pro"));
    std::u16string x64 = u"Windows x64", bogus = u"Bogus";
    ASSERT_TRUE(GetPrinterDriverW(h, &x64[0], 1, buf.data(), (DWORD)buf.size(), &needed));
    EXPECT_EQ(std::u16string(reinterpret_cast<DRIVER_INFO_1W*>(buf.data())->pName), u"Pumex Pro");
    EXPECT_FALSE(GetPrinterDriverW(h, &bogus[0], 1, buf.data(), (DWORD)buf.size(), &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_ENVIRONMENT);
    EXPECT_FALSE(GetPrinterDriverW(h, nullptr, 3, buf.data(), (DWORD)buf.size(), &needed));
    EXPECT_EQ(GetLastError(), 124u);
}

// A printer with papers and forms, as the paper geometry reads them.
std::string paperPrinter(const std::string& name, const std::string& papers, const std::string& forms)
{
    return R"({"name": ")" + name + R"(", "driver": "Pumex Pro", "port": "LPT1:", "papers": [)" + papers +
           R"(], "forms": [)" + forms + "]}";
}

const std::string kPapers = R"({"id": 9, "name": "A4", "width": 2100, "length": 2970},
    {"id": 1, "name": "Letter", "width": 2159, "length": 2794},
    {"id": 9, "name": "A4 again", "width": 2101, "length": 2971})";
const std::string kForms = R"({"name": "Letter", "width": 215900, "length": 279400},
    {"name": "A4", "width": 210000, "length": 297000})";

class Papers : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter(kPrinter, paperPrinter(kPrinter, kPapers, kForms));
        ASSERT_TRUE(openPrinter(kPrinter, &h));
    }
    void TearDown() override { ClosePrinter(h); }

    testkit::TempRoot root;
    HANDLE h = nullptr;
};

// Every string of a record must lie inside the caller's block.
bool inside(const void* p, const std::vector<BYTE>& block)
{
    return (const BYTE*)p >= block.data() && (const BYTE*)p < block.data() + block.size();
}

TEST_F(Papers, PrinterLevelTwoCarriesTheDefaultDevModeInsideTheBlock)
{
    DWORD needed = 0;
    SetLastError(kMagic);
    EXPECT_FALSE(GetPrinterW(h, 2, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    ASSERT_GT(needed, sizeof(PRINTER_INFO_2W) + sizeof(DEVMODEW));
    std::vector<BYTE> buf(needed, 0xAA);
    EXPECT_FALSE(GetPrinterW(h, 2, buf.data(), needed - 1, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(buf, std::vector<BYTE>(needed, 0xAA)) << "nothing is written into a short buffer";
    ASSERT_TRUE(GetPrinterW(h, 2, buf.data(), needed, &needed));

    auto* info = reinterpret_cast<PRINTER_INFO_2W*>(buf.data());
    EXPECT_EQ(info->pServerName, nullptr);
    EXPECT_EQ(info->pSecurityDescriptor, nullptr);
    struct Text {
        LPWSTR field;
        std::u16string expected;
    } texts[] = {{info->pPrinterName, u"Pumex Embosser"}, {info->pPortName, u"LPT1:"},
                 {info->pDriverName, u"Pumex Pro"},       {info->pShareName, u""},
                 {info->pComment, u""},                   {info->pPrintProcessor, u"winprint"},
                 {info->pDatatype, u"RAW"}};
    for (const Text& t : texts) {
        ASSERT_TRUE(inside(t.field, buf));
        EXPECT_EQ(std::u16string(t.field), t.expected);
    }

    ASSERT_TRUE(inside(info->pDevMode, buf));
    ASSERT_LE((BYTE*)info->pDevMode + sizeof(DEVMODEW), buf.data() + buf.size());
    EXPECT_EQ((uintptr_t)info->pDevMode % alignof(DEVMODEW), 0u);
    const DEVMODEW& dm = *info->pDevMode;
    EXPECT_EQ(std::u16string(dm.dmDeviceName), u"Pumex Embosser");
    EXPECT_EQ(dm.dmSize, 220);
    EXPECT_EQ(dm.dmDriverExtra, 0);
    EXPECT_EQ(dm.dmFields, (DWORD)(DM_PAPERSIZE | DM_ORIENTATION | DM_PRINTQUALITY | DM_YRESOLUTION));
    EXPECT_EQ(dm.dmOrientation, DMORIENT_PORTRAIT);
    EXPECT_EQ(dm.dmPaperSize, 9) << "the first paper the printer lists";
    EXPECT_EQ(dm.dmPrintQuality, 100);
    EXPECT_EQ(dm.dmYResolution, 100);
}

TEST(PapersOfAPrinter, DefaultDevModeWithoutPapersAndWithALongName)
{
    testkit::TempRoot root;
    const std::string name = "An embosser whose name is longer than a device name can hold";
    root.writePrinter(name, paperPrinter(name, "", ""));
    HANDLE h = nullptr;
    ASSERT_TRUE(openPrinter(name, &h));
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterW(h, 2, nullptr, 0, &needed));
    std::vector<BYTE> buf(needed);
    ASSERT_TRUE(GetPrinterW(h, 2, buf.data(), needed, &needed));
    const DEVMODEW& dm = *reinterpret_cast<PRINTER_INFO_2W*>(buf.data())->pDevMode;
    EXPECT_EQ(dm.dmFields, (DWORD)(DM_ORIENTATION | DM_PRINTQUALITY | DM_YRESOLUTION)) << "no paper to name";
    EXPECT_EQ(dm.dmPaperSize, 0);
    EXPECT_EQ(std::u16string(dm.dmDeviceName), testkit::wide(name.substr(0, 31)));
    ClosePrinter(h);
}

TEST_F(Papers, DeviceCapabilitiesListsPapersInFileOrder)
{
    const std::u16string device = testkit::wide(kPrinter);
    EXPECT_EQ(DeviceCapabilitiesW(device.c_str(), u"ignored", DC_PAPERS, nullptr, nullptr), 3);
    EXPECT_EQ(DeviceCapabilitiesW(device.c_str(), nullptr, DC_PAPERSIZE, nullptr, nullptr), 3);

    WORD ids[4] = {0xAAAA, 0xAAAA, 0xAAAA, 0xAAAA};
    EXPECT_EQ(DeviceCapabilitiesW(device.c_str(), nullptr, DC_PAPERS, reinterpret_cast<LPWSTR>(ids), nullptr), 3);
    EXPECT_EQ(std::vector<WORD>(ids, ids + 4), (std::vector<WORD>{9, 1, 9, 0xAAAA}));

    POINT sizes[3] = {};
    EXPECT_EQ(DeviceCapabilitiesW(device.c_str(), nullptr, DC_PAPERSIZE, reinterpret_cast<LPWSTR>(sizes), nullptr),
              3);
    const LONG expected[3][2] = {{2100, 2970}, {2159, 2794}, {2101, 2971}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(sizes[i].x, expected[i][0]) << i;
        EXPECT_EQ(sizes[i].y, expected[i][1]) << i;
    }
}

TEST_F(Papers, DeviceCapabilitiesRefusals)
{
    root.writePrinter("Bare", paperPrinter("Bare", "", ""));
    struct Case {
        const char* device;  // null: no device
        WORD capability;
        INT result;
        DWORD error;  // kMagic: left alone
    } cases[] = {
        {"Bare", DC_PAPERS, 0, kMagic},
        {"Bare", DC_PAPERSIZE, 0, kMagic},
        {"Nope", DC_PAPERS, -1, ERROR_INVALID_PRINTER_NAME},
        {"../Bare", DC_PAPERS, -1, ERROR_INVALID_PRINTER_NAME},
        {"Pumex Embosser", DC_PAPERNAMES, -1, ERROR_NOT_SUPPORTED},
        {nullptr, DC_PAPERS, -1, ERROR_INVALID_PARAMETER},
    };
    for (const Case& c : cases) {
        std::u16string device = c.device ? testkit::wide(c.device) : u"";
        SetLastError(kMagic);
        EXPECT_EQ(DeviceCapabilitiesW(c.device ? device.c_str() : nullptr, nullptr, c.capability, nullptr, nullptr),
                  c.result)
            << (c.device ? c.device : "(null)") << " " << c.capability;
        EXPECT_EQ(GetLastError(), c.error) << (c.device ? c.device : "(null)");
    }
}

TEST_F(Papers, GetFormFollowsTheBufferRules)
{
    std::u16string a4 = u"a4";  // form names compare without case
    DWORD needed = kMagic;
    SetLastError(kMagic);
    EXPECT_FALSE(GetFormW(h, &a4[0], 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(needed, sizeof(FORM_INFO_1W) + sizeof(u"A4"));
    std::vector<BYTE> buf(needed, 0xAA);
    EXPECT_FALSE(GetFormW(h, &a4[0], 1, buf.data(), needed - 1, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    ASSERT_TRUE(GetFormW(h, &a4[0], 1, buf.data(), needed, &needed));
    auto* form = reinterpret_cast<FORM_INFO_1W*>(buf.data());
    EXPECT_EQ(std::u16string(form->pName), u"A4") << "the name as the printer spells it";
    ASSERT_TRUE(inside(form->pName, buf));
    EXPECT_EQ(form->Size.cx, 210000);
    EXPECT_EQ(form->Size.cy, 297000);
    EXPECT_EQ(form->ImageableArea.left, 0);
    EXPECT_EQ(form->ImageableArea.top, 0);
    EXPECT_EQ(form->ImageableArea.right, 210000);
    EXPECT_EQ(form->ImageableArea.bottom, 297000);
}

TEST_F(Papers, GetFormRefusals)
{
    std::u16string letter = u"Letter", missing = u"Tabloid", empty = u"";
    int notAHandle = 0;
    struct Case {
        const char* what;
        HANDLE printer;
        LPWSTR name;
        DWORD level;
        DWORD error;
    } cases[] = {
        {"unknown form", h, &missing[0], 1, ERROR_INVALID_FORM_NAME},
        {"empty name", h, &empty[0], 1, ERROR_INVALID_FORM_NAME},
        {"no name", h, nullptr, 1, ERROR_INVALID_PARAMETER},
        {"level 2", h, &letter[0], 2, 124 /* ERROR_INVALID_LEVEL */},
        {"foreign handle", (HANDLE)&notAHandle, &letter[0], 1, ERROR_INVALID_HANDLE},
    };
    std::vector<BYTE> buf(4096);
    for (const Case& c : cases) {
        DWORD needed = kMagic;
        SetLastError(kMagic);
        EXPECT_FALSE(GetFormW(c.printer, c.name, c.level, buf.data(), (DWORD)buf.size(), &needed)) << c.what;
        EXPECT_EQ(GetLastError(), c.error) << c.what;
    }
}

// One writer process, 200 writes: count 0..99 into Count<tag>, "<tag><i>" into Last<tag>.
int writeMany(const std::string& tag)
{
    HANDLE h = nullptr;
    if (!openPrinter(kPrinter, &h))
        return 1;
    int failures = 0;
    for (uint32_t i = 0; i < 100; ++i) {
        failures += setValue(h, "Config", "Last" + tag, REG_SZ, utf16z(tag + std::to_string(i))) != ERROR_SUCCESS;
        failures += setValue(h, "Config", "Count" + tag, REG_DWORD, dword(i)) != ERROR_SUCCESS;
    }
    ClosePrinter(h);
    return failures ? 2 : 0;
}

TEST_F(Spooler, TwoProcessesWritingNeverLoseOrTearThePrinter)
{
    for (const char* tag : {"A", "B"})
        ASSERT_EQ(setValue(h, "Config", std::string("Count") + tag, REG_DWORD, dword(0)), (DWORD)ERROR_SUCCESS);
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
        children[i] = fork();
        ASSERT_GE(children[i], 0);
        if (children[i] == 0)
            _exit(writeMany(i == 0 ? "A" : "B"));
    }
    // Every read meets one whole version of the file, and counts never run backwards.
    uint32_t seen[2] = {0, 0};
    int status[2] = {0, 0};
    bool done[2] = {false, false};
    for (int reads = 0; !(done[0] && done[1]); ++reads) {
        for (int i = 0; i < 2; ++i) {
            Read r = readValue(h, "Config", i == 0 ? "CountA" : "CountB");
            ASSERT_EQ(r.rc, (DWORD)ERROR_SUCCESS) << "read " << reads;
            uint32_t count = r.bytes[0] | r.bytes[1] << 8;
            EXPECT_GE(count, seen[i]);
            seen[i] = count;
        }
        for (int i = 0; i < 2; ++i)
            done[i] = done[i] || waitpid(children[i], &status[i], WNOHANG) == children[i];
    }
    for (int s : status)
        EXPECT_TRUE(WIFEXITED(s) && WEXITSTATUS(s) == 0) << s;
    EXPECT_EQ(readValue(h, "Config", "CountA").bytes, dword(99));
    EXPECT_EQ(readValue(h, "Config", "CountB").bytes, dword(99));
    EXPECT_EQ(readValue(h, "Config", "LastA").bytes, utf16z("A99"));
    EXPECT_EQ(readValue(h, "Config", "LastB").bytes, utf16z("B99"));
    for (auto& entry : std::filesystem::directory_iterator(root.path() + "/printers"))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

}  // namespace
