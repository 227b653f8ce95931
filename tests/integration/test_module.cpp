// The built plug-in module, loaded and driven only through DllGetClassObject
// and the interfaces it hands out, as the universal driver does.
#include "driver_uni.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

namespace {

const CLSID kPluginClass = {0x6D6ABF26, 0x9F38, 0x11D1, {0x88, 0x2A, 0x00, 0xC0, 0x4F, 0xB9, 0x61, 0xEC}};

typedef HRESULT (*GetClassObjectFn)(REFCLSID, REFIID, LPVOID*);
typedef HRESULT (*CanUnloadFn)();

int gLineToCalls = 0;
BOOL APIENTRY driverLineTo(SURFOBJ*, CLIPOBJ*, BRUSHOBJ*, LONG, LONG, LONG, LONG, RECTL*, MIX)
{
    ++gLineToCalls;
    return TRUE;
}

TEST(Module, AScriptedDriverSessionThroughTheTwoExportsWritesTheExpectedLog)
{
    // The module exports its two entry points and nothing else.
    void* handle = dlopen(PUMEX_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto getClassObject = reinterpret_cast<GetClassObjectFn>(dlsym(handle, "DllGetClassObject"));
    auto canUnload = reinterpret_cast<CanUnloadFn>(dlsym(handle, "DllCanUnloadNow"));
    ASSERT_TRUE(getClassObject && canUnload);
    for (const char* hidden : {"OEMEnablePDEV", "LogMessage", "mymalloc", "gDebugLevel", "hrOEMDevMode",
                               "_Z13OEMEnablePDEVP6DEVOBJPDsP13DRVENABLEDATAP18IPrintOemDriverUni"})
        EXPECT_EQ(dlsym(handle, hidden), nullptr) << hidden;

    testkit::TempRoot root;
    root.writePrinter("Pumex Embosser", testkit::printerJson("Pumex Embosser", testkit::dword("DebugLevel", 1)));
    HANDLE printer = nullptr;
    std::u16string name = testkit::wide("Pumex Embosser");
    ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));

    // Loading: factory, object, helper interface.
    IClassFactory* factory = nullptr;
    ASSERT_EQ(getClassObject(kPluginClass, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
    IUnknown* unknown = nullptr;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&unknown)), S_OK);
    factory->Release();
    IPrintOemUni* plugin = nullptr;
    ASSERT_EQ(unknown->QueryInterface(IID_IPrintOemUni, reinterpret_cast<void**>(&plugin)), S_OK);
    unknown->Release();
    host::DriverUni uni;
    ASSERT_EQ(plugin->PublishDriverInterface(&uni), S_OK);
    DRVENABLEDATA hooks{};
    ASSERT_EQ(plugin->EnableDriver(0x00030000, sizeof hooks, &hooks), S_OK);
    ASSERT_EQ(hooks.c, 29u);

    // The device context: the driver's own functions are only LineTo here.
    DEVMODEW dm{};
    DEVOBJ devobj{};
    devobj.dwSize = sizeof devobj, devobj.hPrinter = printer, devobj.pPublicDM = &dm;
    DRVFN own[] = {{INDEX_DrvLineTo, reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(driverLineTo))}};
    DRVENABLEDATA ownData{0x00030000, 1, own};
    DEVINFO devinfo{};
    devinfo.flGraphicsCaps = 0x2C;
    PDEVOEM record = nullptr;
    ASSERT_EQ(plugin->EnablePDEV(&devobj, const_cast<PWSTR>(name.c_str()), 0, nullptr, 0, nullptr, sizeof devinfo,
                                 &devinfo, &ownData, &record),
              S_OK);
    devobj.pdevOEM = record;

    // Drawing through the hook table reaches the plug-in, which forwards.
    SURFOBJ surface{};
    surface.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
    auto lineTo = reinterpret_cast<PFN_DrvLineTo>(reinterpret_cast<void (*)()>(hooks.pdrvfn[15].pfn));
    EXPECT_TRUE(lineTo(&surface, nullptr, nullptr, 0, 0, 10, 10, nullptr, 0));
    EXPECT_EQ(gLineToCalls, 1);
    auto paint = reinterpret_cast<PFN_DrvPaint>(reinterpret_cast<void (*)()>(hooks.pdrvfn[14].pfn));
    EXPECT_FALSE(paint(&surface, nullptr, nullptr, nullptr, 0));  // the driver listed no Paint

    OEMDMPARAM dmParam{};
    ASSERT_EQ(plugin->DevMode(OEMDM_SIZE, &dmParam), S_OK);
    EXPECT_EQ(dmParam.cbBufSize, 208u);
    INT result = 5;
    plugin->CommandCallback(&devobj, 3, 0, nullptr, &result);

    ASSERT_EQ(plugin->DisablePDEV(&devobj), S_OK);
    ASSERT_EQ(plugin->DisableDriver(), S_OK);
    EXPECT_EQ(canUnload(), S_FALSE);
    EXPECT_EQ(plugin->Release(), 0u);
    EXPECT_EQ(canUnload(), S_OK);
    ClosePrinter(printer);

    // Nothing is written before the first device reads its level.
    char expected[4096];
    px_format(expected, sizeof expected,
              "OEMEnablePDEV() pdevobj: 0x%X 'Pumex Embosser'\n"
              "OEMEnablePDEV(): szPrinterName=Pumex Embosser\n"
              "  pDevOem:%p\n"
              "  DevInfo: 2c\n"
              "OEMLineTo()\n"
              "OEMPaint()\n"
              "IOemUni:DevMode(1, %x) \n"
              "UNI: hrOEMDevMode() OEMDM_SIZE\n"
              "IOemUni::CommandCallback(%X)  dwCallbackID = 3\n"
              " dwCount      = 0\n"
              "IOemUni::DisablePDEV(0x%X), this:0x%X.\n"
              "OEMDisablePDEV(0x%X) \n"
              "IOemUni::DisableDriver()  this: %X\n"
              "OEMDisableDriver().\r\n"
              "DllCanUnloadNow()\n"
              "IOemUni::Release() this: %X\n"
              "DllCanUnloadNow()\n",
              px_low32(&devobj), record, px_low32(&dmParam), px_low32(&devobj), px_low32(&devobj),
              px_low32(plugin), px_low32(&devobj), px_low32(plugin), px_low32(plugin));
    EXPECT_EQ(root.log(), expected);
    dlclose(handle);
}

}  // namespace
