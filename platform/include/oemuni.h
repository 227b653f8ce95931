// The universal printer driver's plug-in interfaces (rendering side).
//
// mingw-w64 ships no header for them, so they are declared here from the
// public documentation of printoem.h and prcomoem.h. The slot order of every
// interface and the layout of every record must match Windows exactly: the
// real driver calls this module through these tables.
#pragma once

#ifndef PUMEX_WIN32_INCLUDED
#error "include win32.h instead"
#endif

typedef PVOID PDEVOEM;
struct DRVPROCS;
typedef DRVPROCS* PDRVPROCS;

// The driver's device object, handed to every plug-in call.
struct DEVOBJ {
    DWORD dwSize;
    PDEVOEM pdevOEM;
    HANDLE hEngine;
    HANDLE hPrinter;
    HANDLE hOEM;
    PDEVMODEW pPublicDM;
    PVOID pOEMDM;
    PDRVPROCS pDrvProcs;
};
typedef DEVOBJ* PDEVOBJ;

// Parameter block of IPrintOemUni::DevMode.
struct OEMDMPARAM {
    DWORD cbSize;
    PVOID pdriverobj;
    HANDLE hPrinter;
    HANDLE hModule;
    PDEVMODEW pPublicDMIn;
    PDEVMODEW pPublicDMOut;
    PVOID pOEMDMIn;
    PVOID pOEMDMOut;
    DWORD cbBufSize;
};
typedef OEMDMPARAM* POEMDMPARAM;

// Header of every plug-in's private device-mode block.
struct OEM_DMEXTRAHEADER {
    DWORD dwSize;
    DWORD dwSignature;
    DWORD dwVersion;
};
typedef OEM_DMEXTRAHEADER* POEM_DMEXTRAHEADER;

struct IPPARAMS {
    DWORD dwSize;
    POINT ptOffset;
    PSTR pHalftoneOption;
    BOOL bBanding;
    BOOL bBlankBand;
};
typedef IPPARAMS* PIPPARAMS;

struct OEMMEMORYUSAGE {
    DWORD dwFixedMemoryUsage;
    DWORD dwPercentMemoryUsage;
    DWORD dwMaxBandSize;
};
typedef OEMMEMORYUSAGE* POEMMEMORYUSAGE;

struct UNIFONTOBJ;
typedef BOOL(APIENTRY* PFNGETINFO)(UNIFONTOBJ*, DWORD, PVOID, DWORD, PDWORD);
struct UNIFONTOBJ {
    ULONG ulFontID;
    DWORD dwFlags;
    IFIMETRICS* pIFIMetrics;
    PFNGETINFO pfnGetInfo;
};
typedef UNIFONTOBJ* PUNIFONTOBJ;

struct FINVOCATION {
    DWORD dwCount;
    PBYTE pubCommand;
};
typedef FINVOCATION* PFINVOCATION;

// GetInfo modes
#define OEMGI_GETSIGNATURE 1
#define OEMGI_GETINTERFACEVERSION 2
#define OEMGI_GETVERSION 3
#define OEMGI_GETPUBLISHERINFO 4

// DevMode modes
#define OEMDM_SIZE 1
#define OEMDM_DEFAULT 2
#define OEMDM_CONVERT 3
#define OEMDM_MERGE 4

// Version of the plug-in engine interface, reported by EnableDriver.
#define PRINTER_OEMINTF_VERSION 0x00010000

inline constexpr IID IID_IPrintOemUni = {0xD67EBBF0, 0x78BF, 0x11D1, {0x94, 0x80, 0x00, 0xA0, 0xC9, 0x06, 0x40, 0xB8}};
inline constexpr IID IID_IPrintOemDriverUni = {
    0xD67EBBF1, 0x78BF, 0x11D1, {0x94, 0x80, 0x00, 0xA0, 0xC9, 0x06, 0x40, 0xB8}};

// IUnknown -> IPrintOemCommon: slots 3 and 4.
struct IPrintOemCommon : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetInfo(DWORD dwMode, PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE DevMode(DWORD dwMode, POEMDMPARAM pOemDMParam) = 0;
};

// IPrintOemCommon -> IPrintOemEngine: slots 5 to 9.
struct IPrintOemEngine : public IPrintOemCommon {
    virtual HRESULT STDMETHODCALLTYPE EnableDriver(DWORD DriverVersion, DWORD cbSize, PDRVENABLEDATA pded) = 0;
    virtual HRESULT STDMETHODCALLTYPE DisableDriver() = 0;
    virtual HRESULT STDMETHODCALLTYPE EnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, ULONG cPatterns,
                                                 HSURF* phsurfPatterns, ULONG cjGdiInfo, GDIINFO* pGdiInfo,
                                                 ULONG cjDevInfo, DEVINFO* pDevInfo, DRVENABLEDATA* pded,
                                                 PDEVOEM* pDevOem) = 0;
    virtual HRESULT STDMETHODCALLTYPE DisablePDEV(PDEVOBJ pdevobj) = 0;
    virtual HRESULT STDMETHODCALLTYPE ResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew) = 0;
};

// IPrintOemEngine -> IPrintOemUni: slots 10 to 25.
struct IPrintOemUni : public IPrintOemEngine {
    virtual HRESULT STDMETHODCALLTYPE PublishDriverInterface(IUnknown* pIUnknown) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImplementedMethod(PSTR pMethodName) = 0;
    virtual HRESULT STDMETHODCALLTYPE DriverDMS(PVOID pDevObj, PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE CommandCallback(PDEVOBJ pdevobj, DWORD dwCallbackID, DWORD dwCount,
                                                      PDWORD pdwParams, INT* piResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE ImageProcessing(PDEVOBJ pdevobj, PBYTE pSrcBitmap,
                                                      PBITMAPINFOHEADER pBitmapInfoHeader, PBYTE pColorTable,
                                                      DWORD dwCallbackID, PIPPARAMS pIPParams,
                                                      PBYTE* ppbResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE FilterGraphics(PDEVOBJ pdevobj, PBYTE pBuf, DWORD dwLen) = 0;
    virtual HRESULT STDMETHODCALLTYPE Compression(PDEVOBJ pdevobj, PBYTE pInBuf, PBYTE pOutBuf, DWORD dwInLen,
                                                  DWORD dwOutLen, INT* piResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE HalftonePattern(PDEVOBJ pdevobj, PBYTE pHTPattern, DWORD dwHTPatternX,
                                                      DWORD dwHTPatternY, DWORD dwHTNumPatterns,
                                                      DWORD dwCallbackID, PBYTE pResource,
                                                      DWORD dwResourceSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE MemoryUsage(PDEVOBJ pdevobj, POEMMEMORYUSAGE pMemoryUsage) = 0;
    virtual HRESULT STDMETHODCALLTYPE TTYGetInfo(PDEVOBJ pdevobj, DWORD dwInfoIndex, PVOID pOutputBuf,
                                                 DWORD dwSize, DWORD* pcbcNeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE DownloadFontHeader(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD* pdwResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE DownloadCharGlyph(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, HGLYPH hGlyph,
                                                        PDWORD pdwWidth, DWORD* pdwResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE TTDownloadMethod(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD* pdwResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE OutputCharStr(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, DWORD dwType,
                                                    DWORD dwCount, PVOID pGlyph) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendFontCmd(PDEVOBJ pdevobj, PUNIFONTOBJ pUFObj, PFINVOCATION pFInv) = 0;
    virtual HRESULT STDMETHODCALLTYPE TextOutAsBitmap(SURFOBJ* pso, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco,
                                                      RECTL* prclExtra, RECTL* prclOpaque, BRUSHOBJ* pboFore,
                                                      BRUSHOBJ* pboOpaque, POINTL* pptlOrg, MIX mix) = 0;
};

// The driver's helper interface, handed to the plug-in by PublishDriverInterface.
struct IPrintOemDriverUni : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE DrvGetDriverSetting(PVOID pdriverobj, PCSTR Feature, PVOID pOutput,
                                                          DWORD cbSize, PDWORD pcbNeeded,
                                                          PDWORD pdwOptionsReturned) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvWriteSpoolBuf(PDEVOBJ pdevobj, PVOID pBuffer, DWORD cbSize,
                                                       DWORD* pdwResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvXMoveTo(PDEVOBJ pdevobj, INT x, DWORD dwFlags, INT* piResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvYMoveTo(PDEVOBJ pdevobj, INT y, DWORD dwFlags, INT* piResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvGetStandardVariable(PDEVOBJ pdevobj, DWORD dwIndex, PVOID pBuffer,
                                                             DWORD cbSize, PDWORD pcbNeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvGetGPDData(PDEVOBJ pdevobj, DWORD dwType, PVOID pInputData,
                                                    PVOID pBuffer, DWORD cbSize, PDWORD pcbNeeded) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvUniTextOut(SURFOBJ* pso, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco,
                                                    RECTL* prclExtra, RECTL* prclOpaque, BRUSHOBJ* pboFore,
                                                    BRUSHOBJ* pboOpaque, POINTL* pptlBrushOrg, MIX mix) = 0;
    virtual HRESULT STDMETHODCALLTYPE DrvWriteAbortBuf(PDEVOBJ pdevobj, PVOID pBuffer, DWORD cbSize,
                                                       DWORD dwWait) = 0;
};

static_assert(sizeof(DEVOBJ) == 64, "DEVOBJ");
static_assert(offsetof(DEVOBJ, pdevOEM) == 8, "DEVOBJ.pdevOEM");
static_assert(offsetof(DEVOBJ, hPrinter) == 24, "DEVOBJ.hPrinter");
static_assert(offsetof(DEVOBJ, pPublicDM) == 40, "DEVOBJ.pPublicDM");
static_assert(sizeof(OEMDMPARAM) == 72, "OEMDMPARAM");
static_assert(offsetof(OEMDMPARAM, pOEMDMIn) == 48, "OEMDMPARAM.pOEMDMIn");
static_assert(offsetof(OEMDMPARAM, cbBufSize) == 64, "OEMDMPARAM.cbBufSize");
static_assert(sizeof(OEM_DMEXTRAHEADER) == 12, "OEM_DMEXTRAHEADER");
