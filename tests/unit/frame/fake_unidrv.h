// A stand-in for the universal driver's side of the plug-in: its own driver
// functions (recording each call and answering a chosen value) and its helper
// interface.
#pragma once

#include "frame/hooks.h"
#include "job/job.h"
#include "braille/textout.h"

#include <vector>

namespace fake {

// What the fake driver functions saw and what they answer.
struct Calls {
    std::vector<int> rows;  // hook rows, in call order
    void* firstArg = nullptr;
    BOOL boolResult = TRUE;
    ULONG ulongResult = 0;
};
Calls& calls();

// The driver's function list: every hooked DDI index, optionally without one.
std::vector<DRVFN> functionList(ULONG omitIndex = 0);

// The helper interface the driver publishes; counts its references.
class DriverUni : public IPrintOemDriverUni {
public:
    LONG refs = 1;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return (ULONG)++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return (ULONG)--refs; }
    HRESULT STDMETHODCALLTYPE DrvGetDriverSetting(PVOID, PCSTR, PVOID, DWORD, PDWORD, PDWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvWriteSpoolBuf(PDEVOBJ, PVOID, DWORD, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvXMoveTo(PDEVOBJ, INT, DWORD, INT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvYMoveTo(PDEVOBJ, INT, DWORD, INT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvGetStandardVariable(PDEVOBJ, DWORD, PVOID, DWORD, PDWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvGetGPDData(PDEVOBJ, DWORD, PVOID, PVOID, DWORD, PDWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvUniTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*,
                                            BRUSHOBJ*, POINTL*, MIX) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvWriteAbortBuf(PDEVOBJ, PVOID, DWORD, DWORD) override { return E_NOTIMPL; }
};

}  // namespace fake
