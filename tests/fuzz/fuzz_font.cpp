// Fuzz target: a braille font file, read by both readers of the format.
// - The tools' reader: whatever it accepts dumps faithfully, so the table
//   parses back, and the font built from it dumps to the same table.
// - The plug-in's reader: whatever it loads holds together (each bitmap as
//   large as its glyph's size says) and gives back all its memory.
#include "braille/dpfont.h"
#include "braille_table.h"
#include "diag/diag.h"
#include "fuzz_root.h"

#include <cstdlib>
#include <string>

namespace {

void readAsTheToolsDo(const uint8_t* data, size_t size)
{
    braille::Table table;
    std::string problem;
    if (!braille::readFont(std::string((const char*)data, size), table, problem))
        return;
    const std::string text = braille::formatTable(table);
    braille::Table back, again;
    std::vector<braille::Problem> problems;
    if (!braille::parseTable(text, back, problems) || !braille::readFont(braille::writeFont(back), again, problem) ||
        braille::formatTable(again) != text)
        std::abort();
}

void loadAsThePluginDoes(const uint8_t* data, size_t size)
{
    if (!fuzzroot::write("font.dp", data, size))
        return;
    const std::string path = fuzzroot::root() + "/font.dp";
    const std::u16string wide(path.begin(), path.end());
    const DWORD before = gTotalBytesAlloc;
    if (DPFont* font = DPFont_new(reinterpret_cast<LPCWSTR>(wide.c_str()))) {
        if (font->numGlyphs < 0 || font->name[DPFONT_NAME_CHARS] != 0)
            std::abort();
        for (INT k = 0; k < font->numGlyphs; ++k) {
            const DPGlyph* g = font->glyphs[k];
            if (!g || g->bytesPerRow != (g->width + 3) / 4 || (g->bits == nullptr) != (g->bytesPerRow * g->height == 0))
                std::abort();
            for (INT r = 0; r < g->height; ++r)  // every dot readable: the sanitizers see past the bitmap
                for (INT p = 0; p < g->width; ++p)
                    DPGlyph_hasDot(g, r, p);
        }
        DPFont_delete(font);
    }
    if (gTotalBytesAlloc != before)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    readAsTheToolsDo(data, size);
    loadAsThePluginDoes(data, size);
    return 0;
}
