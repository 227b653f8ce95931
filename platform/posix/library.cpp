// Libraries and the system directory: LoadLibraryW is dlopen on the Windows
// path mapped into the system root, whatever the file's extension.
#include "internal.h"

#include <dlfcn.h>

namespace {

const WCHAR kSystemDirectory[] = WSTR("C:\\windows\\system32");

}  // namespace

UINT GetSystemDirectoryW(LPWSTR lpBuffer, UINT uSize)
{
    UINT length = (UINT)px_wcslen(kSystemDirectory);
    if (!lpBuffer || uSize <= length)
        return length + 1;  // the size needed, terminator included
    px_wcscpy(lpBuffer, uSize, kSystemDirectory);
    return length;
}

HMODULE LoadLibraryW(LPCWSTR lpLibFileName)
{
    if (!lpLibFileName || !*lpLibFileName)
        return px::fail<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
    std::string path = px::mapPath(px::narrow(lpLibFileName).c_str());
    void* handle = path.empty() ? nullptr : PxGetSyscalls()->dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return px::fail<HMODULE>(ERROR_MOD_NOT_FOUND, nullptr);
    return static_cast<HMODULE>(handle);
}

FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    if (!hModule || !lpProcName)
        return px::fail<FARPROC>(ERROR_INVALID_HANDLE, nullptr);
    void* symbol = dlsym(hModule, lpProcName);
    if (!symbol)
        return px::fail<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
    return reinterpret_cast<FARPROC>(symbol);
}

BOOL FreeLibrary(HMODULE hLibModule)
{
    if (!hLibModule)
        return px::fail(ERROR_INVALID_HANDLE, FALSE);
    return dlclose(hLibModule) == 0 ? TRUE : px::fail(ERROR_INVALID_HANDLE, FALSE);
}
