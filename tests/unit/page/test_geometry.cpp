// Page geometry: the resolution factor, the paper in pixels and cells, and
// the three ways the paper is found (explicit size, paper lists, form).
#include "diag/diag.h"
#include "frame/xpdv.h"
#include "page/geometry.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

const std::string kPrinter = "Pumex Embosser";

// Papers with id 9 twice (its last entry is the one that counts) and a form
// whose size in thousandths does not divide by 100.
const char* const kPrinterFile = R"({"name": "Pumex Embosser", "driver": "Pumex Pro", "port": "FILE:",
  "papers": [{"id": 9, "name": "A4", "width": 2100, "length": 2970},
             {"id": 1, "name": "Letter", "width": 2159, "length": 2794},
             {"id": 5, "name": "Legal", "width": 2159, "length": 3556},
             {"id": 9, "name": "A4 again", "width": 2101, "length": 2971}],
  "forms": [{"name": "A4", "width": 210000, "length": 297000},
            {"name": "Odd", "width": 123456, "length": 98799},
            {"name": "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345", "width": 100000, "length": 200000}]})";

// A device object, its record and a surface, as the driver hands them to the hooks.
struct Device {
    Device()
    {
        dm.dmSize = sizeof(DEVMODEW);
        dm.dmPrintQuality = 100;
        dm.dmYResolution = 100;
        dm.dmOrientation = DMORIENT_PORTRAIT;
        devobj.pdevOEM = pdv.get();
        devobj.pPublicDM = &dm;
        so.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
    }
    Device(const Device&) = delete;

    DEVMODEW dm{};
    std::unique_ptr<XPDV> pdv = std::make_unique<XPDV>();
    DEVOBJ devobj{};
    SURFOBJ so{};
};

void setFormName(DEVMODEW& dm, const char16_t* name)
{
    for (int i = 0; i < CCHFORMNAME; ++i) {
        dm.dmFormName[i] = name[i];
        if (!name[i])
            break;
    }
}

class Geometry : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter(kPrinter, kPrinterFile);
        std::u16string name = testkit::wide(kPrinter);
        ASSERT_TRUE(OpenPrinterW(&name[0], &hPrinter, nullptr));
        device.devobj.hPrinter = hPrinter;
    }
    void TearDown() override
    {
        ClosePrinter(hPrinter);
        gDebugLevel = 0;
    }

    testkit::TempRoot root;
    HANDLE hPrinter = nullptr;
    Device device;
};

TEST_F(Geometry, ResolutionFactorIsPrintQualityOverTwentyWithAFallback)
{
    struct Case {
        short quality;
        INT rf;
    } cases[] = {
        {100, 5}, {120, 6}, {119, 5}, {20, 1}, {19, 6}, {0, 6}, {-19, 6},
        {-1, 6} /* DMRES_DRAFT */, {-4, 6} /* DMRES_HIGH */, {-20, -1}, {-45, -2}, {600, 30}, {32767, 1638},
    };
    for (const Case& c : cases) {
        device.dm.dmPrintQuality = c.quality;
        device.dm.dmYResolution = 9999;  // never consulted
        EXPECT_EQ(getResolutionFactor(&device.so), c.rf) << c.quality;
    }
    EXPECT_EQ(getResolutionFactor(nullptr), FALLBACK_RF);
}

TEST_F(Geometry, PaperInPixelsAndCells)
{
    struct Case {
        const char* what;
        short width, length;  // tenths of a millimetre
        short quality, yResolution, orientation;
        INT rf, gdiWidth, gdiHeight, cellsWidth, cellsHeight, landscape;
    } cases[] = {
        {"Letter at 100 dpi", 2159, 2794, 100, 100, DMORIENT_PORTRAIT, 5, 850, 1100, 170, 220, 0},
        {"A4 at 100 dpi: 827 / 5 = 165, made even", 2100, 2970, 100, 100, DMORIENT_PORTRAIT, 5, 826, 1169, 166, 234,
         0},
        {"landscape keeps the paper as fed", 2159, 2794, 100, 100, DMORIENT_LANDSCAPE, 5, 850, 1100, 170, 220, 1},
        {"Legal at 120 x 60 dpi", 2159, 3556, 120, 60, DMORIENT_PORTRAIT, 6, 1020, 840, 170, 140, 0},
        {"low quality falls back to rf 6", 2159, 2794, 19, 100, DMORIENT_PORTRAIT, 6, 161, 1100, 28, 183, 0},
        {"no vertical resolution", 2159, 2794, 100, 0, DMORIENT_PORTRAIT, 5, 850, 0, 170, 0, 0},
        {"negative vertical resolution", 2159, 2794, 100, -100, DMORIENT_PORTRAIT, 5, 850, -1100, 170, -219, 0},
    };
    for (const Case& c : cases) {
        device.dm.dmFields = DM_PAPERWIDTH | DM_PAPERLENGTH | DM_ORIENTATION | DM_PRINTQUALITY | DM_YRESOLUTION;
        device.dm.dmPaperWidth = c.width;
        device.dm.dmPaperLength = c.length;
        device.dm.dmPrintQuality = c.quality;
        device.dm.dmYResolution = c.yResolution;
        device.dm.dmOrientation = c.orientation;
        ASSERT_TRUE(InitPaperSize(&device.so)) << c.what;
        const XPDV& r = *device.pdv;
        EXPECT_EQ(r.rf, c.rf) << c.what;
        EXPECT_EQ(r.gdiPaperWidth, c.gdiWidth) << c.what;
        EXPECT_EQ(r.gdiPaperHeight, c.gdiHeight) << c.what;
        EXPECT_EQ(r.embossPageWidth, c.cellsWidth) << c.what;
        EXPECT_EQ(r.embossPageHeight, c.cellsHeight) << c.what;
        EXPECT_EQ(r.bLandscape, c.landscape) << c.what;
    }
}

TEST_F(Geometry, PaperFallsBackToLetter)
{
    struct Case {
        const char* what;
        bool handle;
        DWORD fields;
        short paperSize;
    } cases[] = {
        {"no printer handle", false, DM_PAPERWIDTH | DM_PAPERLENGTH, 0},
        {"an unknown paper id and no form", true, DM_PAPERSIZE, 77},
        {"nothing to go by", true, 0, 0},
    };
    for (const Case& c : cases) {
        device.devobj.hPrinter = c.handle ? hPrinter : nullptr;
        device.dm.dmFields = c.fields;
        device.dm.dmPaperSize = c.paperSize;
        device.dm.dmPaperWidth = 2100;
        device.dm.dmPaperLength = 2970;
        ASSERT_TRUE(InitPaperSize(&device.so)) << c.what;
        EXPECT_EQ(device.pdv->gdiPaperWidth, 850) << c.what;
        EXPECT_EQ(device.pdv->gdiPaperHeight, 1100) << c.what;
    }
    EXPECT_TRUE(InitPaperSize(nullptr)) << "no record to fill";
}

// Fields of a device mode for one lookup; unset members stay zero.
struct DevModeCase {
    const char* what;
    DWORD fields;
    short paperSize, paperWidth, paperLength;
    const char16_t* formName;
    BOOL found;
    DWORD width, length;
};

DEVMODEW devModeOf(const DevModeCase& c)
{
    DEVMODEW dm{};
    dm.dmSize = sizeof(DEVMODEW);
    dm.dmFields = c.fields;
    dm.dmPaperSize = c.paperSize;
    dm.dmPaperWidth = c.paperWidth;
    dm.dmPaperLength = c.paperLength;
    setFormName(dm, c.formName);
    dm.dmLogPixels = 'A';  // what follows the form name, should a 32-character name be read past its end
    return dm;
}

TEST_F(Geometry, LookupTakesExplicitSizeThenPaperListsThenForm)
{
    const DevModeCase cases[] = {
        {"explicit size", DM_PAPERWIDTH | DM_PAPERLENGTH | DM_PAPERSIZE, 1, 1000, 2000, u"", TRUE, 1000, 2000},
        {"length alone takes the unset width too", DM_PAPERLENGTH, 0, 0, 3000, u"", TRUE, 0, 3000},
        {"width alone", DM_PAPERWIDTH, 0, 1234, 0, u"", TRUE, 1234, 0},
        {"explicit sizes are sign-extended", DM_PAPERWIDTH, 0, -1, -2, u"", TRUE, 0xFFFFFFFFu, 0xFFFFFFFEu},
        {"paper id", DM_PAPERSIZE, 1, 0, 0, u"", TRUE, 2159, 2794},
        {"paper id listed twice: the last entry", DM_PAPERSIZE, 9, 0, 0, u"", TRUE, 2101, 2971},
        {"paper id beats the form", DM_PAPERSIZE | DM_FORMNAME, 5, 0, 0, u"A4", TRUE, 2159, 3556},
        {"unknown paper id, no form", DM_PAPERSIZE, 77, 0, 0, u"", FALSE, 0, 0},
        {"unknown paper id, then the form", DM_PAPERSIZE | DM_FORMNAME, 77, 0, 0, u"A4", TRUE, 2100, 2970},
        {"form sizes truncate to tenths", DM_FORMNAME, 0, 0, 0, u"Odd", TRUE, 1234, 987},
        {"form names compare without case", DM_FORMNAME, 0, 0, 0, u"odd", TRUE, 1234, 987},
        {"unknown form", DM_FORMNAME, 0, 0, 0, u"Tabloid", FALSE, 0, 0},
        {"a form name flag without fields", 0, 9, 0, 0, u"A4", FALSE, 0, 0},
        {"form name filling its whole array", DM_FORMNAME, 0, 0, 0, u"ABCDEFGHIJKLMNOPQRSTUVWXYZ012345+garbage",
         TRUE, 1000, 2000},
    };
    for (const DevModeCase& c : cases) {
        DEVMODEW dm = devModeOf(c);
        PaperDimension found = {7, 7};
        DWORD before = gTotalBytesAlloc;
        EXPECT_EQ(GetPaperDimensionFromDevMode(hPrinter, &dm, &found), c.found) << c.what;
        EXPECT_EQ(gTotalBytesAlloc, before) << c.what << ": every buffer is released";
        if (c.found) {
            EXPECT_EQ(found.width, c.width) << c.what;
            EXPECT_EQ(found.length, c.length) << c.what;
        }
    }
}

TEST_F(Geometry, LookupWithoutADevModeUsesThePrintersOwn)
{
    // The printer's default device mode names its first paper, id 9, whose last entry counts.
    PaperDimension found = {0, 0};
    EXPECT_TRUE(GetPaperDimensionFromDevMode(hPrinter, nullptr, &found));
    EXPECT_EQ(found.width, 2101u);
    EXPECT_EQ(found.length, 2971u);
}

TEST_F(Geometry, LookupFailsWithoutAUsablePrinter)
{
    DEVMODEW dm = devModeOf({"", DM_PAPERLENGTH, 0, 0, 3000, u"", TRUE, 0, 3000});
    PaperDimension found = {0, 0};
    int notAPrinter = 0;
    EXPECT_FALSE(GetPaperDimensionFromDevMode(nullptr, &dm, &found));
    EXPECT_FALSE(GetPaperDimensionFromDevMode((HANDLE)&notAPrinter, &dm, &found));
}

// The n-th allocation of the process fails, counting from 1.
int gAllocationsLeft = 0;
void* failingCalloc(size_t n, size_t size)
{
    return --gAllocationsLeft == 0 ? nullptr : calloc(n, size);
}

TEST_F(Geometry, AFailedAllocationEndsItsStepAndLeaksNothing)
{
    // Allocations in order: printer information, paper ids, paper sizes, form.
    struct Case {
        int failing;
        BOOL found;
        DWORD width, length;
    } cases[] = {
        {1, FALSE, 0, 0},       // no printer information: no lookup at all
        {2, TRUE, 2100, 2970},  // the paper lists are skipped, the form answers
        {3, TRUE, 2100, 2970},
        {4, TRUE, 2101, 2971},  // nothing fails that is needed
    };
    DEVMODEW dm = devModeOf({"", DM_PAPERSIZE | DM_FORMNAME, 9, 0, 0, u"A4", TRUE, 0, 0});
    for (const Case& c : cases) {
        gAllocationsLeft = c.failing;
        PxGetSyscalls()->calloc = failingCalloc;
        DWORD before = gTotalBytesAlloc;
        PaperDimension found = {0, 0};
        BOOL ok = GetPaperDimensionFromDevMode(hPrinter, &dm, &found);
        PxResetSyscalls();
        EXPECT_EQ(ok, c.found) << c.failing;
        EXPECT_EQ(gTotalBytesAlloc, before) << c.failing;
        if (c.found) {
            EXPECT_EQ(found.width, c.width) << c.failing;
            EXPECT_EQ(found.length, c.length) << c.failing;
        }
    }
}

TEST_F(Geometry, PaperListWalkIsLoggedEntryByEntry)
{
    gDebugLevel = 1;
    DEVMODEW dm = devModeOf({"", DM_PAPERSIZE, 9, 0, 0, u"", TRUE, 0, 0});
    PaperDimension found = {0, 0};
    ASSERT_TRUE(GetPaperDimensionFromDevMode(hPrinter, &dm, &found));
    EXPECT_EQ(root.log(), "GetPaperDimensionFromDevMode(): 4=DeviceCapabilities(DC_PAPERS), dmPaperSize=9\n"
                          "GetPaperDimensionFromDevMode(): DC_PAPERS id=9\n"
                          "GetPaperDimensionFromDevMode(): DC_PAPERS id=1\n"
                          "GetPaperDimensionFromDevMode(): DC_PAPERS id=5\n"
                          "GetPaperDimensionFromDevMode(): DC_PAPERS id=9\n"
                          "GetPaperDimensionFromDevMode(): found dmPaperSize=9 at index 3\n"
                          "GetPaperDimensionFromDevMode(): DeviceCapabilities(DC_PAPERSIZE) returns 4 sizes\n"
                          "GetPaperDimensionFromDevMode(): returning dimension (2101, 2971)\n");
}

}  // namespace
