// Fuzz target: braille table text read and made into a font; the font must
// read back into a table that makes the very same font. (The table's text may
// differ where the font cannot tell: a "# cell:" line over glyphs that all
// give their own size, or a sized glyph that is an ordinary cell.)
#include "braille_table.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    braille::Table table, back;
    std::vector<braille::Problem> problems;
    if (!braille::parseTable(std::string((const char*)data, size), table, problems))
        return 0;
    std::string problem;
    const std::string font = braille::writeFont(table);
    if (!braille::readFont(font, back, problem) || braille::writeFont(back) != font)
        std::abort();
    return 0;
}
