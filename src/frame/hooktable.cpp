// The hook table: every hooked driver function, in row order.
#include "frame/hooks.h"

#include "braille/textout.h"
#include "diag/diag.h"
#include "job/job.h"

namespace {

// Function pointers of other signatures travel through the table as PFN; the
// detour through void(*)() says so to the compiler.
template <typename Fn>
PFN asPFN(Fn fn)
{
    return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(fn));
}

}  // namespace

const DRVFN gHookTable[HOOK_COUNT] = {
    {kHookIndex[ROW_RealizeBrush], asPFN(OEMRealizeBrush)},
    {kHookIndex[ROW_DitherColor], asPFN(OEMDitherColor)},
    {kHookIndex[ROW_CopyBits], asPFN(OEMCopyBits)},
    {kHookIndex[ROW_BitBlt], asPFN(OEMBitBlt)},
    {kHookIndex[ROW_StretchBlt], asPFN(OEMStretchBlt)},
    {kHookIndex[ROW_StretchBltROP], asPFN(OEMStretchBltROP)},
    {kHookIndex[ROW_PlgBlt], asPFN(OEMPlgBlt)},
    {kHookIndex[ROW_TransparentBlt], asPFN(OEMTransparentBlt)},
    {kHookIndex[ROW_AlphaBlend], asPFN(OEMAlphaBlend)},
    {kHookIndex[ROW_GradientFill], asPFN(OEMGradientFill)},
    {kHookIndex[ROW_TextOut], asPFN(OEMTextOut)},
    {kHookIndex[ROW_StrokePath], asPFN(OEMStrokePath)},
    {kHookIndex[ROW_FillPath], asPFN(OEMFillPath)},
    {kHookIndex[ROW_StrokeAndFillPath], asPFN(OEMStrokeAndFillPath)},
    {kHookIndex[ROW_Paint], asPFN(OEMPaint)},
    {kHookIndex[ROW_LineTo], asPFN(OEMLineTo)},
    {kHookIndex[ROW_StartPage], asPFN(OEMStartPage)},
    {kHookIndex[ROW_SendPage], asPFN(OEMSendPage)},
    {kHookIndex[ROW_Escape], asPFN(OEMEscape)},
    {kHookIndex[ROW_StartDoc], asPFN(OEMStartDoc)},
    {kHookIndex[ROW_EndDoc], asPFN(OEMEndDoc)},
    {kHookIndex[ROW_NextBand], asPFN(OEMNextBand)},
    {kHookIndex[ROW_StartBanding], asPFN(OEMStartBanding)},
    {kHookIndex[ROW_QueryFont], asPFN(OEMQueryFont)},
    {kHookIndex[ROW_QueryFontTree], asPFN(OEMQueryFontTree)},
    {kHookIndex[ROW_QueryFontData], asPFN(OEMQueryFontData)},
    {kHookIndex[ROW_QueryAdvanceWidths], asPFN(OEMQueryAdvanceWidths)},
    {kHookIndex[ROW_FontManagement], asPFN(OEMFontManagement)},
    {kHookIndex[ROW_GetGlyphMode], asPFN(OEMGetGlyphMode)},
};

// Hands the driver the hook table.
BOOL OEMEnableDriver(DWORD, DWORD, PDRVENABLEDATA pded)
{
    LogMessage("OEMEnableDriver() \n");
    if (!pded)
        return FALSE;
    pded->iDriverVersion = PRINTER_OEMINTF_VERSION;
    pded->c = HOOK_COUNT;
    pded->pdrvfn = const_cast<DRVFN*>(gHookTable);
    return TRUE;
}

void OEMDisableDriver() { LogMessage("OEMDisableDriver().\r\n"); }

