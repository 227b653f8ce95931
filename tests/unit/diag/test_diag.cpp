// The diagnostic log's bytes and the tracked allocator's totals.
#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Diag : public ::testing::Test {
protected:
    void TearDown() override { gDebugLevel = 0; }
    testkit::TempRoot root;
};

// Level 1 writes messages, level 2 details as well, appended in call order;
// any other level writes nothing and makes no folder.
TEST_F(Diag, LevelsDecideWhatIsAppended)
{
    for (DWORD level : {0u, 3u, 0xFFFFFFFFu}) {
        gDebugLevel = level;
        LogMessage("message %d\n", 1);
        LogDetail("detail %d\n", 2);
    }
    EXPECT_FALSE(testkit::fileExists(root.path() + "/drive_c/ProgramData/Quorvane"));

    gDebugLevel = 1;
    LogMessage("OEMStartPage(%X).\n", 0x1234u);
    LogDetail("hidden\n");
    SetLastError(122);
    LogMessage("IOemUni::CommandCallback(%X) ", 7u);
    EXPECT_EQ(GetLastError(), 122u) << "the caller's last error is kept";
    LogMessage(" dwCallbackID = %d\n", 3);
    gDebugLevel = 2;
    LogDetail("d1\r\n");
    LogMessage("m2 %ws\n", WSTR("w"));
    EXPECT_EQ(root.log(), "OEMStartPage(1234).\nIOemUni::CommandCallback(7)  dwCallbackID = 3\nd1\r\nm2 w\n");
}

// Blocks are zero-filled; the running total, printed with each detail line,
// returns to its start, and a failed or empty request is logged and null.
// (That allocations log nothing at level 1 the typical job's log shows.)
TEST_F(Diag, AllocatorKeepsItsTotalAndLogsDetails)
{
    const DWORD start = gTotalBytesAlloc;
    auto* big = static_cast<char*>(mymalloc(4096));
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(std::string(big, 4096), std::string(4096, '\0'));
    myfree(big);
    gDebugLevel = 2;
    EXPECT_EQ(mymalloc(0), nullptr);
    myfree(nullptr);
    void* a = mymalloc(16);
    void* b = mymalloc(10);
    myfree(a);
    myfree(b);
    PxGetSyscalls()->calloc = [](size_t, size_t) -> void* { return nullptr; };
    EXPECT_EQ(mymalloc(64), nullptr);
    PxResetSyscalls();
    EXPECT_EQ(gTotalBytesAlloc, start);
    char expected[1024];
    px_format(expected, sizeof expected,
              "mymalloc(): oops, LPVOID=NULL\nmyfree(): oops, trying to free NULL\n"
              "mymalloc(): p=0x%p, size=16, total=%u\nmymalloc(): p=0x%p, size=10, total=%u\n"
              "myfree(): p=0x%p, total=%u\nmyfree(): p=0x%p, total=%u\n"
              "mymalloc(): oops, NULL=GlobalAlloc( 64 )\n",
              a, start + 16, b, start + 26, a, start + 10, b, start);
    EXPECT_EQ(root.log(), expected);
}

}  // namespace
