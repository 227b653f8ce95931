// The hook table and the device record's life: enable, reset, disable.
#include "diag/diag.h"
#include "fake_unidrv.h"
#include "frame/oemuni.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

const ULONG kExpectedIndexes[HOOK_COUNT] = {12, 13, 19, 18, 20, 69, 70, 74, 71, 68, 23, 14, 15, 16, 17,
                                            31, 33, 32, 24, 35, 34, 58, 57, 26, 27, 28, 53, 47, 37};

TEST(HookTable, TwentyNineRowsInOrder)
{
    DRVENABLEDATA ded{};
    IOemUni* plugin = new IOemUni();
    EXPECT_EQ(plugin->EnableDriver(0x00030000, sizeof ded, &ded), S_OK);
    EXPECT_EQ(ded.iDriverVersion, 0x00010000u);
    ASSERT_EQ(ded.c, 29u);
    for (int row = 0; row < HOOK_COUNT; ++row) {
        EXPECT_EQ(ded.pdrvfn[row].iFunc, kExpectedIndexes[row]) << "row " << row;
        EXPECT_NE(ded.pdrvfn[row].pfn, nullptr) << "row " << row;
    }
    EXPECT_EQ(plugin->EnableDriver(0, 0, nullptr), E_FAIL);
    plugin->Release();
}

// A device context as the driver sets one up: device object, public devmode, printer.
class Device : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter("Embosser", testkit::printerJson("Embosser", "\"DebugLevel\": {\"type\": \"dword\", \"value\": 1}"));
        std::u16string name = testkit::wide("Embosser");
        ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));
        plugin = new IOemUni();
        plugin->PublishDriverInterface(&uni);
        functions = fake::functionList();
        devobj = makeDevobj(&dm);
    }
    void TearDown() override
    {
        plugin->Release();
        ClosePrinter(printer);
        gDebugLevel = 0;
    }

    DEVOBJ makeDevobj(DEVMODEW* dm)
    {
        DEVOBJ d{};
        d.dwSize = sizeof d;
        d.hPrinter = printer;
        d.pPublicDM = dm;
        return d;
    }

    HRESULT enable(DEVOBJ& devobj, const char16_t* printerName, std::vector<DRVFN>& list)
    {
        DRVENABLEDATA ded{0x00030000, (ULONG)list.size(), list.data()};
        DEVINFO devinfo{};
        devinfo.flGraphicsCaps = 0xABCD;
        PDEVOEM record = nullptr;
        HRESULT hr = plugin->EnablePDEV(&devobj, const_cast<PWSTR>(printerName), 0, nullptr, 0, nullptr,
                                        sizeof devinfo, &devinfo, &ded, &record);
        devobj.pdevOEM = record;
        return hr;
    }

    testkit::TempRoot root;
    HANDLE printer = nullptr;
    IOemUni* plugin = nullptr;
    host::DriverUni uni;
    std::vector<DRVFN> functions;
    DEVMODEW dm{};
    DEVOBJ devobj{};
};

TEST_F(Device, EnableFindsTheDriversFunctionForEveryRow)
{
    std::vector<DRVFN> lacking = fake::functionList(INDEX_DrvPlgBlt);
    ASSERT_EQ(enable(devobj, u"Embosser", lacking), S_OK);
    auto* pdv = static_cast<XPDV*>(devobj.pdevOEM);
    ASSERT_NE(pdv, nullptr);
    for (int row = 0; row < HOOK_COUNT; ++row) {
        ASSERT_EQ(functions[row].iFunc, kExpectedIndexes[row]) << "the fake lists the functions in row order";
        EXPECT_EQ(pdv->pfnUnidrv[row], row == ROW_PlgBlt ? nullptr : functions[row].pfn) << "row " << row;
    }
    EXPECT_EQ(pdv->pUni, static_cast<IPrintOemDriverUni*>(&uni));
    EXPECT_EQ(pdv->pConfig, nullptr);
    EXPECT_EQ(pdv->PagCount, 0);
    plugin->DisablePDEV(&devobj);
    EXPECT_EQ(devobj.pdevOEM, nullptr);
}

TEST_F(Device, EnableReadsTheLogLevelAndRenamesTheDevmode)
{
    px_wcscpy(dm.dmDeviceName, CCHDEVICENAME, WSTR("Generic"));
    const char16_t* name40 = u"An-embosser-name-of-forty-characters-xyz";
    gDebugLevel = 0;
    ASSERT_EQ(enable(devobj, name40, functions), S_OK);
    EXPECT_EQ(gDebugLevel, 1u);
    EXPECT_EQ(std::u16string(dm.dmDeviceName), std::u16string(name40).substr(0, 31)) << "cut to fit";
    // The record takes the spooler's name for the printer, not the one passed in.
    EXPECT_EQ(px_wcscmp(static_cast<XPDV*>(devobj.pdevOEM)->szPrinterName, WSTR("Embosser")), 0);
    plugin->DisablePDEV(&devobj);
}

TEST_F(Device, AMissingLogLevelLeavesTheLevelAndAFailedLookupUsesTheGivenName)
{
    devobj.hPrinter = reinterpret_cast<HANDLE>(0x1234);  // not a printer
    gDebugLevel = 2;
    ASSERT_EQ(enable(devobj, u"Given", functions), S_OK);
    EXPECT_EQ(gDebugLevel, 2u);
    EXPECT_EQ(px_wcscmp(static_cast<XPDV*>(devobj.pdevOEM)->szPrinterName, WSTR("Given")), 0);
    plugin->DisablePDEV(&devobj);
}

TEST_F(Device, ResetMovesTheDocumentStateToTheNewRecord)
{
    DEVOBJ& oldDev = devobj;
    DEVOBJ newDev = makeDevobj(&dm);
    ASSERT_EQ(enable(oldDev, u"Embosser", functions), S_OK);
    std::vector<DRVFN> other = fake::functionList(INDEX_DrvPaint);
    ASSERT_EQ(enable(newDev, u"Embosser", other), S_OK);
    auto* from = static_cast<XPDV*>(oldDev.pdevOEM);
    auto* to = static_cast<XPDV*>(newDev.pdevOEM);

    // Stand-ins for the document's owned objects: real tracked blocks.
    from->pConfig = static_cast<Config*>(mymalloc(64));
    from->pTextPage = static_cast<TextPage*>(mymalloc(32));
    from->pPageStore = static_cast<PageEntry*>(mymalloc(sizeof(PageEntry) * PAGE_STORE_SLOTS));
    from->PageStoreCapacity = PAGE_STORE_SLOTS;
    from->PagCount = 3;
    from->rf = 5;
    from->bLandscape = 1;
    from->bandPosition = {10, 20};
    from->embossPageWidth = 42;
    from->embossPageHeight = 56;
    from->gdiPaperWidth = 850;
    from->gdiPaperHeight = 1100;
    from->bandIncrementY = 200;
    from->TextOnlyPage = 1;
    px_wcscpy(from->pDocName, NAME_CHARS, WSTR("Report"));

    EXPECT_EQ(plugin->ResetPDEV(&oldDev, &newDev), S_OK);
    // Everything from pConfig to TextOnlyPage moved, the document name with it.
    XPDV expected;
    std::memcpy(&expected, from, sizeof expected);
    std::memcpy(expected.pfnUnidrv, to->pfnUnidrv, sizeof expected.pfnUnidrv);
    expected.pUni = to->pUni;
    px_wcscpy(expected.szPrinterName, NAME_CHARS, to->szPrinterName);
    EXPECT_EQ(std::memcmp(&expected, to, sizeof expected), 0);
    // The new record keeps its own driver functions.
    EXPECT_EQ(to->pfnUnidrv[ROW_Paint], nullptr);

    // Disabling the old device frees only its record; the moved blocks are
    // freed once, here (the sanitizers catch a second free).
    plugin->DisablePDEV(&oldDev);
    myfree(to->pConfig);
    myfree(to->pTextPage);
    myfree(to->pPageStore);
    plugin->DisablePDEV(&newDev);
}

}  // namespace
