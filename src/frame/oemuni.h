// The plug-in object the driver creates through the class factory, its
// factory, and the module's counters.
#pragma once

#include "win32.h"

// Class ID of the plug-in: the only class the factory serves.
inline constexpr CLSID CLSID_OEMRENDER = {
    0x6D6ABF26, 0x9F38, 0x11D1, {0x88, 0x2A, 0x00, 0xC0, 0x4F, 0xB9, 0x61, 0xEC}};

extern LONG gLockCount;       // server locks
extern LONG gComponentCount;  // live plug-in objects

class IOemUni final : public IPrintOemUni {
public:
    IOemUni();
    ~IOemUni();

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IPrintOemCommon
    HRESULT STDMETHODCALLTYPE GetInfo(DWORD dwMode, PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded) override;
    HRESULT STDMETHODCALLTYPE DevMode(DWORD dwMode, POEMDMPARAM pOemDMParam) override;

    // IPrintOemEngine
    HRESULT STDMETHODCALLTYPE EnableDriver(DWORD DriverVersion, DWORD cbSize, PDRVENABLEDATA pded) override;
    HRESULT STDMETHODCALLTYPE DisableDriver() override;
    HRESULT STDMETHODCALLTYPE EnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, ULONG cPatterns,
                                         HSURF* phsurfPatterns, ULONG cjGdiInfo, GDIINFO* pGdiInfo, ULONG cjDevInfo,
                                         DEVINFO* pDevInfo, DRVENABLEDATA* pded, PDEVOEM* pDevOem) override;
    HRESULT STDMETHODCALLTYPE DisablePDEV(PDEVOBJ pdevobj) override;
    HRESULT STDMETHODCALLTYPE ResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew) override;

    // IPrintOemUni
    HRESULT STDMETHODCALLTYPE PublishDriverInterface(IUnknown* pIUnknown) override;
    HRESULT STDMETHODCALLTYPE GetImplementedMethod(PSTR pMethodName) override;
    HRESULT STDMETHODCALLTYPE DriverDMS(PVOID pDevObj, PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded) override;
    HRESULT STDMETHODCALLTYPE CommandCallback(PDEVOBJ pdevobj, DWORD dwCallbackID, DWORD dwCount, PDWORD pdwParams,
                                              INT* piResult) override;
    HRESULT STDMETHODCALLTYPE ImageProcessing(PDEVOBJ pdevobj, PBYTE pSrcBitmap, PBITMAPINFOHEADER pBitmapInfoHeader,
                                              PBYTE pColorTable, DWORD dwCallbackID, PIPPARAMS pIPParams,
                                              PBYTE* ppbResult) override;
    HRESULT STDMETHODCALLTYPE FilterGraphics(PDEVOBJ pdevobj, PBYTE pBuf, DWORD dwLen) override;
    HRESULT STDMETHODCALLTYPE Compression(PDEVOBJ pdevobj, PBYTE pInBuf, PBYTE pOutBuf, DWORD dwInLen,
                                          DWORD dwOutLen, INT* piResult) override;
    HRESULT STDMETHODCALLTYPE HalftonePattern(PDEVOBJ pdevobj, PBYTE pHTPattern, DWORD dwHTPatternX,
                                              DWORD dwHTPatternY, DWORD dwHTNumPatterns, DWORD dwCallbackID,
                                              PBYTE pResource, DWORD dwResourceSize) override;
    HRESULT STDMETHODCALLTYPE MemoryUsage(PDEVOBJ pdevobj, POEMMEMORYUSAGE pMemoryUsage) override;
    HRESULT STDMETHODCALLTYPE TTYGetInfo(PDEVOBJ pdevobj, DWORD dwInfoIndex, PVOID pOutputBuf, DWORD dwSize,
                                         DWORD* pcbcNeeded) override;
    HRESULT STDMETHODCALLTYPE DownloadFontHeader(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD* pdwResult) override;
    HRESULT STDMETHODCALLTYPE DownloadCharGlyph(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, HGLYPH hGlyph, PDWORD pdwWidth,
                                                DWORD* pdwResult) override;
    HRESULT STDMETHODCALLTYPE TTDownloadMethod(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD* pdwResult) override;
    HRESULT STDMETHODCALLTYPE OutputCharStr(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD dwType, DWORD dwCount,
                                            PVOID pGlyph) override;
    HRESULT STDMETHODCALLTYPE SendFontCmd(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, PFINVOCATION pFInv) override;
    HRESULT STDMETHODCALLTYPE TextOutAsBitmap(SURFOBJ* pso, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco,
                                              RECTL* prclExtra, RECTL* prclOpaque, BRUSHOBJ* pboFore,
                                              BRUSHOBJ* pboOpaque, POINTL* pptlOrg, MIX mix) override;

private:
    LONG m_cRef;
    IPrintOemDriverUni* m_pUni;
};

class IOemUniFactory final : public IClassFactory {
public:
    IOemUniFactory() : m_cRef(1) {}
    ~IOemUniFactory() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) override;

private:
    LONG m_cRef;
};

// Logs the loader's notifications; always succeeds.
BOOL ModuleEntry(DWORD reason);

#ifdef _WIN32
#define PUMEX_EXPORT_API extern "C"
#else
#define PUMEX_EXPORT_API extern "C" __attribute__((visibility("default")))
#endif
PUMEX_EXPORT_API HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
PUMEX_EXPORT_API HRESULT STDMETHODCALLTYPE DllCanUnloadNow(void);
