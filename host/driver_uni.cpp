#include "driver_uni.h"

namespace host {

HRESULT STDMETHODCALLTYPE DriverUni::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IPrintOemDriverUni) || IsEqualIID(riid, IID_IUnknown)) {
        *ppv = static_cast<IPrintOemDriverUni*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE DriverUni::DrvWriteSpoolBuf(PDEVOBJ, PVOID pBuffer, DWORD cbSize, DWORD* pdwResult)
{
    if (pdwResult)
        *pdwResult = 0;
    if (!pBuffer && cbSize)
        return E_FAIL;
    if (!sink_(static_cast<const BYTE*>(pBuffer), cbSize))
        return E_FAIL;
    if (pdwResult)
        *pdwResult = cbSize;
    return S_OK;
}

// The rest of the helper interface serves raster printers; nothing here asks for it.
HRESULT STDMETHODCALLTYPE DriverUni::DrvGetDriverSetting(PVOID, PCSTR, PVOID, DWORD, PDWORD, PDWORD) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE DriverUni::DrvXMoveTo(PDEVOBJ, INT, DWORD, INT*) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE DriverUni::DrvYMoveTo(PDEVOBJ, INT, DWORD, INT*) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE DriverUni::DrvGetStandardVariable(PDEVOBJ, DWORD, PVOID, DWORD, PDWORD) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE DriverUni::DrvGetGPDData(PDEVOBJ, DWORD, PVOID, PVOID, DWORD, PDWORD) { return E_NOTIMPL; }
HRESULT STDMETHODCALLTYPE DriverUni::DrvUniTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*,
                                                   BRUSHOBJ*, POINTL*, MIX)
{
    return E_NOTIMPL;
}
HRESULT STDMETHODCALLTYPE DriverUni::DrvWriteAbortBuf(PDEVOBJ, PVOID, DWORD, DWORD) { return E_NOTIMPL; }

}  // namespace host
