// Fuzz target: a braille font file read and dumped as a table; a dump the
// reader accepts must parse back as a table.
#include "braille_table.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    braille::Table table;
    std::string problem;
    if (!braille::readFont(std::string((const char*)data, size), table, problem))
        return 0;
    braille::Table back;
    std::vector<braille::Problem> problems;
    braille::parseTable(braille::formatTable(table), back, problems);
    return 0;
}
