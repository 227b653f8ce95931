// Text output: per run, braille, character shapes, graphics or nothing.
//
// Text handled here never reaches the driver, so it leaves no trace in the
// band bitmap; only the page buffer receives it, at the surface's resolution,
// limited by nothing but the buffer's bounds (clip, opaque rectangle, extra
// rectangles and mix do not apply). Text never changes TextOnlyPage.
#include "braille/textout.h"

#include "braille/dpfont.h"
#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "page/geometry.h"
#include "page/textpage.h"

namespace {

// One pair of the glyph-index table of a run.
struct GlyphPair {
    WCHAR ch;
    WORD index;
};

struct GlyphTable {
    GlyphPair* pairs;
    DWORD count;
};

// The face name of a font object, or null.
LPCWSTR ifiName(const IFIMETRICS* pifi, PTRDIFF offset)
{
    return pifi && offset > 0 ? reinterpret_cast<LPCWSTR>(reinterpret_cast<const BYTE*>(pifi) + offset) : nullptr;
}

LPCWSTR faceOf(FONTOBJ* pfo)
{
    const IFIMETRICS* pifi = pfo ? FONTOBJ_pifi(pfo) : nullptr;
    return pifi ? ifiName(pifi, pifi->dpwszFaceName) : nullptr;
}

// Names and weight of the run's font, as the log shows them.
void logFont(FONTOBJ* pfo)
{
    const IFIMETRICS* pifi = pfo ? FONTOBJ_pifi(pfo) : nullptr;
    if (!pifi) {
        LogDetail("Face: (none)\n");
        return;
    }
    LogDetail("Family: %ls\n", ifiName(pifi, pifi->dpwszFamilyName));
    LogDetail("Style: %ls\n", ifiName(pifi, pifi->dpwszStyleName));
    LogDetail("Face: %ls\n", ifiName(pifi, pifi->dpwszFaceName));
    LogDetail("Unique: %ls\n", ifiName(pifi, pifi->dpwszUniqueName));
    LogDetail("Weight: %d\n", pifi->usWinWeight);
}

// Magnification as braille uses it: a stored value below 1 becomes 1, stored
// back so the rest of the document agrees.
INT brailleMagnification(Config* config)
{
    if (config->Magnification < 1)
        config->Magnification = 1;
    return config->Magnification;
}

// The GDI bitmap of one glyph, or null when GDI cannot supply it.
const GLYPHBITS* glyphBitsOf(FONTOBJ* pfo, HGLYPH hg)
{
    PVOID data = nullptr;
    if (!pfo || FONTOBJ_cGetGlyphs(pfo, FO_GLYPHBITS, 1, &hg, &data) != 1 || !data)
        return nullptr;
    return static_cast<const GLYPHDATA*>(data)->gdf.pgb;
}

// Stamps a glyph's character shape at its position, when GDI has a bitmap.
void stampShape(SURFOBJ* pso, TextPage* page, FONTOBJ* pfo, const GLYPHPOS& gp)
{
    if (const GLYPHBITS* pgb = glyphBitsOf(pfo, gp.hg))
        renderGlyphBits(pso, page, gp.ptl.x, gp.ptl.y, pgb);
}

// Calls fn(n, glyph) for every glyph of the run, n counted from 0 across the
// batches GDI hands out; logs each batch when asked to.
template <typename Fn>
void forEachGlyph(STROBJ* pstro, bool logBatches, Fn fn)
{
    STROBJ_vEnumStart(pstro);
    ULONG n = 0;
    BOOL more;
    do {
        ULONG count = 0;
        GLYPHPOS* pgp = nullptr;
        more = STROBJ_bEnum(pstro, &count, &pgp);
        if (logBatches)
            LogMessage("embossTexts(): glyph count: %d\n", count);
        for (ULONG i = 0; pgp && i < count; ++i)
            fn(n++, pgp[i]);
    } while (more == TRUE);  // FALSE: the last batch; DDI_ERROR: none at all
}

// Every glyph of the run stamped as its character shape.
void stampShapes(STROBJ* pstro, FONTOBJ* pfo, SURFOBJ* pso, TextPage* page)
{
    forEachGlyph(pstro, false, [&](ULONG, const GLYPHPOS& gp) { stampShape(pso, page, pfo, gp); });
}

// Fills the table's pairs range by range from the font's character ranges,
// never past the pairs the table has room for.
void fillCharacters(GlyphTable* table, const GLYPHSET* set)
{
    DWORD n = 0;
    for (DWORD r = 0; r < set->cRanges; ++r) {
        LogDetail("embossTexts(): range=%u, cGlyphs=%u\n", set->ranges[r].wcLow, set->ranges[r].cGlyphs);
        WCHAR ch = set->ranges[r].wcLow;
        for (USHORT k = 0; k < set->ranges[r].cGlyphs && n < table->count; ++k, ++ch)
            table->pairs[n++].ch = ch;
    }
    table->count = n;
}

// Characters and glyph indices of the selected font; FALSE when GDI or
// memory fails.
BOOL readGlyphTable(HDC hdc, GlyphTable* table)
{
    DWORD size = GetFontUnicodeRanges(hdc, nullptr);
    LogDetail("embossTexts(): %u=GetFontUnicodeRanges()\n", size);
    if (size < sizeof(GLYPHSET))
        return FALSE;
    auto* set = static_cast<GLYPHSET*>(mymalloc(size));
    if (!set || GetFontUnicodeRanges(hdc, set) != size || set->cGlyphsSupported == 0) {
        myfree(set);
        return FALSE;
    }
    LogDetail("embossTexts(): %u=cGlyphsSupported\n", set->cGlyphsSupported);
    LogDetail("embossTexts(): cRanges=%u\n", set->cRanges);
    DWORD supported = set->cGlyphsSupported;
    table->pairs = static_cast<GlyphPair*>(mymalloc(supported * sizeof(GlyphPair)));
    auto* chars = static_cast<WCHAR*>(mymalloc(supported * sizeof(WCHAR)));
    auto* indices = static_cast<WORD*>(mymalloc(supported * sizeof(WORD)));
    BOOL ok = table->pairs && chars && indices;
    if (ok) {
        table->count = supported;
        fillCharacters(table, set);
        for (DWORD i = 0; i < table->count; ++i)
            chars[i] = table->pairs[i].ch;
        ok = GetGlyphIndicesW(hdc, chars, (int)table->count, indices, 0) != GDI_ERROR;
        for (DWORD i = 0; ok && i < table->count; ++i)
            table->pairs[i].index = indices[i];
    }
    myfree(set);
    myfree(chars);
    myfree(indices);
    return ok;
}

// The glyph-index table of the run's face: for each character the face
// supports, its glyph index. Empty when it cannot be built; the run's codes
// are then used as they stand.
GlyphTable buildGlyphTable(FONTOBJ* pfo)
{
    GlyphTable table = {nullptr, 0};
    LPCWSTR face = faceOf(pfo);
    HDC hdc = CreateDCW(WSTR("DISPLAY"), nullptr, nullptr, nullptr);
    LogDetail("embossTexts(): hdc=0x%p\n", hdc);
    if (!hdc)
        return table;
    HFONT hfnt = CreateFontW(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, face);
    LogDetail("embossTexts(): hfnt=0x%p, pFace=%ws\n", hfnt, face);
    if (hfnt) {
        HGDIOBJ previous = SelectObject(hdc, hfnt);
        if (!readGlyphTable(hdc, &table)) {
            myfree(table.pairs);
            table = {nullptr, 0};
        }
        SelectObject(hdc, previous);
        DeleteObject(hfnt);
    }
    DeleteDC(hdc);
    return table;
}

// The character of a glyph index, searched in table order; FALSE when absent.
BOOL substitute(const GlyphTable& table, WCHAR* code)
{
    for (DWORD i = 0; i < table.count; ++i) {
        if (table.pairs[i].index == *code) {
            LogDetail("\tglyphindex=%u > unicode=%u\n", *code, table.pairs[i].ch);
            *code = table.pairs[i].ch;
            return TRUE;
        }
    }
    return FALSE;
}

// The braille glyph of a code: the first in file order, else the font's
// missing glyph.
const DPGlyph* lookupGlyph(const DPFont* font, WCHAR code)
{
    for (INT i = 0; font->glyphs && i < font->numGlyphs; ++i)
        if (font->glyphs[i] && font->glyphs[i]->code == code)
            return font->glyphs[i];
    return font->missingGlyph;
}

// Integer division rounding down (b > 0). For positions on the page it is
// plain truncation; a run that starts above the band being drawn has negative
// coordinates, and rounding down keeps its grid the one of the whole page.
INT floorDiv(INT a, INT b)
{
    INT q = a / b;
    return a % b != 0 && a < 0 ? q - 1 : q;
}

// Interpoint paper takes braille on even dot rows only, so the cells of the
// back side fall between those of the front.
INT interpointRow(INT y, INT rf, INT magnification)
{
    INT t = floorDiv(magnification * y, rf);
    if (t % 2 != 0)
        ++t;
    return rf * t / magnification;
}

// What one braille run needs for each of its glyphs.
struct BrailleRun {
    STROBJ* pstro;
    const DPFont* font;
    FONTOBJ* pfo;
    SURFOBJ* pso;
    TextPage* page;
    BOOL simItalic;
    ULONG colour;
    Config* config;
    GlyphTable table;
    ULONG substituted;
};

void embossGlyph(BrailleRun& run, ULONG n, const GLYPHPOS& gp)
{
    // Without a code string the codes are unknown: every glyph is then
    // treated as missing and embossed as its character shape, so the reader
    // still gets the text in some tactile form.
    if (!run.pstro->pwszOrg || n >= run.pstro->cGlyphs) {
        if (run.colour != INK_COLOR)
            stampShape(run.pso, run.page, run.pfo, gp);
        return;
    }
    WCHAR code = run.pstro->pwszOrg[n];
    if (run.table.pairs && substitute(run.table, &code))
        ++run.substituted;
    const DPGlyph* glyph = lookupGlyph(run.font, code);
    if (glyph == run.font->missingGlyph || !glyph) {
        LogMessage("missing glyph: %d, printing image\n", code);
        const GLYPHBITS* pgb = glyphBitsOf(run.pfo, gp.hg);
        if (run.colour != INK_COLOR && pgb)
            renderGlyphBits(run.pso, run.page, gp.ptl.x, gp.ptl.y, pgb);
        return;
    }
    if (run.colour == INK_COLOR)
        return;
    INT y = run.pstro->rclBkGround.top;
    if (run.config->Interpoint)
        y = interpointRow(y, getResolutionFactor(run.pso), brailleMagnification(run.config));
    renderDPGlyph(run.pso, run.page, gp.ptl.x, y, glyph, run.simItalic, code,
                  (run.pstro->flAccel & SO_HORIZONTAL) == 0);
}

// The page buffer a run may write into: the device's, only while a document
// holds its configuration.
TextPage* pageOf(XPDV* pdv) { return pdv && pdv->pConfig ? pdv->pTextPage : nullptr; }

// Logs what the decision looks at: colours, font and run.
void logRun(STROBJ* pstro, FONTOBJ* pfo, BRUSHOBJ* pboFore, ULONG colour)
{
    LogDetail("OEMTextOut()\n");
    LogDetail("!Text Color = %d\n", colour);
    LogDetail("!!originalRGBColor = %d, emb RGB(6,7,8) = %d, ink RGB(5,6,7) = %d\n",
              pboFore ? BRUSHOBJ_ulGetBrushColor(pboFore) : 0xFFFFFFFFu, EMBOSS_COLOR, INK_COLOR);
    logFont(pfo);
    debugSTROBJ(pstro);
    LogDetail("cGlyphs = %u\n", pstro->cGlyphs);
    if (pstro->pwszOrg)
        LogDetail("Text: %.*ls\n", (int)pstro->cGlyphs, pstro->pwszOrg);
}

}  // namespace

void debugSTROBJ(const STROBJ* pstro)
{
    if (!pstro)
        return;
    FLONG fl = pstro->flAccel;
    LogDetail("debugSTROBJ(): pstro->flAccel & SO_FLAG_DEFAULT_PLACEMENT = %d\n", fl & SO_FLAG_DEFAULT_PLACEMENT);
    LogDetail("debugSTROBJ(): pstro->flAccel & SO_HORIZONTAL = %d, pstro->flAccel & SO_VERTICAL = %d\n",
              fl & SO_HORIZONTAL, fl & SO_VERTICAL);
    LogDetail("debugSTROBJ(): pstro->flAccel & SO_REVERSED = %d\n", fl & SO_REVERSED);
    LogDetail("debugSTROBJ(): pstro->flAccel & SO_GLYPHINDEX_TEXTOUT = %d\n", fl & SO_GLYPHINDEX_TEXTOUT);
}

void renderGlyphBits(SURFOBJ*, TextPage* page, INT x, INT y, const GLYPHBITS* pgb)
{
    INT cx = pgb->sizlBitmap.cx, cy = pgb->sizlBitmap.cy;
    INT stride = (cx + 7) / 8;
    INT left = x + pgb->ptlOrigin.x, top = y + pgb->ptlOrigin.y;
    for (INT r = 0; r < cy; ++r)
        for (INT c = 0; c < cx; ++c)
            if (pgb->aj[r * stride + c / 8] & (0x80 >> (c % 8)))
                TextPage_setPixel(page, (DWORD)(left + c), (DWORD)(top + r), TEXT_MARK_DOT);
}

void renderDPGlyph(SURFOBJ* pso, TextPage* page, INT x, INT y, const DPGlyph* glyph, BOOL simItalic, WCHAR code,
                   BOOL vertical)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!page || !pdv || !pdv->pConfig)
        return;
    INT rf = getResolutionFactor(pso);
    INT m = brailleMagnification(pdv->pConfig);
    INT step = rf / m;
    LogDetail("renderDPGlyph(): pTP=0x%p, (%u, %u)\n", page, page->width, page->height);
    // The first grid row at or below y, the last grid column at or left of x.
    INT y0 = floorDiv(m * y + rf - 1, rf) * rf / m;
    INT x0 = floorDiv(m * x, rf) * rf / m;
    BOOL background = simItalic && code > 32;
    for (INT r = 0; r < glyph->height; ++r) {
        for (INT c = 0; c < glyph->width; ++c) {
            INT px = vertical ? x0 - (glyph->height - 3) * step + r * step : x0 + c * step;
            INT py = vertical ? y0 + (glyph->width - c) * step : y0 + r * step;
            if (background)
                TextPage_setPixel(page, (DWORD)px, (DWORD)py, TEXT_MARK_BACKGROUND);
            if (DPGlyph_hasDot(glyph, r, c)) {
                TextPage_setPixel(page, (DWORD)px, (DWORD)py, TEXT_MARK_DOT);
                LogDetail("renderDPGlyph(): TextPage_setPixel()=(%u, %u)\n", px, py);
            }
        }
    }
}

void embossTexts(STROBJ* pstro, DPFont* dpFont, FONTOBJ* pfo, SURFOBJ* pso, BOOL simItalic, XPDV* pdv,
                 ULONG colour, Config* config)
{
    BrailleRun run = {pstro, dpFont, pfo, pso, pageOf(pdv), simItalic, colour, config, {nullptr, 0}, 0};
    if (pstro->flAccel & SO_GLYPHINDEX_TEXTOUT) {
        LogMessage("embossTexts(): bHasGlyphIndex=TRUE\n");
        run.table = buildGlyphTable(pfo);
    }
    forEachGlyph(pstro, true, [&](ULONG n, const GLYPHPOS& gp) { embossGlyph(run, n, gp); });
    if (run.substituted == pstro->cGlyphs)
        LogDetail("embossTexts(): all %u glyph indices substituted\n", pstro->cGlyphs);
    else
        LogDetail("embossTexts(): not all %u glyph indices substituted %u\n", pstro->cGlyphs, run.substituted);
    myfree(run.table.pairs);
}

BOOL APIENTRY OEMTextOut(SURFOBJ* pso, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco, RECTL* prclExtra,
                         RECTL* prclOpaque, BRUSHOBJ* pboFore, BRUSHOBJ* pboOpaque, POINTL* pptlOrg, MIX mix)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    ULONG colour = pboFore ? pboFore->iSolidColor : 0xFFFFFFFFu;
    if (!pstro)
        return FALSE;
    logRun(pstro, pfo, pboFore, colour);
    // Outside a document there is no configuration to decide with and no
    // page to emboss on: the run is dropped.
    if (!pdv || !pdv->pConfig) {
        LogMessage("OEMTextOut(): no document, text dropped\n");
        return TRUE;
    }
    Config* config = pdv->pConfig;
    LPCWSTR face = faceOf(pfo);
    DPFont* dpFont = face ? Config_getDPFont(config, face) : nullptr;
    if (dpFont)
        LogDetail("font %ls was found\n", face);
    else
        LogDetail("font %ls was not found, use system\n", face);
    if (dpFont) {
        debugSTROBJ(pstro);
        BOOL simItalic = pfo && (pfo->flFontType & FO_SIM_ITALIC) != 0;
        embossTexts(pstro, dpFont, pfo, pso, simItalic, pdv, colour, config);
        return TRUE;
    }
    if (colour == INK_COLOR)
        return TRUE;
    if (colour == EMBOSS_COLOR) {
        stampShapes(pstro, pfo, pso, pageOf(pdv));
        return TRUE;
    }
    if (!config->EmbossStandardTexts)
        return TRUE;
    auto fn = XPDV_unidrv<PFN_DrvTextOut>(pdv, ROW_TextOut);
    return fn ? fn(pso, pstro, pfo, pco, prclExtra, prclOpaque, pboFore, pboOpaque, pptlOrg, mix) : FALSE;
}
