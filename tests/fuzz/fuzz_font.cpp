// Fuzz target: a braille font file read and dumped as a table. Whatever the
// reader accepts dumps faithfully: the table parses back, and the font built
// from it dumps to the same table.
#include "braille_table.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    braille::Table table;
    std::string problem;
    if (!braille::readFont(std::string((const char*)data, size), table, problem))
        return 0;
    const std::string text = braille::formatTable(table);
    braille::Table back, again;
    std::vector<braille::Problem> problems;
    if (!braille::parseTable(text, back, problems) || !braille::readFont(braille::writeFont(back), again, problem) ||
        braille::formatTable(again) != text)
        std::abort();
    return 0;
}
