// Fuzz target: braille table text read, written back and read again; a valid
// table must make a font that reads back into the same table.
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
    if (!braille::readFont(braille::writeFont(table), back, problem) ||
        braille::formatTable(back) != braille::formatTable(table))
        std::abort();
    return 0;
}
