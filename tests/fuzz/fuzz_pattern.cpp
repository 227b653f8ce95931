// Fuzz target: a colour pattern file loaded as the plug-in loads it, then
// looked up for a few colours and cells.
#include "fuzz_root.h"
#include "image/pattern.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!fuzzroot::write("pattern.dat", data, size))
        return 0;
    std::string path = fuzzroot::root() + "/pattern.dat";
    std::u16string wide(path.begin(), path.end());
    ColorPatternSet* set = ColorPatternSet_load(reinterpret_cast<LPCWSTR>(wide.c_str()));
    if (!set)
        return 0;
    for (INT i = 0; i < set->count && i < 4; ++i) {
        const ColorPattern* p = set->patterns[i];
        ColorPatternSet_getColorDotHeight(set, p->red, p->green, p->blue, 7, 9);
    }
    ColorPatternSet_getColorDotHeight(set, 255, 0, 0, 0, 0);
    ColorPatternSet_delete(set);
    return 0;
}
