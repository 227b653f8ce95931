// Text output hook. Until braille output takes text runs over, every run is
// handed to the driver's own text output.
#include "braille/textout.h"
#include "device/xpdv.h"

#include "diag/diag.h"

BOOL APIENTRY OEMTextOut(SURFOBJ* pso, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco, RECTL* prclExtra,
                         RECTL* prclOpaque, BRUSHOBJ* pboFore, BRUSHOBJ* pboOpaque, POINTL* pptlOrg, MIX mix)
{
    auto fn = XPDV_unidrv<PFN_DrvTextOut>(XPDV_fromSurface(pso), ROW_TextOut);
    return fn ? fn(pso, pstro, pfo, pco, prclExtra, prclOpaque, pboFore, pboOpaque, pptlOrg, mix) : FALSE;
}
