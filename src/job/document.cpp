// Document, page and band hooks.
//
// Until the embossing path takes the page over, these hand every call to the
// driver's own function; what they already do is keep the page's text-only
// mark, which the graphics hooks clear.
#include "job/job.h"
#include "device/xpdv.h"

#include "diag/diag.h"

namespace {

void markTextOnly(SURFOBJ* pso)
{
    if (XPDV* pdv = XPDV_fromSurface(pso))
        pdv->TextOnlyPage = 1;
}

}  // namespace

BOOL APIENTRY OEMStartDoc(SURFOBJ* pso, PWSTR pwszDocName, DWORD dwJobId)
{
    markTextOnly(pso);
    auto fn = XPDV_unidrv<PFN_DrvStartDoc>(XPDV_fromSurface(pso), ROW_StartDoc);
    return fn ? fn(pso, pwszDocName, dwJobId) : FALSE;
}

BOOL APIENTRY OEMEndDoc(SURFOBJ* pso, FLONG fl)
{
    auto fn = XPDV_unidrv<PFN_DrvEndDoc>(XPDV_fromSurface(pso), ROW_EndDoc);
    return fn ? fn(pso, fl) : FALSE;
}

BOOL APIENTRY OEMStartPage(SURFOBJ* pso)
{
    markTextOnly(pso);
    auto fn = XPDV_unidrv<PFN_DrvStartPage>(XPDV_fromSurface(pso), ROW_StartPage);
    return fn ? fn(pso) : FALSE;
}

BOOL APIENTRY OEMSendPage(SURFOBJ* pso)
{
    auto fn = XPDV_unidrv<PFN_DrvSendPage>(XPDV_fromSurface(pso), ROW_SendPage);
    return fn ? fn(pso) : FALSE;
}

BOOL APIENTRY OEMStartBanding(SURFOBJ* pso, POINTL* pptl)
{
    auto fn = XPDV_unidrv<PFN_DrvStartBanding>(XPDV_fromSurface(pso), ROW_StartBanding);
    return fn ? fn(pso, pptl) : FALSE;
}

BOOL APIENTRY OEMNextBand(SURFOBJ* pso, POINTL* pptl)
{
    auto fn = XPDV_unidrv<PFN_DrvNextBand>(XPDV_fromSurface(pso), ROW_NextBand);
    return fn ? fn(pso, pptl) : FALSE;
}
