#include "fake_unidrv.h"

#include <type_traits>

namespace fake {

Calls& calls()
{
    static Calls c;
    return c;
}

namespace {

// One driver function of the signature Fn: records its row and answers the
// chosen value.
template <int Row, typename Fn>
struct Function;

template <int Row, typename R, typename First, typename... Rest>
struct Function<Row, R (*)(First, Rest...)> {
    static R call(First, Rest...)
    {
        calls().rows.push_back(Row);
        if constexpr (std::is_pointer_v<R>)
            return reinterpret_cast<R>((ULONG_PTR)calls().ulongResult);
        else if constexpr (std::is_same_v<R, BOOL>)
            return calls().boolResult;
        else
            return (R)calls().ulongResult;
    }
    static PFN pfn() { return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(&call)); }
};

#define FAKE(name) {INDEX_Drv##name, Function<ROW_##name, PFN_Drv##name>::pfn()}

}  // namespace

std::vector<DRVFN> functionList(ULONG omitIndex)
{
    std::vector<DRVFN> list = {
        FAKE(RealizeBrush),      FAKE(DitherColor),  FAKE(CopyBits),       FAKE(BitBlt),
        FAKE(StretchBlt),        FAKE(StretchBltROP), FAKE(PlgBlt),        FAKE(TransparentBlt),
        FAKE(AlphaBlend),        FAKE(GradientFill), FAKE(TextOut),        FAKE(StrokePath),
        FAKE(FillPath),          FAKE(StrokeAndFillPath), FAKE(Paint),     FAKE(LineTo),
        FAKE(StartPage),         FAKE(SendPage),     FAKE(Escape),         FAKE(StartDoc),
        FAKE(EndDoc),            FAKE(NextBand),     FAKE(StartBanding),   FAKE(QueryFont),
        FAKE(QueryFontTree),     FAKE(QueryFontData), FAKE(QueryAdvanceWidths), FAKE(FontManagement),
        FAKE(GetGlyphMode),
    };
    std::vector<DRVFN> kept;
    for (const DRVFN& f : list)
        if (f.iFunc != omitIndex)
            kept.push_back(f);
    return kept;
}

}  // namespace fake
