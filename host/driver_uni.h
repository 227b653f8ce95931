// The universal driver's helper interface as the host publishes it to the
// plug-in: what the plug-in spools is handed to a sink.
#pragma once

#include "win32.h"

#include <functional>

namespace host {

class DriverUni : public IPrintOemDriverUni {
public:
    using Sink = std::function<bool(const BYTE* data, DWORD size)>;
    // Spooled bytes go nowhere.
    DriverUni() : sink_([](const BYTE*, DWORD) { return true; }) {}
    explicit DriverUni(Sink sink) : sink_(std::move(sink)) {}
    virtual ~DriverUni() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    // The host owns this object; counting keeps the plug-in's view honest.
    ULONG STDMETHODCALLTYPE AddRef() override { return (ULONG)++refs_; }
    ULONG STDMETHODCALLTYPE Release() override { return (ULONG)--refs_; }
    LONG references() const { return refs_; }

    HRESULT STDMETHODCALLTYPE DrvGetDriverSetting(PVOID, PCSTR, PVOID, DWORD, PDWORD, PDWORD) override;
    HRESULT STDMETHODCALLTYPE DrvWriteSpoolBuf(PDEVOBJ, PVOID pBuffer, DWORD cbSize, DWORD* pdwResult) override;
    HRESULT STDMETHODCALLTYPE DrvXMoveTo(PDEVOBJ, INT, DWORD, INT*) override;
    HRESULT STDMETHODCALLTYPE DrvYMoveTo(PDEVOBJ, INT, DWORD, INT*) override;
    HRESULT STDMETHODCALLTYPE DrvGetStandardVariable(PDEVOBJ, DWORD, PVOID, DWORD, PDWORD) override;
    HRESULT STDMETHODCALLTYPE DrvGetGPDData(PDEVOBJ, DWORD, PVOID, PVOID, DWORD, PDWORD) override;
    HRESULT STDMETHODCALLTYPE DrvUniTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*,
                                            BRUSHOBJ*, POINTL*, MIX) override;
    HRESULT STDMETHODCALLTYPE DrvWriteAbortBuf(PDEVOBJ, PVOID, DWORD, DWORD) override;

private:
    Sink sink_;
    LONG refs_ = 1;
};

}  // namespace host
