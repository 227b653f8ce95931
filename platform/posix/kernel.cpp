// Thread's last error and global memory.
#include "internal.h"

#include <cstdlib>
#include <mutex>
#include <unordered_set>

namespace {

thread_local DWORD tLastError = 0;

// A global memory block: this header, then the caller's bytes. The handle is the
// header's address, the locked pointer the address just past it.
struct GlobalBlock {
    SIZE_T size;
    UINT flags;
    LONG locks;
};
constexpr size_t kHeader = (sizeof(GlobalBlock) + 15) & ~(size_t)15;

// Live blocks: a handle or pointer that is not one of them is refused without
// being read, so a stray pointer cannot corrupt or crash the allocator.
std::mutex gBlocksLock;
std::unordered_set<const void*>& liveBlocks()
{
    static auto* set = new std::unordered_set<const void*>();
    return *set;
}

GlobalBlock* blockOf(HGLOBAL h)
{
    std::lock_guard<std::mutex> lock(gBlocksLock);
    return (h && liveBlocks().count(h)) ? static_cast<GlobalBlock*>(h) : nullptr;
}

}  // namespace

DWORD GetLastError(void) { return tLastError; }

void SetLastError(DWORD dwErrCode) { tLastError = dwErrCode; }

HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes)
{
    if (dwBytes > ((SIZE_T)1 << 40))
        return px::fail<HGLOBAL>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    // Always zero-filled: cheaper to reason about than stale bytes.
    void* mem = PxGetSyscalls()->calloc(1, kHeader + dwBytes);
    if (!mem)
        return px::fail<HGLOBAL>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    auto* b = static_cast<GlobalBlock*>(mem);
    b->size = dwBytes;
    b->flags = uFlags;
    b->locks = 0;
    std::lock_guard<std::mutex> lock(gBlocksLock);
    liveBlocks().insert(b);
    return b;
}

LPVOID GlobalLock(HGLOBAL hMem)
{
    GlobalBlock* b = blockOf(hMem);
    if (!b)
        return px::fail<LPVOID>(ERROR_INVALID_HANDLE, nullptr);
    ++b->locks;
    return reinterpret_cast<BYTE*>(b) + kHeader;
}

BOOL GlobalUnlock(HGLOBAL hMem)
{
    GlobalBlock* b = blockOf(hMem);
    if (!b)
        return px::fail<BOOL>(ERROR_INVALID_HANDLE, FALSE);
    if (b->locks > 0)
        --b->locks;
    if (b->locks == 0)
        return px::fail<BOOL>(NO_ERROR, FALSE);  // Windows: FALSE with no error when unlocked
    return TRUE;
}

HGLOBAL GlobalHandle(LPCVOID pMem)
{
    if (!pMem)
        return px::fail<HGLOBAL>(ERROR_INVALID_HANDLE, nullptr);
    // Address arithmetic only; the candidate is looked up before it is read.
    auto candidate = reinterpret_cast<HGLOBAL>(reinterpret_cast<uintptr_t>(pMem) - kHeader);
    return blockOf(candidate) ? candidate : px::fail<HGLOBAL>(ERROR_INVALID_HANDLE, nullptr);
}

SIZE_T GlobalSize(HGLOBAL hMem)
{
    GlobalBlock* b = blockOf(hMem);
    return b ? b->size : px::fail<SIZE_T>(ERROR_INVALID_HANDLE, 0);
}

HGLOBAL GlobalFree(HGLOBAL hMem)
{
    if (!hMem)
        return nullptr;
    GlobalBlock* b = blockOf(hMem);
    if (!b)
        return px::fail<HGLOBAL>(ERROR_INVALID_HANDLE, hMem);
    {
        std::lock_guard<std::mutex> lock(gBlocksLock);
        liveBlocks().erase(b);
    }
    PxGetSyscalls()->free(b);
    return nullptr;
}
