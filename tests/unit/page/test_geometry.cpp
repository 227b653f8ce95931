// The page: its geometry (rf, the paper in pixels and cells, how the paper is
// found) and the text-marker page.
#include "diag/diag.h"
#include "device/xpdv.h"
#include "page/geometry.h"
#include "page/textpage.h"
#include "printer_fixture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

// Papers with id 9 twice (the last entry counts); a form whose thousandths do not divide by 100.
const char* const kPrinterFile = R"({"name": "Pumex Embosser", "driver": "Pumex Pro", "port": "FILE:",
  "papers": [{"id": 9, "name": "A4", "width": 2100, "length": 2970},
             {"id": 1, "name": "Letter", "width": 2159, "length": 2794},
             {"id": 5, "name": "Legal", "width": 2159, "length": 3556},
             {"id": 9, "name": "A4 again", "width": 2101, "length": 2971}],
  "forms": [{"name": "A4", "width": 210000, "length": 297000},
            {"name": "Odd", "width": 123456, "length": 98799},
            {"name": "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345", "width": 100000, "length": 200000}]})";

// The printer, and a device object, its record and a surface as the driver hands them to the hooks.
class Geometry : public PrinterTest {
protected:
    void SetUp() override
    {
        usePrinter("Pumex Embosser", kPrinterFile);
        devmode.dmSize = sizeof(DEVMODEW);
        devobj.pdevOEM = pdv.get();
        so.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
    }

    std::unique_ptr<XPDV> pdv = std::make_unique<XPDV>();
    SURFOBJ so{};
};

TEST_F(Geometry, ResolutionFactorAndPaperInPixelsAndCells)
{
    struct Case {
        DWORD fields;
        short paperSize, width, length, quality, yResolution;  // sizes in tenths of a millimetre
        INT rf, gdiWidth, gdiHeight, cellsWidth, cellsHeight;
    } cases[] = {  // (Letter at 100 dpi is the typical job's)
        {DM_PAPERLENGTH, 0, 2100, 2970, 100, 100, 5, 826, 1169, 166, 234},    // A4: 827 / 5 = 165, made even
        {DM_PAPERSIZE, 5, 0, 0, 120, 60, 6, 1020, 840, 170, 140},             // Legal from the list, 120 x 60 dpi
        {DM_PAPERWIDTH, 0, 2159, 2794, 19, 100, 6, 161, 1100, 28, 183},       // low quality: rf falls back to 6
        {DM_PAPERSIZE, 77, 2100, 2970, 100, 100, 5, 850, 1100, 170, 220},     // unknown paper, no form: Letter
    };
    for (const Case& c : cases) {
        devmode.dmFields = c.fields, devmode.dmPaperSize = c.paperSize, devmode.dmPaperWidth = c.width;
        devmode.dmPaperLength = c.length, devmode.dmPrintQuality = c.quality, devmode.dmYResolution = c.yResolution;
        ASSERT_TRUE(InitPaperSize(&so)) << "row " << &c - cases;
        EXPECT_EQ((std::vector<INT>{pdv->rf, pdv->gdiPaperWidth, pdv->gdiPaperHeight, pdv->embossPageWidth,
                                    pdv->embossPageHeight}),
                  (std::vector<INT>{c.rf, c.gdiWidth, c.gdiHeight, c.cellsWidth, c.cellsHeight}))
            << "row " << &c - cases;
    }
    // rf is the print quality over 20, truncated; 0 (the DMRES_ codes among them) falls back.
    devmode.dmPrintQuality = 119;
    EXPECT_EQ(getResolutionFactor(&so), 5);
    devmode.dmPrintQuality = -4;  // DMRES_HIGH
    EXPECT_EQ(getResolutionFactor(&so), FALLBACK_RF);
}

// A device mode for one lookup; unset members stay zero.
DEVMODEW devMode(DWORD fields, short paperSize, short width, short length, const char16_t* formName)
{
    DEVMODEW dm{};
    dm.dmSize = sizeof(DEVMODEW);
    dm.dmFields = fields, dm.dmPaperSize = paperSize, dm.dmPaperWidth = width, dm.dmPaperLength = length;
    for (int i = 0; i < CCHFORMNAME && (i == 0 || formName[i - 1]); ++i)
        dm.dmFormName[i] = formName[i];
    dm.dmLogPixels = 'A';  // what follows the form name, should a 32-character name be read past its end
    return dm;
}

TEST_F(Geometry, LookupTakesExplicitSizeThenPaperListsThenForm)
{
    const struct {
        const char* what;
        DEVMODEW dm;
        DWORD width, length;  // 0, 0: nothing found
    } cases[] = {
        {"explicit size", devMode(DM_PAPERWIDTH | DM_PAPERLENGTH | DM_PAPERSIZE, 1, 1000, 2000, u""), 1000, 2000},
        {"paper id listed twice: the last entry", devMode(DM_PAPERSIZE, 9, 0, 0, u""), 2101, 2971},
        {"unknown paper id, then the form, named in any case", devMode(DM_PAPERSIZE | DM_FORMNAME, 77, 0, 0, u"a4"),
         2100, 2970},
        {"form sizes truncate to tenths", devMode(DM_FORMNAME, 0, 0, 0, u"Odd"), 1234, 987},
        {"unknown form", devMode(DM_FORMNAME, 0, 0, 0, u"Tabloid"), 0, 0},
        {"form name filling its whole array", devMode(DM_FORMNAME, 0, 0, 0, u"ABCDEFGHIJKLMNOPQRSTUVWXYZ012345+more"),
         1000, 2000},
    };
    for (const auto& c : cases) {
        PaperDimension found = {0, 0};
        DWORD before = gTotalBytesAlloc;
        EXPECT_EQ(GetPaperDimensionFromDevMode(printer, &c.dm, &found), c.width != 0) << c.what;
        EXPECT_EQ(gTotalBytesAlloc, before) << c.what << ": every buffer is released";
        EXPECT_EQ(std::make_pair(found.width, found.length), std::make_pair(c.width, c.length)) << c.what;
    }
    // Without a device mode the printer's own names its first paper, id 9, whose last entry counts.
    PaperDimension found = {0, 0};
    EXPECT_TRUE(GetPaperDimensionFromDevMode(printer, nullptr, &found));
    EXPECT_EQ(std::make_pair(found.width, found.length), std::make_pair(2101u, 2971u));
    EXPECT_FALSE(GetPaperDimensionFromDevMode(nullptr, &cases[0].dm, &found)) << "no printer";
}

// The text-marker page: layout, bounds-checked writes and pages too large to
// make. (Its area maximum is checked against the plain largest byte in the
// image cross-checks; running out of memory for a page, in the job fault sweeps.)
TEST(TextPage, LayoutWritesOutsideAndPagesTooLargeToMake)
{
    std::unique_ptr<TextPage, void (*)(TextPage*)> page(TextPage_new(4, 4, TEXTPAGE_TYPE_ZERO), TextPage_delete);
    ASSERT_NE(page, nullptr);
    ASSERT_EQ(page->size, sizeof(TextPage) + 68u * 68u) << "64 rows and columns of slack";
    for (auto xy : {std::pair<DWORD, DWORD>{4, 0}, {0, 4}, {0xFFFFFFFFu, 0}, {0, 0xFFFFFFFFu}, {0xFFFFFFFCu, 1}})
        TextPage_setPixel(page.get(), xy.first, xy.second, 7);
    EXPECT_EQ(std::vector<BYTE>(page->m_Image, page->m_Image + 68 * 68), std::vector<BYTE>(68 * 68, 0))
        << "image and slack start at 0 and take no writes from outside the page";
    EXPECT_EQ(TextPage_getMax(page.get(), 0xFFFFFFF0u, 0xFFFFFFF0u, 0x20, 0x20), 255) << "not wrapped to column 0";
    EXPECT_EQ(TextPage_new(70000, 70000, TEXTPAGE_TYPE_ZERO), nullptr) << "too large for its 32-bit size";
    EXPECT_EQ(TextPage_new(0xFFFFFFFFu, 1, TEXTPAGE_TYPE_ZERO), nullptr);
}

}  // namespace
