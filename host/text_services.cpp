// The host's text services: what GDI's font engine does for text output,
// done with fontconfig and FreeType.
#include "text_services.h"

#include "cairo_render.h"
#include "px/posix.h"
#include "pxtext.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <tuple>

namespace host {

// One face at one size, with the IFIMETRICS GDI would report for it and the
// bitmaps of the glyphs asked for so far.
class HostFont {
public:
    HostFont(FT_Face face, int pixelSize, bool italic);
    ~HostFont() { FT_Done_Face(face_); }
    HostFont(const HostFont&) = delete;
    HostFont& operator=(const HostFont&) = delete;

    IFIMETRICS* ifi() { return reinterpret_cast<IFIMETRICS*>(ifi_.data()); }
    FT_Face face() const { return face_; }
    int ascender() const { return (int)((face_->size->metrics.ascender + 63) >> 6); }
    int advance(HGLYPH glyph);
    GLYPHDATA* glyph(HGLYPH glyph);

private:
    struct Glyph {
        GLYPHDATA data{};
        std::vector<uint8_t> bits;  // GLYPHBITS header and rows
    };
    FT_Face face_;
    std::vector<uint8_t> ifi_;
    std::map<HGLYPH, std::unique_ptr<Glyph>> glyphs_;
};

namespace {

std::mutex gMutex;  // FreeType's library and the handle sets

FT_Library library()
{
    static FT_Library lib = [] {
        FT_Library l = nullptr;
        return FT_Init_FreeType(&l) == 0 ? l : nullptr;
    }();
    return lib;
}

// ---- IFIMETRICS ----

// The names GDI keeps behind the IFIMETRICS record, in its order.
std::vector<uint8_t> makeIfi(FT_Face face)
{
    std::string family = face->family_name ? face->family_name : "";
    std::string style = face->style_name ? face->style_name : "";
    const std::string names[4] = {family, style, family, family + " " + style};
    std::vector<std::u16string> wide;
    size_t bytes = sizeof(IFIMETRICS);
    for (const std::string& n : names) {
        std::u16string w(n.size() + 1, u'\0');
        w.resize(px_utf8_to_wide(reinterpret_cast<WCHAR*>(&w[0]), w.size(), n.c_str()));
        wide.push_back(w);
        bytes += (w.size() + 1) * sizeof(char16_t);
    }
    std::vector<uint8_t> block(bytes);
    auto* ifi = reinterpret_cast<IFIMETRICS*>(block.data());
    ifi->cjThis = (ULONG)bytes;
    PTRDIFF* offsets[4] = {&ifi->dpwszFamilyName, &ifi->dpwszStyleName, &ifi->dpwszFaceName,
                           &ifi->dpwszUniqueName};
    size_t at = sizeof(IFIMETRICS);
    for (size_t i = 0; i < 4; ++i) {
        *offsets[i] = (PTRDIFF)at;
        std::memcpy(block.data() + at, wide[i].c_str(), (wide[i].size() + 1) * sizeof(char16_t));
        at += (wide[i].size() + 1) * sizeof(char16_t);
    }
    ifi->usWinWeight = (face->style_flags & FT_STYLE_FLAG_BOLD) ? 700 : 400;
    ifi->fwdUnitsPerEm = (FWORD)face->units_per_EM;
    ifi->fwdWinAscender = (FWORD)face->ascender;
    ifi->fwdWinDescender = (FWORD)-face->descender;
    ifi->wcFirstChar = 0x20;
    ifi->wcLastChar = 0xFFFF;
    ifi->wcDefaultChar = 0x20;
    ifi->wcBreakChar = 0x20;
    return block;
}

// The file and face index fontconfig matches for a name, as GDI maps a face
// name it does not have to one it has. Empty when nothing matches.
std::pair<std::string, int> matchFace(const std::string& name)
{
    // Fontconfig's configuration and caches live until the process ends, and
    // are handed back then, so leak checkers see only what we keep.
    static bool initialised = FcInit() && std::atexit(FcFini) == 0;
    (void)initialised;
    std::pair<std::string, int> found{"", 0};
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(name.c_str()));
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* match = FcFontMatch(nullptr, pattern, &result);
    FcChar8* file = nullptr;
    int index = 0;
    if (match && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
        FcPatternGetInteger(match, FC_INDEX, 0, &index);
        found = {reinterpret_cast<const char*>(file), index};
    }
    if (match)
        FcPatternDestroy(match);
    FcPatternDestroy(pattern);
    return found;
}

// ---- device contexts and fonts of the GDI calls ----

struct GdiFont {
    std::shared_ptr<HostFont> font;
};
struct GdiDC {
    GdiFont* selected = nullptr;
};
std::set<void*> gLive;  // every handle handed out and not deleted

template <typename T>
T* live(void* handle)
{
    return handle && gLive.count(handle) ? static_cast<T*>(handle) : nullptr;
}

// Size of CreateFontW's fonts: GDI's default height when none is asked for;
// only indices and ranges are read from them.
constexpr int kDefaultPixelSize = 16;

std::string narrow(LPCWSTR text)
{
    if (!text)
        return "";
    char buffer[256];
    px_wide_to_utf8(buffer, sizeof buffer, text);
    return buffer;
}

// Runs a service body: no exception leaves it; a failure answers `failed`
// with ERROR_NOT_ENOUGH_MEMORY (allocation) or ERROR_INVALID_DATA (a font).
template <typename R, typename Fn>
R guarded(R failed, Fn body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    } catch (...) {
        SetLastError(ERROR_INVALID_DATA);
    }
    return failed;
}

HDC createDC(LPCWSTR, LPCWSTR, LPCWSTR, const DEVMODEW*)
{
    return guarded<HDC>(nullptr, [] {
        auto* dc = new GdiDC;
        std::lock_guard<std::mutex> lock(gMutex);
        gLive.insert(dc);
        return reinterpret_cast<HDC>(dc);
    });
}

HFONT createFont(int cHeight, int, int, int, int, DWORD bItalic, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD, DWORD,
                 LPCWSTR face)
{
    return guarded<HFONT>(nullptr, [&] {
        int size = cHeight == 0 ? kDefaultPixelSize : (cHeight < 0 ? -cHeight : cHeight);
        auto* font = new GdiFont{openFont(narrow(face), size, bItalic != 0)};
        std::lock_guard<std::mutex> lock(gMutex);
        gLive.insert(font);
        return reinterpret_cast<HFONT>(font);
    });
}

HGDIOBJ selectObject(HDC hdc, HGDIOBJ object)
{
    std::lock_guard<std::mutex> lock(gMutex);
    GdiDC* dc = live<GdiDC>(hdc);
    if (!dc || (object && !live<GdiFont>(object))) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    GdiFont* previous = dc->selected;
    dc->selected = static_cast<GdiFont*>(object);
    return previous;
}

HostFont* selectedFont(HDC hdc)
{
    std::lock_guard<std::mutex> lock(gMutex);
    GdiDC* dc = live<GdiDC>(hdc);
    if (!dc || !dc->selected) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return dc->selected->font.get();
}

// The face's characters below 0x10000 as runs of consecutive codes, each at
// most 0xFFFF long (the count is 16 bits).
std::vector<WCRANGE> unicodeRanges(FT_Face face)
{
    std::vector<WCRANGE> ranges;
    FT_UInt index = 0;
    for (FT_ULong c = FT_Get_First_Char(face, &index); index != 0 && c < 0x10000;
         c = FT_Get_Next_Char(face, c, &index)) {
        if (!ranges.empty() && ranges.back().wcLow + ranges.back().cGlyphs == c && ranges.back().cGlyphs < 0xFFFF)
            ++ranges.back().cGlyphs;
        else
            ranges.push_back({(WCHAR)c, 1});
    }
    return ranges;
}

DWORD getFontUnicodeRanges(HDC hdc, LPGLYPHSET set)
{
    HostFont* font = selectedFont(hdc);
    if (!font)
        return 0;
    return guarded<DWORD>(0, [&] {
        std::unique_lock<std::mutex> lock(gMutex);
        std::vector<WCRANGE> ranges = unicodeRanges(font->face());
        lock.unlock();
        size_t count = ranges.empty() ? 1 : ranges.size();
        DWORD size = (DWORD)(offsetof(GLYPHSET, ranges) + count * sizeof(WCRANGE));
        if (!set)
            return size;
        set->cbThis = size;
        set->flAccel = 0;
        set->cGlyphsSupported = 0;
        set->cRanges = (DWORD)ranges.size();
        for (size_t i = 0; i < ranges.size(); ++i) {
            set->ranges[i] = ranges[i];
            set->cGlyphsSupported += ranges[i].cGlyphs;
        }
        return size;
    });
}

// Characters the face lacks get glyph 0, its default glyph (no flags asked
// for marking them).
DWORD getGlyphIndices(HDC hdc, LPCWSTR text, int c, WORD* indices, DWORD)
{
    HostFont* font = selectedFont(hdc);
    if (!font || !text || !indices || c < 0) {
        SetLastError(font ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
        return GDI_ERROR;
    }
    std::lock_guard<std::mutex> lock(gMutex);
    for (int i = 0; i < c; ++i)
        indices[i] = (WORD)FT_Get_Char_Index(font->face(), text[i]);
    return (DWORD)c;
}

template <typename T>
BOOL deleteHandle(void* handle)
{
    std::lock_guard<std::mutex> lock(gMutex);
    T* object = live<T>(handle);
    if (!object) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    gLive.erase(handle);
    delete object;
    return TRUE;
}

BOOL deleteObject(HGDIOBJ object) { return deleteHandle<GdiFont>(object); }
BOOL deleteDC(HDC hdc) { return deleteHandle<GdiDC>(hdc); }

// ---- the engine objects of a run ----
// Only the host makes STROBJs and FONTOBJs in this process, so the objects the
// plug-in passes back are the host's own.

void strobjEnumStart(STROBJ* pstro)
{
    if (pstro)
        static_cast<HostTextRun*>(pstro)->next = 0;
}

BOOL strobjEnum(STROBJ* pstro, ULONG* pc, PGLYPHPOS* ppgpos)
{
    auto* run = static_cast<HostTextRun*>(pstro);
    if (!run || !pc || !ppgpos) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return (BOOL)DDI_ERROR;
    }
    size_t count = std::min<size_t>(kGlyphBatch, run->glyphs.size() - run->next);
    *pc = (ULONG)count;
    *ppgpos = count ? &run->glyphs[run->next] : nullptr;
    run->next += count;
    return run->next < run->glyphs.size();
}

HostFont* fontOf(FONTOBJ* pfo) { return pfo ? static_cast<HostFontObject*>(pfo)->font.get() : nullptr; }

PIFIMETRICS fontobjPifi(FONTOBJ* pfo)
{
    HostFont* font = fontOf(pfo);
    return font ? font->ifi() : nullptr;
}

ULONG fontobjGetGlyphs(FONTOBJ* pfo, ULONG mode, ULONG count, HGLYPH* glyphs, PVOID* out)
{
    HostFont* font = fontOf(pfo);
    if (!font || mode != FO_GLYPHBITS || count != 1 || !glyphs || !out) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return guarded<ULONG>(0, [&] {
        std::lock_guard<std::mutex> lock(gMutex);
        *out = font->glyph(glyphs[0]);
        return *out ? 1u : 0u;
    });
}

ULONG brushobjGetBrushColor(BRUSHOBJ* pbo) { return pbo ? pbo->iSolidColor : 0xFFFFFFFFu; }

const PxTextServices kServices = {
    strobjEnumStart,  strobjEnum, fontobjPifi,         fontobjGetGlyphs, brushobjGetBrushColor, createDC,
    createFont,       selectObject, getFontUnicodeRanges, getGlyphIndices,  deleteObject,          deleteDC,
};

}  // namespace

HostFont::HostFont(FT_Face face, int pixelSize, bool italic) : face_(face), ifi_(makeIfi(face))
{
    FT_Set_Pixel_Sizes(face_, 0, (FT_UInt)pixelSize);
    if (italic) {
        // Simulated italic, as GDI slants a face that has no italic of its own.
        FT_Matrix shear{0x10000, 0x5000, 0, 0x10000};
        FT_Set_Transform(face_, &shear, nullptr);
    }
}

int HostFont::advance(HGLYPH glyph)
{
    if (FT_Load_Glyph(face_, glyph, FT_LOAD_DEFAULT) != 0)
        return 0;
    return (int)((face_->glyph->advance.x + 32) >> 6);
}

// A 1-bpp bitmap, most significant bit first, rows of (cx + 7) / 8 bytes, its
// top-left relative to the glyph's origin on the baseline.
GLYPHDATA* HostFont::glyph(HGLYPH index)
{
    auto it = glyphs_.find(index);
    if (it != glyphs_.end())
        return &it->second->data;
    if (FT_Load_Glyph(face_, index, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO | FT_LOAD_MONOCHROME) != 0 ||
        face_->glyph->bitmap.pixel_mode != FT_PIXEL_MODE_MONO)
        return nullptr;
    const FT_Bitmap& bitmap = face_->glyph->bitmap;
    size_t stride = (bitmap.width + 7) / 8;
    auto g = std::make_unique<Glyph>();
    g->bits.assign(offsetof(GLYPHBITS, aj) + std::max<size_t>(stride * bitmap.rows, 4), 0);
    auto* bits = reinterpret_cast<GLYPHBITS*>(g->bits.data());
    bits->ptlOrigin = {face_->glyph->bitmap_left, -face_->glyph->bitmap_top};
    bits->sizlBitmap = {(LONG)bitmap.width, (LONG)bitmap.rows};
    for (unsigned r = 0; r < bitmap.rows; ++r)
        std::memcpy(bits->aj + r * stride, bitmap.buffer + (ptrdiff_t)r * bitmap.pitch, stride);
    g->data.gdf.pgb = bits;
    g->data.hg = index;
    g->data.rclInk = {bits->ptlOrigin.x, bits->ptlOrigin.y, bits->ptlOrigin.x + bits->sizlBitmap.cx,
                      bits->ptlOrigin.y + bits->sizlBitmap.cy};
    GLYPHDATA* data = &g->data;
    glyphs_[index] = std::move(g);
    return data;
}

void registerTextServices()
{
    static bool registered = (PxRegisterTextServices(&kServices), true);
    (void)registered;
}

std::shared_ptr<HostFont> openFont(const std::string& name, int pixelSize, bool italic)
{
    static std::map<std::tuple<std::string, int, bool>, std::shared_ptr<HostFont>> cache;
    std::lock_guard<std::mutex> lock(gMutex);
    auto key = std::make_tuple(name, pixelSize, italic);
    if (auto it = cache.find(key); it != cache.end())
        return it->second;
    auto [file, index] = matchFace(name);
    FT_Face face = nullptr;
    if (file.empty() || !library() || FT_New_Face(library(), file.c_str(), index, &face) != 0)
        throw JobError(name + ": no font file for this face (is fonts-dejavu-core installed?)");
    auto font = std::make_shared<HostFont>(face, pixelSize, italic);
    cache[key] = font;
    return font;
}

const GLYPHBITS* glyphBits(HostFont& font, HGLYPH glyph)
{
    std::lock_guard<std::mutex> lock(gMutex);
    GLYPHDATA* data = font.glyph(glyph);
    return data ? data->gdf.pgb : nullptr;
}

std::unique_ptr<HostTextRun> layoutText(const TextOp& op, POINTL origin)
{
    auto run = std::make_unique<HostTextRun>();
    run->fontObject.font = openFont(op.face, op.size, op.italic);
    run->fontObject.flFontType = FO_TYPE_TRUETYPE | (op.italic ? FO_SIM_ITALIC : 0);
    HostFont& font = *run->fontObject.font;
    std::u16string text(op.text.size() + 1, u'\0');
    text.resize(px_utf8_to_wide(reinterpret_cast<WCHAR*>(&text[0]), text.size(), op.text.c_str()));
    LONG x = op.x - origin.x, top = op.y - origin.y, baseline = top + font.ascender();
    LONG pen = 0;
    std::lock_guard<std::mutex> lock(gMutex);
    for (char16_t c : text) {
        HGLYPH g = FT_Get_Char_Index(font.face(), c);
        run->codes.push_back(op.glyphIndex ? (char16_t)g : c);
        POINTL at = op.vertical ? POINTL{x, baseline + pen} : POINTL{x + pen, baseline};
        run->glyphs.push_back({g, nullptr, at});
        pen += op.vertical ? op.size : font.advance(g);
    }
    run->cGlyphs = (ULONG)run->glyphs.size();
    run->flAccel = (op.vertical ? SO_VERTICAL : SO_HORIZONTAL) | (op.glyphIndex ? SO_GLYPHINDEX_TEXTOUT : 0);
    run->rclBkGround = op.vertical ? RECTL{x, top, x + op.size, top + pen} : RECTL{x, top, x + pen, top + op.size};
    run->pgp = nullptr;  // the driver enumerates
    run->pwszOrg = reinterpret_cast<LPWSTR>(&run->codes[0]);
    return run;
}

BOOL drawTextRun(SURFOBJ* so, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco, Rgb color)
{
    HostFont* font = fontOf(pfo);
    if (!so || !pstro || !font)
        return FALSE;
    RECTL clip = clipRect(so, pco);
    for (const GLYPHPOS& gp : static_cast<HostTextRun*>(pstro)->glyphs)
        if (const GLYPHBITS* bits = glyphBits(*font, gp.hg))
            drawGlyphBits(so, clip, gp.ptl, bits, color);
    return TRUE;
}

}  // namespace host
