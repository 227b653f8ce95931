// The spooler calls over printer files: printer data, the printer record, paper
// lists, the checks on a file, two writers at once, and the font list as a
// registry key. (Forms are read by the page geometry tests.)
#include "testkit.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <sys/wait.h>
#include <memory>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Bytes = std::vector<BYTE>;
const std::string kPrinter = "Pumex Embosser";
constexpr DWORD kMagic = 0xDEADBEEF;

Bytes dword(uint32_t v) { return {(BYTE)v, (BYTE)(v >> 8), (BYTE)(v >> 16), (BYTE)(v >> 24)}; }
BOOL openPrinter(const std::string& name, HANDLE* h) { return OpenPrinterW(&testkit::wide(name)[0], h, nullptr); }
bool inside(const void* p, const Bytes& b) { return !b.empty() && p >= &b.front() && p <= &b.back(); }
// The error a failed call left, or 0 when the call succeeded.
DWORD failure(bool ok) { return ok ? 0 : GetLastError(); }

struct Read {
    DWORD rc, type, needed;
    Bytes bytes;
};

Read readValue(HANDLE h, const std::string& key, const std::string& value, DWORD size = 256)
{
    Read r{0, kMagic, kMagic, Bytes(size, 0xAA)};
    r.rc = GetPrinterDataExW(h, testkit::wide(key).c_str(), testkit::wide(value).c_str(), &r.type, r.bytes.data(), size,
                             &r.needed);
    r.bytes.resize(r.rc == ERROR_SUCCESS ? r.needed : size);
    return r;
}

DWORD setValue(HANDLE h, const std::string& key, const std::string& value, DWORD type, Bytes data)
{
    return SetPrinterDataExW(h, testkit::wide(key).c_str(), testkit::wide(value).c_str(), type, data.data(),
                             (DWORD)data.size());
}

// A Get* call the Windows way: the size, a refusal one byte short, then the block.
template <typename Call>
Bytes fetch(Call call)
{
    DWORD needed = 0;
    EXPECT_EQ(failure(call(nullptr, 0, &needed)), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    Bytes block(needed, 0xAA);
    EXPECT_EQ(failure(call(block.data(), needed - 1, &needed)), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(block, Bytes(block.size(), 0xAA)) << "nothing is written into a short buffer";
    if (!call(block.data(), needed, &needed))
        throw std::runtime_error("refused a block of the size it asked for");  // the test cannot read on
    return block;
}

std::string printerWith(const std::string& members)
{
    return R"({"name": "Pumex Embosser", "driver": "Pumex Pro")" + (members.empty() ? "" : ", " + members) + "}";
}

// Values V1 to Vn of a "Config" key.
std::string manyValues(int n)
{
    std::string values;
    for (int i = 1; i <= n; ++i)
        values += (i > 1 ? ", " : "") + "\"V"s + std::to_string(i) + R"(": {"type": "dword", "value": 0})";
    return values;
}

// A printer file of the documented shape: a value of every type, papers and forms.
class Spooler : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter(kPrinter, printerWith(R"("port": "FILE:", "data": {"Config": {
            "Offset": {"type": "dword", "value": -2}, "Temp": {"type": "expand_sz", "value": "%TEMP%"},
            "Path": {"type": "sz", "value": "C:\\é€.exe"}, "Cleared": {"type": "binary", "value": ""},
            "ControlFlags": {"type": "binary", "value": "MEDIATYPE=CARDSTOCK"},
            "Raw": {"type": "binary", "value": {"hex": "000a80"}}}},
          "papers": [{"id": 9, "name": "A4", "width": 2100, "length": 2970}, {"id": 1, "name": "Letter",
                      "width": 2159, "length": 2794}, {"id": 9, "name": "A4 again", "width": 2101, "length": 2971}],
          "forms": [{"name": "Letter", "width": 215900, "length": 279400}, {"name": "A4", "width": 210000,
                     "length": 297000}])"));
        ASSERT_TRUE(openPrinter(kPrinter, &h));
    }
    void TearDown() override { ClosePrinter(h); }

    std::string file() const { return root.path() + "/printers/" + kPrinter + ".json"; }
    nlohmann::ordered_json parsed() const { return nlohmann::ordered_json::parse(testkit::readFile(file())); }

    testkit::TempRoot root;
    HANDLE h = nullptr;
};

TEST_F(Spooler, OpenRefusesNamesThatAreNotPrintersOfTheRootAndStaleHandles)
{
    // A valid printer file one folder up must stay out of reach.
    testkit::writeFile(root.path() + "/outside.json", testkit::printerJson("outside"));
    for (std::string name : {"", "Nope", "..", "../outside", "..\\outside", "sub/x"}) {
        HANDLE other = (HANDLE)&name;
        EXPECT_EQ(failure(openPrinter(name, &other)), (DWORD)ERROR_INVALID_PRINTER_NAME) << name;
        EXPECT_EQ(other, nullptr) << name;
    }
    HANDLE stale = nullptr;
    ASSERT_TRUE(openPrinter(kPrinter, &stale) && ClosePrinter(stale));
    for (HANDLE bad : {stale, (HANDLE)&stale, (HANDLE) nullptr, INVALID_HANDLE_VALUE}) {
        EXPECT_EQ(failure(ClosePrinter(bad)), (DWORD)ERROR_INVALID_HANDLE);
        EXPECT_EQ(readValue(bad, "Config", "Offset").rc, (DWORD)ERROR_INVALID_HANDLE);
        EXPECT_EQ(setValue(bad, "Config", "Offset", REG_DWORD, dword(2)), (DWORD)ERROR_INVALID_HANDLE);
    }
}

// Each type reads as the registry would, the key named in any case; writing back changes nothing.
TEST_F(Spooler, ValuesReadAndWriteBackExactly)
{
    const std::pair<const char*, Read> cases[] = {
        {"Offset", {0, REG_DWORD, 4, dword(0xFFFFFFFE)}},
        {"Path", {0, REG_SZ, 20, {'C', 0, ':', 0, '\\', 0, 0xE9, 0, 0xAC, 0x20, '.', 0, 'e', 0, 'x', 0, 'e', 0, 0, 0}}},
        {"Raw", {0, REG_BINARY, 3, {0x00, '\n', 0x80}}},
    };
    auto before = parsed();
    for (const auto& [value, expected] : cases) {
        Read r = readValue(h, "CONFIG", value);
        EXPECT_TRUE(r.rc == ERROR_SUCCESS && r.type == expected.type && r.needed == expected.needed) << value;
        EXPECT_EQ(r.bytes, expected.bytes) << value;
        ASSERT_EQ(setValue(h, "config", value, expected.type, expected.bytes), (DWORD)ERROR_SUCCESS) << value;
    }
    auto after = parsed();
    EXPECT_EQ(after["data"]["Config"]["Offset"]["value"], 4294967294u) << "a dword is written unsigned";
    after["data"]["Config"]["Offset"] = before["data"]["Config"]["Offset"];
    EXPECT_EQ(after.dump(), before.dump()) << "names, order and every other member are kept";
}

TEST_F(Spooler, ShortBuffersMissingValuesAndFailedWritesAreReported)
{
    const std::string before = testkit::readFile(file());
    Read r = readValue(h, "Config", "Temp", 4);
    EXPECT_TRUE(r.rc == ERROR_MORE_DATA && r.type == REG_EXPAND_SZ && r.needed == 14) << r.rc;
    EXPECT_EQ(r.bytes, Bytes(4, 0xAA)) << "nothing is copied";
    DWORD n = 0;  // the size needed
    EXPECT_TRUE(GetPrinterDataExW(h, u"Config", u"Offset", nullptr, nullptr, 0, &n) == ERROR_MORE_DATA && n == 4);
    EXPECT_EQ(readValue(h, "Config", "Missing").rc, (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(setValue(h, "Config", "Offset", REG_DWORD, {1, 2, 3}), (DWORD)ERROR_INVALID_PARAMETER);
    // The new file is synced before it replaces the old. (The job fault sweep
    // fails every write, sync and rename of a document in turn.)
    PxGetSyscalls()->fsync = [](int) { return errno = EIO, -1; };
    EXPECT_EQ(setValue(h, "Config", "Offset", REG_DWORD, dword(9)), (DWORD)ERROR_WRITE_FAULT);
    PxResetSyscalls();
    EXPECT_EQ(testkit::readFile(file()), before) << "a failed write leaves the printer whole";
    for (const fs::directory_entry& entry : fs::directory_iterator(root.path() + "/printers"))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
    root.writePrinter(kPrinter, "{ broken");
    EXPECT_EQ(readValue(h, "Config", "Offset").rc, (DWORD)ERROR_INVALID_DATA) << "each call reads the file anew";
    EXPECT_EQ(setValue(h, "Config", "Offset", REG_DWORD, dword(2)), (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(testkit::readFile(file()), "{ broken") << "a broken printer is not overwritten";
}

TEST_F(Spooler, PrinterFilesAreCheckedWhole)
{
    char message[512] = "x";
    auto entry = [](const std::string& e) { return printerWith(R"("data": {"Config": {)" + e + "}}"); };
    // A file, and how its message goes on after the file's label.
    const std::pair<std::string, std::string> cases[] = {
        {printerWith(R"("colour": 1)"), R"(unknown key "colour")"},
        {R"({"name": "Pumex Embosser"})", R"(missing key "driver")"},
        {R"({"name": "Other", "driver": "x"})", R"("name" is "Other" but the file is for printer "Pumex Embosser")"},
        {entry(R"("D": {"type": "dword", "value": 4294967296})"),
         R"(data.Config.D: "value" must be an integer from -2147483648 to 4294967295)"},
        {entry(R"("F": {"type": "binary", "value": {"hex": "a"}})"),
         R"(data.Config.F.value: "hex" must be an even number)"},
        {entry(R"("A": {"type": "sz", "value": ""}, "a": {"type": "sz", "value": ""})"),
         R"(data.Config: names "A" and "a")"},
        {printerWith(R"("driver": "again")"), R"(key "driver" appears twice in one object)"},
        {"{\n  \"name\": \"Pumex Embosser\",\n  \"driver\": }", "parse error at line 3, column 13"},
        {entry(R"("D": {"type": "dword", "value": 1e999})"), R"(number overflow parsing '1e999' (after key "value"))"},
        {entry(R"("D": {"type": "binary", "value": {"hex": [[[[["00"]]]]]}})"), "values nested more than 8 deep"},
        {entry(manyValues(4097)), R"(more than 4096 members in one object (at key "V4097"))"},
    };
    const std::string label = "printers/Pumex Embosser.json: ";
    for (const auto& [json, expected] : cases) {
        root.writePrinter(kPrinter, json);
        EXPECT_FALSE(PxValidatePrinterFile(file().c_str(), message, sizeof message)) << json;
        EXPECT_EQ(std::string(message).substr(0, label.size() + expected.size()), label + expected) << json;
    }
    HANDLE other = nullptr;
    EXPECT_EQ(failure(openPrinter(kPrinter, &other)), (DWORD)ERROR_INVALID_PRINTER_NAME) << "a printer that fails";
    EXPECT_TRUE(!PxValidatePrinterFile(file().c_str(), message, 4) && message == "pri"s) << "cut to fit, terminated";
}

// The level-2 record is what the page geometry reads for the printer's own
// device mode: an aligned one inside the block, naming no paper when the
// printer lists none. (Its first listed paper is the geometry tests'.)
TEST_F(Spooler, PrinterRecordHoldsADevmodeNamingItsPapersIfAny)
{
    Bytes block = fetch([&](BYTE* b, DWORD size, DWORD* n) { return GetPrinterW(h, 2, b, size, n); });
    auto* two = reinterpret_cast<PRINTER_INFO_2W*>(block.data());
    ASSERT_TRUE(inside(two->pDevMode, block) && (BYTE*)(two->pDevMode + 1) <= block.data() + block.size());
    EXPECT_EQ((uintptr_t)two->pDevMode % alignof(DEVMODEW), 0u);

    const std::string name = "An embosser whose name is longer than a device name can hold";
    const std::u16string bare = testkit::wide(name);
    root.writePrinter(name, R"({"name": ")" + name + R"(", "driver": "Pumex Pro"})");
    SetLastError(kMagic);
    EXPECT_EQ(DeviceCapabilitiesW(bare.c_str(), nullptr, DC_PAPERSIZE, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), kMagic) << "no papers is no error";
    ASSERT_TRUE(ClosePrinter(h) && openPrinter(name, &h));
    block = fetch([&](BYTE* b, DWORD size, DWORD* n) { return GetPrinterW(h, 2, b, size, n); });
    const DEVMODEW& none = *reinterpret_cast<PRINTER_INFO_2W*>(block.data())->pDevMode;
    EXPECT_TRUE(none.dmFields == (DM_ORIENTATION | DM_PRINTQUALITY | DM_YRESOLUTION) && none.dmPaperSize == 0);
    EXPECT_EQ(std::u16string(none.dmDeviceName), bare.substr(0, 31)) << "the name is cut to fit";
}

// A paper list is asked for as a count, then filled into a buffer of that
// count; an administrator replacing the printer with a longer list in between
// must not make the fill write past the buffer: the list a process first saw
// is the one it keeps. (Sizes, the larger entries; the ids take the same path.)
TEST_F(Spooler, APaperListIsTheOneItsProcessFirstSaw)
{
    const std::u16string device = testkit::wide(kPrinter);
    INT count = DeviceCapabilitiesW(device.c_str(), nullptr, DC_PAPERSIZE, nullptr, nullptr);
    ASSERT_GT(count, 0);
    std::string papers;
    for (int i = 1; i <= 64; ++i)
        papers += (i > 1 ? ", " : "") + R"({"id": )"s + std::to_string(i) + R"(, "name": "P", "width": 100, "length": 100})";
    root.writePrinter(kPrinter, printerWith(R"("papers": [)" + papers + "]"));
    std::unique_ptr<POINT[]> sizes(new POINT[(size_t)count]);  // on the heap, so a write past it is caught
    EXPECT_EQ(DeviceCapabilitiesW(device.c_str(), nullptr, DC_PAPERSIZE, reinterpret_cast<LPWSTR>(sizes.get()), nullptr),
              count);
}

// Two processes each count up 200 times in a value of their own and read the
// other's, which must be whole and never run backwards; no write is lost.
TEST_F(Spooler, TwoProcessesWritingNeverLoseOrTearThePrinter)
{
    for (const char* name : {"CountA", "CountB"})
        ASSERT_EQ(setValue(h, "Config", name, REG_DWORD, dword(0)), (DWORD)ERROR_SUCCESS);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    const char *mine = child ? "CountA" : "CountB", *other = child ? "CountB" : "CountA";
    HANDLE printer = nullptr;
    int failures = !openPrinter(kPrinter, &printer);
    for (uint32_t n = 1, seen = 0; n <= 200; ++n) {
        failures += setValue(printer, "Config", mine, REG_DWORD, dword(n)) != ERROR_SUCCESS;
        Read r = readValue(printer, "Config", other);
        uint32_t count = r.bytes[0] | r.bytes[1] << 8;
        failures += r.rc != ERROR_SUCCESS || count < std::exchange(seen, count);
    }
    ClosePrinter(printer);
    if (child == 0)
        _exit(failures ? 1 : 0);
    int status = 0;
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readValue(h, "Config", "CountA").bytes, dword(200));
    EXPECT_EQ(readValue(h, "Config", "CountB").bytes, dword(200));
    for (const fs::directory_entry& entry : fs::directory_iterator(root.path() + "/printers"))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

// A printer's font list, read as a registry key: values in file order with
// their types are read by the font list tests of the braille fonts; here, the
// key's bounds.
TEST_F(Spooler, TheFontListKeyIsAPrintersOwnAndNeverOverrun)
{
    root.writePrinter("Embosser", R"({"name": "Embosser", "driver": "Pumex Pro", "fontList": {"Zeta": "C:\\f\\z.dp",
        "Alpha": {"type": "dword", "value": 120}, "Empty": ""}})");
    const std::u16string under = u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
    HKEY key = nullptr;
    for (std::u16string path : {u"Other\\FontList", u"..\\FontList", u"Embosser\\PrinterDriverData"})
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (under + path).c_str(), 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (under + u"Embosser\\FontList").c_str(), 0, KEY_READ, &key),
              ERROR_SUCCESS);
    DWORD values = 0, maxData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, &maxData, nullptr,
                     nullptr);
    EXPECT_TRUE(values == 3 && maxData == sizeof(u"C:\\f\\z.dp")) << values << " " << maxData;
    WCHAR name[32];
    BYTE data[64];
    DWORD chars = 4, size = 4;  // too small: "Zeta" needs 5 with its terminator, and is not overrun
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    chars = 32;
    EXPECT_TRUE(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &size) == ERROR_MORE_DATA && size == 20);
    EXPECT_TRUE(RegCloseKey(key) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_INVALID_HANDLE) << "a stale key";
}

}  // namespace
