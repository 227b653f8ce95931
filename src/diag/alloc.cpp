// Tracked, zero-filling allocation from global memory.
#include "diag.h"

DWORD gTotalBytesAlloc = 0;

void* mymalloc(DWORD size)
{
    if (size == 0) {
        LogDetail("mymalloc(): oops, LPVOID=NULL\n");
        return nullptr;
    }
    HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    void* p = handle ? GlobalLock(handle) : nullptr;
    if (!p) {
        if (handle)
            GlobalFree(handle);
        LogDetail("mymalloc(): oops, NULL=GlobalAlloc( %u )\n", size);
        return nullptr;
    }
    gTotalBytesAlloc += size;
    LogDetail("mymalloc(): p=0x%p, size=%u, total=%u\n", p, size, gTotalBytesAlloc);
    return p;
}

void myfree(void* p)
{
    if (!p) {
        LogDetail("myfree(): oops, trying to free NULL\n");
        return;
    }
    HGLOBAL handle = GlobalHandle(p);
    if (!handle)
        return;  // not a block of ours: leave it alone rather than corrupt the heap
    // The allocator's own size: equal to the request here, rounded on some systems.
    gTotalBytesAlloc -= (DWORD)GlobalSize(handle);
    LogDetail("myfree(): p=0x%p, total=%u\n", p, gTotalBytesAlloc);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

WCHAR* mystrdup(const WCHAR* src)
{
    size_t length = px_wcslen(src);
    if (length == 0)
        return nullptr;
    if (length >= 0x7FFFFFFF / sizeof(WCHAR))
        return nullptr;
    auto* copy = static_cast<WCHAR*>(mymalloc((DWORD)((length + 1) * sizeof(WCHAR))));
    if (copy)
        px_wcscpy(copy, length + 1, src);
    return copy;
}
