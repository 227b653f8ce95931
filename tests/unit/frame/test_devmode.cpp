// The private device-mode block: size, defaults, conversion, merging.
#include "diag/diag.h"
#include "frame/devmode.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr DWORD kSignature = 0x51504D53;

OEMDEV block(DWORD size, DWORD signature, BYTE fill)
{
    OEMDEV b;
    std::memset(&b, fill, sizeof b);
    b.dmOEMExtra = {size, signature, 7};
    b.dwPrivate = 0x01010101u * fill;
    return b;
}

// The header as stored: size 208, the signature's bytes "SMPQ", version 1.
bool isValidHeader(const OEMDEV& b)
{
    const BYTE stored[12] = {208, 0, 0, 0, 0x53, 0x4D, 0x50, 0x51, 1, 0, 0, 0};
    return std::memcmp(&b, stored, sizeof stored) == 0;
}

// Our own input block is copied over the output, no more of it than the
// smaller block claims; a foreign one leaves the output its old body, and so
// do the defaults. The output's header always ends valid; merging reports no
// size. (The size query is checked by the module test.)
TEST(DevMode, DefaultsConvertAndMergeCopyOnlyOurBlock)
{
    struct Case {
        DWORD mode, inSize, inSignature, bufSize, privateValue;
        BYTE first, last;  // of the body
    } cases[] = {
        {OEMDM_CONVERT, 208, 0x12345678, 208, 0, 0x55, 0x55},
        {OEMDM_CONVERT, 208, kSignature, 208, 0xAAAAAAAA, 0xAA, 0xAA},
        {OEMDM_CONVERT, 16, kSignature, 208, 0xAAAAAAAA, 0x55, 0x55},  // bytes 12..15 copied
        {OEMDM_MERGE, 208, kSignature, 77, 0xAAAAAAAA, 0xAA, 0xAA},
        {OEMDM_DEFAULT, 208, kSignature, 208, 0x55555555, 0x55, 0x55},
    };
    for (const Case& c : cases) {
        OEMDEV in = block(c.inSize, c.inSignature, 0xAA), out = block(208, kSignature, 0x55);
        OEMDMPARAM param{};
        param.pOEMDMIn = &in;
        param.pOEMDMOut = &out;
        param.cbBufSize = 77;
        SCOPED_TRACE(testing::Message() << "mode " << c.mode << ", size " << c.inSize << ", " << c.inSignature);
        EXPECT_EQ(hrOEMDevMode(c.mode, &param), S_OK);
        EXPECT_EQ(param.cbBufSize, c.bufSize);
        EXPECT_TRUE(isValidHeader(out));
        EXPECT_EQ(out.dwPrivate, c.privateValue);
        EXPECT_TRUE(out.body[0] == c.first && out.body[191] == c.last);
    }
}

TEST(DevMode, CorruptSizesAndMissingBlocksAreSafe)
{
    struct Guarded {
        OEMDEV block;
        BYTE guard[64];
    } big{};
    std::memset(big.guard, 0xEE, sizeof big.guard);
    OEMDEV in = block(0xFFFFFFFF, kSignature, 0xAA);
    big.block = block(0xFFFFFFFF, kSignature, 0x55);
    OEMDMPARAM param{};
    param.pOEMDMIn = &in;
    param.pOEMDMOut = &big.block;
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
    EXPECT_EQ(big.guard[0], 0xEE) << "never a byte beyond the block";

    param.pOEMDMOut = nullptr;
    EXPECT_EQ(hrOEMDevMode(OEMDM_MERGE, &param), S_OK);
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
}

TEST(DevMode, DumpTellsOurBlocksFromOthers)
{
    testkit::TempRoot root;
    gDebugLevel = 1;
    OEMDEV ours = block(208, kSignature, 0), shortBlock = block(200, kSignature, 0);
    Dump(&ours);
    Dump(&shortBlock);
    gDebugLevel = 0;
    char expected[512];
    px_format(expected, sizeof expected,
              "UNI:Dump(0x%X)\t dmOEMExtra.dwSize = 208  dwSignature = 0x51504D53  dwVersion   = 0x7 \n"
              "UNI:Dump(0x%X)  -> unknown private OEM DEVMODE.\n",
              px_low32(&ours), px_low32(&shortBlock));
    EXPECT_EQ(root.log(), expected);
}

}  // namespace
