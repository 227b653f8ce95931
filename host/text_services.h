// The host's text: the GDI text services the platform's exported calls reach
// (faces found with fontconfig, glyph indices, character ranges, 1-bpp glyph
// bitmaps and IFIMETRICS from FreeType), the text runs GDI would hand the
// driver for a job's text operation, and the drawing of a run the plug-in
// passes on.
#pragma once

#include "job_file.h"
#include "win32.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

class HostFont;

// Registers the host's text services with the platform (once per process;
// later calls do nothing).
void registerTextServices();

// A face at one pixel size: the face a fontconfig match found for the name,
// opened with FreeType. Fonts are shared per (name, size, italic) for the
// life of the process. Throws JobError ("<name>: ...") when no font file can
// be opened.
std::shared_ptr<HostFont> openFont(const std::string& name, int pixelSize, bool italic);

// The font object of a run: GDI's FONTOBJ, the host's font behind it.
struct HostFontObject : FONTOBJ {
    std::shared_ptr<HostFont> font;
};

// A text run as GDI hands it to the driver. The codes are UTF-16 units or,
// for a glyph-index run, glyph indices; positions are glyph origins on the
// baseline. STROBJ_bEnum hands the glyphs out in batches.
struct HostTextRun : STROBJ {
    std::u16string codes;
    std::vector<GLYPHPOS> glyphs;
    size_t next = 0;  // the enumeration's position
    HostFontObject fontObject;
};

// Glyphs the enumeration hands out per call.
constexpr ULONG kGlyphBatch = 16;

// Lays out a text operation as GDI would: the top of the text at (x, y)
// (device pixels of the page, moved by -origin to the band), size the em
// height in pixels, glyphs side by side by their advances or, vertical,
// stacked downward one em apart.
std::unique_ptr<HostTextRun> layoutText(const TextOp& op, POINTL origin);

// Draws a run with its glyphs' bitmaps in the brush's colour, as GDI draws
// text on a printer surface. FALSE when the run or font is not the host's.
BOOL drawTextRun(SURFOBJ* so, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco, Rgb color);

// The 1-bpp bitmap of one glyph index of a font (null: none), for tests.
const GLYPHBITS* glyphBits(HostFont& font, HGLYPH glyph);

}  // namespace host
