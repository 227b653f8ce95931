// The plug-in object: identity, reference counting, the answers about optional
// methods, and the entry points the driver calls for the device lifecycle.
#include "oemuni.h"

#include "devmode.h"
#include "diag/diag.h"
#include "frame/hooks.h"

#include <cstring>

namespace {

#define OEM_PLUGIN_SIGNATURE OEM_SIGNATURE
#define OEM_PLUGIN_VERSION 1

// The answer to "is this optional method implemented?", by exact name.
struct MethodAnswer {
    const char* name;
    HRESULT answer;
};

const MethodAnswer kImplementedMethods[] = {
    {"CommandCallback", S_OK},  {"Compression", S_OK},       {"DevMode", S_OK},
    {"DisableDriver", S_OK},    {"DisablePDEV", S_OK},       {"DownloadCharGlyph", S_FALSE},
    {"DownloadFontHeader", S_OK}, {"DriverDMS", S_OK},       {"EnableDriver", S_OK},
    {"EnablePDEV", S_OK},       {"FilterGraphics", S_OK},    {"GetInfo", S_OK},
    {"HalftonePattern", S_OK},  {"ImageProcessing", S_FALSE}, {"MemoryUsage", S_OK},
    {"OutputCharStr", S_OK},    {"ResetPDEV", S_OK},         {"SendFontCmd", S_OK},
    {"TextOutAsBitmap", S_OK},  {"TTDownloadMethod", S_OK},  {"TTYGetInfo", S_OK},
};

}  // namespace

IOemUni::IOemUni() : m_cRef(1), m_pUni(nullptr) { InterlockedIncrement(&gComponentCount); }

IOemUni::~IOemUni()
{
    if (m_pUni) {
        m_pUni->Release();
        m_pUni = nullptr;
    }
    InterlockedDecrement(&gComponentCount);
}

HRESULT STDMETHODCALLTYPE IOemUni::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown)) {
        LogMessage("IOemUni::QueryInterface IUnknown.\r\n");
        *ppv = static_cast<IUnknown*>(this);
    } else if (IsEqualIID(riid, IID_IPrintOemUni)) {
        LogMessage("IOemUni::QueryInterface IPrintOemUni.\r\n");
        *ppv = static_cast<IPrintOemUni*>(this);
    } else {
        *ppv = nullptr;
        LogMessage("IOemUni::QueryInterface NULL. Returning E_NOINTERFACE.\r\n");
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG STDMETHODCALLTYPE IOemUni::AddRef()
{
    LogMessage("IOemUni::AddRef() this: %X\n", px_low32(this));
    return (ULONG)InterlockedIncrement(&m_cRef);
}

ULONG STDMETHODCALLTYPE IOemUni::Release()
{
    LogMessage("IOemUni::Release() this: %X\n", px_low32(this));
    LONG count = InterlockedDecrement(&m_cRef);
    if (count == 0) {
        delete this;
        return 0;
    }
    return (ULONG)count;
}

HRESULT STDMETHODCALLTYPE IOemUni::GetInfo(DWORD dwMode, PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded)
{
    LogMessage("IOemUni::GetInfo(%d) \r\n", dwMode);
    if (!pcbNeeded ||
        (dwMode != OEMGI_GETSIGNATURE && dwMode != OEMGI_GETVERSION && dwMode != OEMGI_GETPUBLISHERINFO)) {
        LogMessage("IOemUni::GetInfo() exit pcbNeeded is NULL! ERROR_INVALID_PARAMETER.\r\n");
        SetLastError(ERROR_INVALID_PARAMETER);
        return E_FAIL;
    }
    if (dwMode == OEMGI_GETPUBLISHERINFO) {
        *pcbNeeded = 8;  // publisher information is not supplied
        return E_FAIL;
    }
    *pcbNeeded = sizeof(DWORD);
    if (!pBuffer || cbSize < sizeof(DWORD)) {
        LogMessage("IOemUni::GetInfo() exit insufficient buffer!\r\n");
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return E_FAIL;
    }
    DWORD value = dwMode == OEMGI_GETSIGNATURE ? OEM_PLUGIN_SIGNATURE : OEM_PLUGIN_VERSION;
    std::memcpy(pBuffer, &value, sizeof value);
    LogMessage("IOemUni::GetInfo() exit S_OK, (*pBuffer is %#x).\r\n", value);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::DevMode(DWORD dwMode, POEMDMPARAM pOemDMParam)
{
    LogMessage("IOemUni:DevMode(%d, %x) \n", dwMode, px_low32(pOemDMParam));
    return hrOEMDevMode(dwMode, pOemDMParam);
}

HRESULT STDMETHODCALLTYPE IOemUni::EnableDriver(DWORD DriverVersion, DWORD cbSize, PDRVENABLEDATA pded)
{
    LogMessage("IOemUni::EnableDriver(), this: 0x%X\n", px_low32(this));
    return OEMEnableDriver(DriverVersion, cbSize, pded) ? S_OK : E_FAIL;
}

HRESULT STDMETHODCALLTYPE IOemUni::DisableDriver()
{
    LogMessage("IOemUni::DisableDriver()  this: %X\n", px_low32(this));
    OEMDisableDriver();
    if (m_pUni) {
        m_pUni->Release();
        m_pUni = nullptr;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::EnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, ULONG, HSURF*, ULONG, GDIINFO*,
                                              ULONG, DEVINFO* pDevInfo, DRVENABLEDATA* pded, PDEVOEM* pDevOem)
{
    LogMessage("IOemUni::EnablePDEV() pdevobj: 0x%X, pPrinterName:'%ws'\n", px_low32(pdevobj), pPrinterName);
    LogMessage("  pdevobj->pdevOEM:%p\n", pdevobj ? pdevobj->pdevOEM : nullptr);
    PDEVOEM record = OEMEnablePDEV(pdevobj, pPrinterName, pded, m_pUni);
    if (pDevOem)
        *pDevOem = record;
    LogMessage("  pDevOem:%p\n", record);
    LogMessage("  DevInfo: %lx\n", pDevInfo ? pDevInfo->flGraphicsCaps : 0);
    return record ? S_OK : E_FAIL;
}

HRESULT STDMETHODCALLTYPE IOemUni::DisablePDEV(PDEVOBJ pdevobj)
{
    LogMessage("IOemUni::DisablePDEV(0x%X), this:0x%X.\n", px_low32(pdevobj), px_low32(this));
    OEMDisablePDEV(pdevobj);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::ResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew)
{
    LogMessage("IOemUni::ResetPDEV(0x%X, 0x%X).\n", px_low32(pdevobjOld), px_low32(pdevobjNew));
    OEMResetPDEV(pdevobjOld, pdevobjNew);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::PublishDriverInterface(IUnknown* pIUnknown)
{
    LogMessage("IOemUni::PublishDriverInterface() this: %X\n", px_low32(this));
    if (m_pUni)
        return S_OK;
    if (!pIUnknown)
        return E_FAIL;
    HRESULT hr = pIUnknown->QueryInterface(IID_IPrintOemDriverUni, reinterpret_cast<void**>(&m_pUni));
    if (FAILED(hr) || !m_pUni) {
        m_pUni = nullptr;
        return E_FAIL;
    }
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::GetImplementedMethod(PSTR pMethodName)
{
    LogMessage("IOemUni::GetImplementedMethod()\n");
    LogMessage("        Function:%hs:\n", pMethodName);
    HRESULT answer = S_FALSE;
    if (pMethodName) {
        for (const MethodAnswer& m : kImplementedMethods) {
            if (std::strcmp(m.name, pMethodName) == 0) {
                answer = m.answer;
                break;
            }
        }
    }
    LogMessage(answer == S_OK ? "Supported\r\n" : "NOT supported\r\n");
    return answer;
}

HRESULT STDMETHODCALLTYPE IOemUni::DriverDMS(PVOID pDevObj, PVOID pBuffer, DWORD cbSize, PDWORD)
{
    LogMessage("IOemUni::DriverDMS( %p, %p, %d) \n", pDevObj, pBuffer, cbSize);
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::CommandCallback(PDEVOBJ pdevobj, DWORD dwCallbackID, DWORD dwCount, PDWORD,
                                                   INT* piResult)
{
    LogMessage("IOemUni::CommandCallback(%X) ", px_low32(pdevobj));
    LogMessage(" dwCallbackID = %d\n", dwCallbackID);
    LogMessage(" dwCount      = %d\n", dwCount);
    if (piResult)
        *piResult = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE IOemUni::ImageProcessing(PDEVOBJ pdevobj, PBYTE, PBITMAPINFOHEADER, PBYTE, DWORD,
                                                   PIPPARAMS, PBYTE*)
{
    LogMessage("IOemUni::ImageProcessing(%X)\n", px_low32(pdevobj));
    return S_OK;
}

// The plug-in sends every byte of the job itself: the driver's raster data is dropped.
HRESULT STDMETHODCALLTYPE IOemUni::FilterGraphics(PDEVOBJ, PBYTE, DWORD) { return S_OK; }

HRESULT STDMETHODCALLTYPE IOemUni::Compression(PDEVOBJ pdevobj, PBYTE, PBYTE, DWORD, DWORD, INT*)
{
    LogMessage("IOemUni::Compression(%X)\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::HalftonePattern(PDEVOBJ pdevobj, PBYTE, DWORD, DWORD, DWORD, DWORD, PBYTE, DWORD)
{
    LogMessage("IOemUni::HalftonePattern(%X) \n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::MemoryUsage(PDEVOBJ pdevobj, POEMMEMORYUSAGE)
{
    LogMessage("IOemUni::MemoryUsage(%X)\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::TTYGetInfo(PDEVOBJ pdevobj, DWORD, PVOID, DWORD, DWORD*)
{
    LogMessage("IOemUni::TTYGetInfo(%X).\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::DownloadFontHeader(PDEVOBJ pdevobj, PUNIFONTOBJ, DWORD*)
{
    LogMessage("IOemUni::DownloadFontHeader(%X) \n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::DownloadCharGlyph(PDEVOBJ pdevobj, PUNIFONTOBJ, HGLYPH, PDWORD, DWORD*)
{
    LogMessage("IOemUni::DownloadCharGlyph(%X) \n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::TTDownloadMethod(PDEVOBJ pdevobj, PUNIFONTOBJ, DWORD*)
{
    LogMessage("IOemUni::TTDownloadMethod(%X)\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::OutputCharStr(PDEVOBJ pdevobj, PUNIFONTOBJ, DWORD, DWORD, PVOID)
{
    LogMessage("IOemUni::OutputCharStr(%X)\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::SendFontCmd(PDEVOBJ pdevobj, PUNIFONTOBJ, PFINVOCATION)
{
    LogMessage("IOemUni::SendFontCmd(%X)\n", px_low32(pdevobj));
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE IOemUni::TextOutAsBitmap(SURFOBJ* pso, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*,
                                                   BRUSHOBJ*, BRUSHOBJ*, POINTL*, MIX)
{
    LogMessage("IOemUni::TextOutAsBitmap(%X)\n", px_low32(pso));
    return S_OK;
}
