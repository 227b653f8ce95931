// The private device-mode block: size, defaults, conversion, merging.
#include "diag/diag.h"
#include "frame/devmode.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

OEMDEV block(DWORD size, DWORD signature, BYTE fill)
{
    OEMDEV b;
    std::memset(&b, fill, sizeof b);
    b.dmOEMExtra = {size, signature, 7};
    b.dwPrivate = 0x01010101u * fill;
    return b;
}

bool isValidHeader(const OEMDEV& b)
{
    return b.dmOEMExtra.dwSize == 208 && b.dmOEMExtra.dwSignature == 0x51504D53 && b.dmOEMExtra.dwVersion == 1;
}

TEST(DevMode, TheBlockIsStoredAs208BytesWithItsSignatureBytes)
{
    OEMDEV b{};
    MakeOEMDevmodeValid(&b);
    const BYTE* bytes = reinterpret_cast<const BYTE*>(&b);
    const BYTE expected[12] = {208, 0, 0, 0, 0x53, 0x4D, 0x50, 0x51, 1, 0, 0, 0};
    EXPECT_EQ(std::memcmp(bytes, expected, 12), 0);
}

TEST(DevMode, SizeAndDefaults)
{
    OEMDMPARAM param{};
    OEMDEV out{};
    param.pOEMDMOut = &out;
    EXPECT_EQ(hrOEMDevMode(OEMDM_SIZE, &param), S_OK);
    EXPECT_EQ(param.cbBufSize, 208u);
    OEMDEV zero{};
    EXPECT_EQ(std::memcmp(&out, &zero, sizeof out), 0);  // size touches no block

    param.cbBufSize = 0;
    EXPECT_EQ(hrOEMDevMode(OEMDM_DEFAULT, &param), S_OK);
    EXPECT_EQ(param.cbBufSize, 208u);
    EXPECT_TRUE(isValidHeader(out));
    EXPECT_EQ(out.dwPrivate, 0u);
    for (BYTE v : out.body)
        ASSERT_EQ(v, 0);
}

TEST(DevMode, ConvertReplacesAForeignBlockAndCopiesOurs)
{
    OEMDMPARAM param{};
    OEMDEV in = block(208, 0x12345678, 0xAA);
    OEMDEV out = block(208, 0x51504D53, 0x55);
    param.pOEMDMIn = &in;
    param.pOEMDMOut = &out;
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
    EXPECT_EQ(param.cbBufSize, 208u);
    EXPECT_TRUE(isValidHeader(out));
    EXPECT_EQ(out.dwPrivate, 0u);
    EXPECT_EQ(out.body[0], 0x55);  // the output's old body stays
    EXPECT_EQ(out.body[191], 0x55);

    in = block(208, 0x51504D53, 0xAA);
    out = block(208, 0x51504D53, 0x55);
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
    EXPECT_TRUE(isValidHeader(out));
    EXPECT_EQ(out.dwPrivate, 0xAAAAAAAAu);
    EXPECT_EQ(out.body[0], 0xAA);
    EXPECT_EQ(out.body[191], 0xAA);
}

TEST(DevMode, ConvertCopiesNoMoreThanTheSmallerBlockClaims)
{
    OEMDMPARAM param{};
    OEMDEV in = block(16, 0x51504D53, 0xAA);
    OEMDEV out = block(208, 0x51504D53, 0x55);
    param.pOEMDMIn = &in;
    param.pOEMDMOut = &out;
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
    EXPECT_TRUE(isValidHeader(out));
    EXPECT_EQ(out.dwPrivate, 0xAAAAAAAAu);  // bytes 12..15 copied
    EXPECT_EQ(out.body[0], 0x55);           // byte 16 on: untouched

    // A corrupt size on both sides never moves bytes beyond the block.
    struct Guarded {
        OEMDEV block;
        BYTE guard[64];
    } big{};
    std::memset(big.guard, 0xEE, sizeof big.guard);
    in = block(0xFFFFFFFF, 0x51504D53, 0xAA);
    big.block = block(0xFFFFFFFF, 0x51504D53, 0x55);
    param.pOEMDMOut = &big.block;
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
    EXPECT_EQ(big.guard[0], 0xEE);
}

TEST(DevMode, MergeValidatesTheOutputAndToleratesItsAbsence)
{
    OEMDMPARAM param{};
    OEMDEV in = block(208, 0x51504D53, 0xAA);
    OEMDEV out = block(208, 0x51504D53, 0x55);
    param.pOEMDMIn = &in;
    param.pOEMDMOut = &out;
    param.cbBufSize = 77;
    EXPECT_EQ(hrOEMDevMode(OEMDM_MERGE, &param), S_OK);
    EXPECT_EQ(param.cbBufSize, 77u);  // merge does not report a size
    EXPECT_TRUE(isValidHeader(out));
    EXPECT_EQ(out.body[5], 0xAA);

    param.pOEMDMOut = nullptr;
    EXPECT_EQ(hrOEMDevMode(OEMDM_MERGE, &param), S_OK);
    EXPECT_EQ(hrOEMDevMode(OEMDM_CONVERT, &param), S_OK);
}

TEST(DevMode, InvalidModesAndParametersFailWithLastError87)
{
    OEMDMPARAM param{};
    for (DWORD mode : {0u, 5u}) {
        SetLastError(0);
        EXPECT_EQ(hrOEMDevMode(mode, &param), E_FAIL);
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    }
    SetLastError(0);
    EXPECT_EQ(hrOEMDevMode(OEMDM_SIZE, nullptr), E_FAIL);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
}

TEST(DevMode, DumpTellsOurBlocksFromOthers)
{
    testkit::TempRoot root;
    gDebugLevel = 1;
    OEMDEV ours = block(208, 0x51504D53, 0);
    OEMDEV shortBlock = block(200, 0x51504D53, 0);
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
