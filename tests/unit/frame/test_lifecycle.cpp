// The hook table and the device record's life: enable and disable. A reset in
// the middle of a document is the job tests'.
#include "diag/diag.h"
#include "fake_unidrv.h"
#include "frame/oemuni.h"
#include "printer_fixture.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const ULONG kExpectedIndexes[HOOK_COUNT] = {12, 13, 19, 18, 20, 69, 70, 74, 71, 68, 23, 14, 15, 16, 17,
                                            31, 33, 32, 24, 35, 34, 58, 57, 26, 27, 28, 53, 47, 37};

// A device context as the driver sets one up: device object, public devmode, printer.
class Device : public PrinterTest {
protected:
    void SetUp() override
    {
        usePrinter("Embosser", testkit::printerJson("Embosser", dword("DebugLevel", 1)));
        devobj.dwSize = sizeof devobj;
        plugin = new IOemUni();
        plugin->PublishDriverInterface(&uni);
        functions = fake::functionList();
    }
    void TearDown() override
    {
        plugin->Release();
        PrinterTest::TearDown();
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

    IOemUni* plugin = nullptr;
    host::DriverUni uni;
    std::vector<DRVFN> functions;
};

// The plug-in's table lists its hooks in row order. Enabling a device finds
// the driver's function for every row (none where the driver has none),
// reads the log level from the printer, takes the spooler's name for the
// printer rather than the one passed in, and renames the devmode, cut to fit.
TEST_F(Device, EnableFindsTheDriversFunctionsTheLogLevelAndTheNames)
{
    DRVENABLEDATA ded{};
    EXPECT_EQ(plugin->EnableDriver(0x00030000, sizeof ded, &ded), S_OK);
    EXPECT_EQ(ded.iDriverVersion, 0x00010000u);
    ASSERT_EQ(ded.c, 29u);
    px_wcscpy(devmode.dmDeviceName, CCHDEVICENAME, WSTR("Generic"));
    const char16_t* name40 = u"An-embosser-name-of-forty-characters-xyz";
    gDebugLevel = 0;
    std::vector<DRVFN> lacking = fake::functionList(INDEX_DrvPlgBlt);
    ASSERT_EQ(enable(devobj, name40, lacking), S_OK);
    auto* pdv = static_cast<XPDV*>(devobj.pdevOEM);
    ASSERT_NE(pdv, nullptr);
    for (int row = 0; row < HOOK_COUNT; ++row) {
        EXPECT_EQ(ded.pdrvfn[row].iFunc, kExpectedIndexes[row]) << "row " << row;
        EXPECT_NE(ded.pdrvfn[row].pfn, nullptr) << "row " << row;
        EXPECT_EQ(pdv->pfnUnidrv[row], row == ROW_PlgBlt ? nullptr : functions[row].pfn) << "row " << row;
    }
    EXPECT_EQ(pdv->pUni, static_cast<IPrintOemDriverUni*>(&uni));
    EXPECT_EQ(gDebugLevel, 1u);
    EXPECT_EQ(px_wcscmp(pdv->szPrinterName, WSTR("Embosser")), 0);
    EXPECT_EQ(std::u16string(devmode.dmDeviceName), std::u16string(name40).substr(0, 31));
    plugin->DisablePDEV(&devobj);
    EXPECT_EQ(devobj.pdevOEM, nullptr);
}

}  // namespace
