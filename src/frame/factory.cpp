// The class factory, the module's exports and its counters.
#include "oemuni.h"

#include "diag/diag.h"

#include <new>

LONG gLockCount = 0;
LONG gComponentCount = 0;

HRESULT STDMETHODCALLTYPE IOemUniFactory::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) {
        *ppv = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG STDMETHODCALLTYPE IOemUniFactory::AddRef() { return (ULONG)InterlockedIncrement(&m_cRef); }

ULONG STDMETHODCALLTYPE IOemUniFactory::Release()
{
    LONG count = InterlockedDecrement(&m_cRef);
    if (count == 0) {
        delete this;
        return 0;
    }
    return (ULONG)count;
}

HRESULT STDMETHODCALLTYPE IOemUniFactory::CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv)
{
    LogMessage("Class factory:\t\tCreate component.");
    if (ppv)
        *ppv = nullptr;
    if (pUnkOuter)
        return CLASS_E_NOAGGREGATION;
    IOemUni* object = new (std::nothrow) IOemUni();
    if (!object)
        return E_OUTOFMEMORY;
    // The query takes its own reference; releasing the creation reference
    // destroys the object when the query failed.
    HRESULT hr = object->QueryInterface(riid, ppv);
    object->Release();
    return hr;
}

HRESULT STDMETHODCALLTYPE IOemUniFactory::LockServer(BOOL fLock)
{
    if (fLock)
        InterlockedIncrement(&gLockCount);
    else
        InterlockedDecrement(&gLockCount);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    LogMessage("DllGetClassObject()\n");
    if (!IsEqualCLSID(rclsid, CLSID_OEMRENDER))
        return CLASS_E_CLASSNOTAVAILABLE;
    IOemUniFactory* factory = new (std::nothrow) IOemUniFactory();
    if (!factory)
        return E_OUTOFMEMORY;
    HRESULT hr = factory->QueryInterface(riid, ppv);
    factory->Release();
    return hr;
}

HRESULT STDMETHODCALLTYPE DllCanUnloadNow(void)
{
    LogMessage("DllCanUnloadNow()\n");
    return (gComponentCount == 0 && gLockCount == 0) ? S_OK : S_FALSE;
}

BOOL ModuleEntry(DWORD reason)
{
    switch (reason) {
    case DLL_PROCESS_ATTACH: LogMessage("Process attach.\r\n"); break;
    case DLL_PROCESS_DETACH: LogMessage("Process detach.\r\n"); break;
    case DLL_THREAD_ATTACH: LogMessage("Thread attach.\r\n"); break;
    case DLL_THREAD_DETACH: LogMessage("Thread detach.\r\n"); break;
    }
    return TRUE;
}
