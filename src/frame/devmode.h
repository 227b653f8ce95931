// The plug-in's private device-mode block: a standard extra-data header and a
// body that this plug-in carries for the user interface but never reads.
#pragma once

#include "win32.h"

#define OEM_SIGNATURE 0x51504D53  // 'QPMS'
#define OEM_VERSION 1
#define OEMDEV_BODY_BYTES 192

struct OEMDEV {
    OEM_DMEXTRAHEADER dmOEMExtra;
    DWORD dwPrivate;
    BYTE body[OEMDEV_BODY_BYTES];
};
typedef OEMDEV* POEMDEV;
static_assert(sizeof(OEMDEV) == 208, "OEMDEV is a stored format of 208 bytes");

HRESULT hrOEMDevMode(DWORD dwMode, POEMDMPARAM pOemDMParam);
BOOL ConvertOEMDevmode(const OEMDEV* pOEMDevIn, POEMDEV pOEMDevOut);
void MakeOEMDevmodeValid(POEMDEV pOEMDevmode);
void Dump(const OEMDEV* pOEMDevmode);
