// The output sink: the spooler through the driver's helper interface, or the
// preview file while one is open.
#include "output/stream.h"

#include "config/config.h"
#include "diag/diag.h"
#include "device/xpdv.h"

namespace {

XPDV* recordOf(PDEVOBJ pdevobj) { return pdevobj ? static_cast<XPDV*>(pdevobj->pdevOEM) : nullptr; }

// A Config that was never given a file holds 0 there rather than the invalid
// handle; neither is a file to write to.
BOOL hasPreviewFile(const Config* config)
{
    return config && config->hPreviewFile != INVALID_HANDLE_VALUE && config->hPreviewFile != nullptr;
}

}  // namespace

void writeToSpooler(PDEVOBJ pdevobj, const void* data, DWORD size)
{
    XPDV* pdv = recordOf(pdevobj);
    if (!pdv || !pdv->pUni)
        return;
    DWORD written = 0;
    pdv->pUni->DrvWriteSpoolBuf(pdevobj, const_cast<void*>(data), size, &written);
}

void writeToOutputSink(PDEVOBJ pdevobj, const void* data, DWORD size, BOOL logWrite)
{
    XPDV* pdv = recordOf(pdevobj);
    DWORD written = 0;
    if (pdv && hasPreviewFile(pdv->pConfig)) {
        if (logWrite)
            LogMessage(" WriteFile(0x%p, 0x%p, %d, 0x%p)\n", pdv->pConfig->hPreviewFile, data, size, &written);
        WriteFile(pdv->pConfig->hPreviewFile, data, size, &written, nullptr);
        return;
    }
    if (!pdv || !pdv->pUni)
        return;
    if (logWrite)
        LogMessage(" DrvWriteSpoolBuf(0x%p, 0x%p, %d, 0x%p)\n", pdevobj, data, size, &written);
    pdv->pUni->DrvWriteSpoolBuf(pdevobj, const_cast<void*>(data), size, &written);
}
