// Forwarded drawing and font hooks: the driver's result unchanged, the page's
// graphics mark, and no call through a missing driver function.
#include "diag/diag.h"
#include "fake_unidrv.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

class Forwarding : public ::testing::Test {
protected:
    void SetUp() override
    {
        functions = fake::functionList();
        pdv.TextOnlyPage = 1;
        for (int row = 0; row < HOOK_COUNT; ++row)
            for (const DRVFN& f : functions)
                if (f.iFunc == gHookTable[row].iFunc)
                    pdv.pfnUnidrv[row] = f.pfn;
        devobj.pdevOEM = &pdv;
        surface.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
        surface.sizlBitmap = {640, 480};
        fake::calls() = fake::Calls();
    }
    void TearDown() override { gDebugLevel = 0; }

    DHPDEV device() { return reinterpret_cast<DHPDEV>(&devobj); }

    std::vector<DRVFN> functions;
    XPDV pdv{};
    DEVOBJ devobj{};
    SURFOBJ surface{};
};

// Calls a hook with the surface or device first and empty arguments after it.
template <typename R, typename First, typename... Rest>
ULONG_PTR callHook(R (*hook)(First, Rest...), SURFOBJ* surface, DHPDEV device)
{
    First first{};
    if constexpr (std::is_same_v<First, DHPDEV>)
        first = device;
    else if constexpr (std::is_same_v<First, SURFOBJ*>)
        first = surface;
    return (ULONG_PTR)hook(first, Rest{}...);
}

struct Hook {
    const char* name;
    int row;
    bool clearsTextOnly;
    ULONG_PTR (*call)(SURFOBJ*, DHPDEV);
};

#define HOOK(name, clears) {#name, ROW_##name, clears, [](SURFOBJ* s, DHPDEV d) { return callHook(OEM##name, s, d); }}

// Every hook that hands its call on unconditionally (text output decides per run).
const Hook kForwardingHooks[] = {
    HOOK(DitherColor, false),  HOOK(CopyBits, true),       HOOK(BitBlt, true),
    HOOK(StretchBlt, true),    HOOK(StretchBltROP, true),  HOOK(PlgBlt, true),
    HOOK(TransparentBlt, true), HOOK(AlphaBlend, true),    HOOK(GradientFill, true),
    HOOK(StrokePath, true),    HOOK(FillPath, true),       HOOK(StrokeAndFillPath, true),
    HOOK(Paint, true),         HOOK(LineTo, true),         HOOK(Escape, false),
    HOOK(QueryFont, false),    HOOK(QueryFontTree, false), HOOK(QueryFontData, false),
    HOOK(QueryAdvanceWidths, false), HOOK(FontManagement, false), HOOK(GetGlyphMode, false),
};

TEST_F(Forwarding, EveryHookReturnsTheDriversResultUnchanged)
{
    for (const Hook& hook : kForwardingHooks) {
        for (ULONG answer : {0u, 1u, 0x5A5Au}) {
            fake::calls() = fake::Calls();
            fake::calls().boolResult = (BOOL)answer;
            fake::calls().ulongResult = answer;
            pdv.TextOnlyPage = 1;
            ULONG_PTR result = hook.call(&surface, device());
            ASSERT_EQ(fake::calls().rows.size(), 1u) << hook.name;
            EXPECT_EQ(fake::calls().rows[0], hook.row) << hook.name;
            EXPECT_EQ(result, (ULONG_PTR)answer) << hook.name;
            EXPECT_EQ(pdv.TextOnlyPage, hook.clearsTextOnly ? 0 : 1) << hook.name;
        }
    }
}

TEST_F(Forwarding, RowsWithoutADriverFunctionAnswerWithoutForwarding)
{
    for (PFN& fn : pdv.pfnUnidrv)
        fn = nullptr;
    for (const Hook& hook : kForwardingHooks) {
        hook.call(&surface, device());
        EXPECT_TRUE(fake::calls().rows.empty()) << hook.name;
    }
    EXPECT_FALSE(OEMLineTo(&surface, nullptr, nullptr, 0, 0, 1, 1, nullptr, 0)) << "drawing calls fail";
}

// The hooks' own log lines: StrokePath and QueryFontTree at message level,
// BitBlt's dump at detail level only, checked by its lines for sizes, clip
// rectangle, source point and the driver's result (the others print alike).
TEST_F(Forwarding, HooksWriteTheirLogLinesAtTheirLevels)
{
    testkit::TempRoot root;
    SURFOBJ source{};
    source.sizlBitmap = {32, 16};
    CLIPOBJ clip{};
    clip.rclBounds = {1, 2, 3, 4};
    clip.iDComplexity = DC_RECT;
    POINTL from = {9, 10}, origin = {3, 4};
    ULONG_PTR id = 0x77;
    fake::calls().boolResult = FALSE;
    fake::calls().ulongResult = 0x1000;
    auto bitBlt = [&] {
        return OEMBitBlt(&surface, &source, nullptr, &clip, nullptr, nullptr, &from, nullptr, nullptr, nullptr, 0xCCAA);
    };
    gDebugLevel = 1;
    EXPECT_FALSE(bitBlt());
    EXPECT_EQ(root.log(), "") << "no dump at message level";
    OEMStrokePath(&surface, nullptr, nullptr, nullptr, nullptr, &origin, nullptr, 0);
    EXPECT_EQ(OEMQueryFontTree(device(), 0x20, 7, 2, &id), (PVOID)0x1000);
    EXPECT_EQ(root.log(),
              "OEMStokePath()\n"
              "   pco:     NULL \r\n"
              "   pptlBrushOrg:     [3, 4]:\r\n"
              "OEMQueryFontTree(): iFile=0x0000000000000020, iFace=7\n"
              "OEMQueryFontTree(): iMode=2\n"
              "OEMQueryFontTree(): pdft=0x0000000000001000, pid=0x0000000000000077\n");
    gDebugLevel = 2;
    EXPECT_FALSE(bitBlt());
    const std::string log = root.log();
    const char* lines[] = {"OEMBitBlt() entry.\r\n   rop4:  CCAA\r\n   psoTrg:  [640 X 480]\r\n",
                           "   psoSrc:  [32 X 16]\r\n", "   pco:     [1, 2, 3, 4]: RECT \r\n",
                           "   pptlSrc:  [9 X 10]\r\n", "\tresult of drvbitblt call is 0\n"};
    for (const char* line : lines)
        EXPECT_NE(log.find(line), std::string::npos) << line << "\n" << log;
}

}  // namespace
