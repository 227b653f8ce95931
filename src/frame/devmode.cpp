// Size, defaults, conversion and merging of the private device-mode block.
#include "devmode.h"

#include "diag/diag.h"

#include <cstring>

namespace {

const char kModule[] = "UNI";

}  // namespace

void MakeOEMDevmodeValid(POEMDEV p)
{
    p->dmOEMExtra.dwSize = sizeof(OEMDEV);
    p->dmOEMExtra.dwSignature = OEM_SIGNATURE;
    p->dmOEMExtra.dwVersion = OEM_VERSION;
}

void Dump(const OEMDEV* p)
{
    LogMessage("%s:Dump(0x%X)", kModule, px_low32(p));
    if (p && p->dmOEMExtra.dwSize >= sizeof(OEMDEV) && p->dmOEMExtra.dwSignature == OEM_SIGNATURE) {
        LogMessage("\t dmOEMExtra.dwSize = %d ", p->dmOEMExtra.dwSize);
        LogMessage(" dwSignature = 0x%X ", p->dmOEMExtra.dwSignature);
        LogMessage(" dwVersion   = 0x%X \n", p->dmOEMExtra.dwVersion);
    } else {
        LogMessage("  -> unknown private OEM DEVMODE.\n");
    }
}

// Takes a block that came from elsewhere into ours: a block of another plug-in
// is replaced by a valid empty header; one of ours is copied.
BOOL ConvertOEMDevmode(const OEMDEV* in, POEMDEV out)
{
    LogMessage("%s:ConvertOEMDevmode()\n", kModule);
    if (!in || !out) {
        LogMessage("ConvertOEMDevmode(): invalid parameters.\n");
        return FALSE;
    }
    if (in->dmOEMExtra.dwSignature != out->dmOEMExtra.dwSignature) {
        LogMessage("Unknown DEVMODE signature, pOEMDMIn ignored.\r\n");
        out->dwPrivate = 0;
        MakeOEMDevmodeValid(out);
        return TRUE;
    }
    LogMessage("Converting private OEM Devmode.\n");
    LogMessage("pOEMDevIn:  ");
    Dump(in);
    // Never more than the smaller block claims, and never past our own block:
    // a corrupt size must not move bytes beyond the 208 the driver allocated.
    DWORD bytes = in->dmOEMExtra.dwSize < out->dmOEMExtra.dwSize ? in->dmOEMExtra.dwSize : out->dmOEMExtra.dwSize;
    if (bytes > sizeof(OEMDEV))
        bytes = sizeof(OEMDEV);
    if (in != out)
        std::memmove(out, in, bytes);
    out->dmOEMExtra.dwSize = sizeof(OEMDEV);
    out->dmOEMExtra.dwVersion = OEM_VERSION;
    LogMessage("pOEMDevOut:  ");
    Dump(out);
    return TRUE;
}

HRESULT hrOEMDevMode(DWORD dwMode, POEMDMPARAM pOemDMParam)
{
    LogMessage("%s: hrOEMDevMode() ", kModule);
    if (!pOemDMParam || dwMode < OEMDM_SIZE || dwMode > OEMDM_MERGE) {
        LogMessage("%s : DevMode() ERROR_INVALID_PARAMETER.\n", kModule);
        LogMessage("\tdwMode = %d, pOemDMParam = %#lx.\n", dwMode, px_low32(pOemDMParam));
        SetLastError(ERROR_INVALID_PARAMETER);
        return E_FAIL;
    }
    if (dwMode != OEMDM_SIZE) {
        LogMessage(" pPublicDMIn: %x ", px_low32(pOemDMParam->pPublicDMIn));
        if (pOemDMParam->pPublicDMIn)
            LogMessage(" dmDeviceName: \"%ws\" \n", pOemDMParam->pPublicDMIn->dmDeviceName);
    }
    auto* in = static_cast<const OEMDEV*>(pOemDMParam->pOEMDMIn);
    auto* out = static_cast<POEMDEV>(pOemDMParam->pOEMDMOut);
    switch (dwMode) {
    case OEMDM_SIZE:
        LogMessage("OEMDM_SIZE\n");
        pOemDMParam->cbBufSize = sizeof(OEMDEV);
        break;
    case OEMDM_DEFAULT:
        LogMessage("OEMDM_DEFAULT\n");
        LogMessage("  pOEMDevOut before setting default values:\r\n");
        Dump(out);
        pOemDMParam->cbBufSize = sizeof(OEMDEV);
        if (out)
            MakeOEMDevmodeValid(out);
        break;
    case OEMDM_CONVERT:
        LogMessage("OEMDM_CONVERT\n");
        ConvertOEMDevmode(in, out);
        pOemDMParam->cbBufSize = sizeof(OEMDEV);
        break;
    case OEMDM_MERGE:
        LogMessage("OEMDM_MERGE\n");
        ConvertOEMDevmode(in, out);
        LogMessage("%s:MakeOEMDevmodeValid(POEMDEV pOEMDevmode)\n", kModule);
        if (out)
            MakeOEMDevmodeValid(out);
        break;
    }
    return S_OK;
}
