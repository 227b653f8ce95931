// The class factory, the plug-in object's identity and its fixed answers.
#include "fake_unidrv.h"
#include "diag/diag.h"
#include "frame/oemuni.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

IPrintOemUni* createPlugin()
{
    IClassFactory* factory = nullptr;
    EXPECT_EQ(DllGetClassObject(CLSID_OEMRENDER, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
    IPrintOemUni* plugin = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IPrintOemUni, reinterpret_cast<void**>(&plugin)), S_OK);
    factory->Release();
    return plugin;
}

// Only the plug-in's class, only as a factory or IUnknown, never aggregated;
// the module may unload only while no object lives and no lock is held.
TEST(ClassFactory, ServesOnlyThePluginClassAndInterface)
{
    void* p = reinterpret_cast<void*>(1);
    CLSID other = CLSID_OEMRENDER;
    other.Data1 ^= 1;
    EXPECT_EQ(DllGetClassObject(other, IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(DllGetClassObject(CLSID_OEMRENDER, IID_IPrintOemUni, &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);

    IClassFactory* factory = nullptr;
    ASSERT_EQ(DllGetClassObject(CLSID_OEMRENDER, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
    LONG before = gComponentCount;
    host::DriverUni outer;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IPrintOemUni, &p), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &p), E_NOINTERFACE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(gComponentCount, before) << "the failed query destroyed its object";
    // A lock keeps the module loaded (the module test follows an object's life).
    factory->LockServer(TRUE);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    factory->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
    EXPECT_EQ(factory->Release(), 0u);
}

TEST(PluginObject, PublishedDriverInterfaceIsKeptOnceAndReleased)
{
    IPrintOemUni* plugin = createPlugin();
    void* p = reinterpret_cast<void*>(1);
    EXPECT_EQ(plugin->QueryInterface(IID_IPrintOemDriverUni, &p), E_NOINTERFACE) << "the helper is not ours to give";
    EXPECT_EQ(p, nullptr);
    host::DriverUni first, second;
    EXPECT_EQ(plugin->PublishDriverInterface(&first), S_OK);
    EXPECT_EQ(first.references(), 2);
    EXPECT_EQ(plugin->PublishDriverInterface(&second), S_OK);
    EXPECT_EQ(second.references(), 1);  // not asked again
    EXPECT_EQ(plugin->DisableDriver(), S_OK);
    EXPECT_EQ(first.references(), 1);
    EXPECT_EQ(plugin->PublishDriverInterface(&second), S_OK);
    EXPECT_EQ(second.references(), 2);
    plugin->Release();  // the destructor releases what is still held
    EXPECT_EQ(second.references(), 1);
    plugin = createPlugin();
    EXPECT_EQ(plugin->PublishDriverInterface(nullptr), E_FAIL);
    plugin->Release();
}

TEST(PluginObject, GetInfoAnswersAndLastErrors)
{
    IPrintOemUni* plugin = createPlugin();
    struct Case {
        DWORD mode, cbSize;
        bool buffer, needed;  // whether the call gets them
        HRESULT hr;
        DWORD cbNeeded, lastError, value;
    } cases[] = {
        {OEMGI_GETSIGNATURE, 4, true, true, S_OK, 4, 0xDEAD, 0x51504D53},
        {OEMGI_GETVERSION, 8, true, true, S_OK, 4, 0xDEAD, 1},
        {OEMGI_GETSIGNATURE, 3, true, true, E_FAIL, 4, ERROR_INSUFFICIENT_BUFFER, 0},
        {OEMGI_GETVERSION, 4, false, true, E_FAIL, 4, ERROR_INSUFFICIENT_BUFFER, 0},
        {OEMGI_GETPUBLISHERINFO, 64, true, true, E_FAIL, 8, 0xDEAD, 0},
        {OEMGI_GETINTERFACEVERSION, 4, true, true, E_FAIL, 0, ERROR_INVALID_PARAMETER, 0},
        {OEMGI_GETSIGNATURE, 4, true, false, E_FAIL, 0, ERROR_INVALID_PARAMETER, 0},
    };
    for (const Case& c : cases) {
        SetLastError(0xDEAD);
        DWORD buffer = 0, needed = 0;
        HRESULT hr = plugin->GetInfo(c.mode, c.buffer ? &buffer : nullptr, c.cbSize, c.needed ? &needed : nullptr);
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ", " << c.cbSize << " bytes");
        EXPECT_EQ(hr, c.hr);
        EXPECT_EQ(needed, c.cbNeeded);
        EXPECT_EQ(GetLastError(), c.lastError);
        EXPECT_EQ(buffer, c.value);
    }
    plugin->Release();
}

TEST(PluginObject, GetInfoLogsItsPaths)
{
    testkit::TempRoot root;
    IPrintOemUni* plugin = createPlugin();
    gDebugLevel = 1;
    DWORD buffer = 0, needed = 0;
    plugin->GetInfo(OEMGI_GETSIGNATURE, &buffer, 4, &needed);
    plugin->GetInfo(2, &buffer, 4, &needed);
    plugin->GetInfo(OEMGI_GETVERSION, &buffer, 3, &needed);
    gDebugLevel = 0;
    plugin->Release();
    EXPECT_EQ(root.log(),
              "IOemUni::GetInfo(1) \r\nIOemUni::GetInfo() exit S_OK, (*pBuffer is 0x51504d53).\r\n"
              "IOemUni::GetInfo(2) \r\nIOemUni::GetInfo() exit pcbNeeded is NULL! ERROR_INVALID_PARAMETER.\r\n"
              "IOemUni::GetInfo(3) \r\nIOemUni::GetInfo() exit insufficient buffer!\r\n");
}

TEST(PluginObject, ImplementedMethodsByExactName)
{
    IPrintOemUni* plugin = createPlugin();
    const char* supported[] = {"CommandCallback", "Compression",    "DevMode",         "DisableDriver",
                               "DisablePDEV",     "DownloadFontHeader", "DriverDMS",   "EnableDriver",
                               "EnablePDEV",      "FilterGraphics", "GetInfo",         "HalftonePattern",
                               "MemoryUsage",     "OutputCharStr",  "ResetPDEV",       "SendFontCmd",
                               "TextOutAsBitmap", "TTDownloadMethod", "TTYGetInfo"};
    const char* refused[] = {"DownloadCharGlyph", "ImageProcessing", "filtergraphics", "GetInfo ", "GetInf", ""};
    for (const char* name : supported)
        EXPECT_EQ(plugin->GetImplementedMethod(const_cast<PSTR>(name)), S_OK) << name;
    for (const char* name : refused)
        EXPECT_EQ(plugin->GetImplementedMethod(const_cast<PSTR>(name)), S_FALSE) << name;
    EXPECT_EQ(plugin->GetImplementedMethod(nullptr), S_FALSE);
    plugin->Release();
}

}  // namespace
