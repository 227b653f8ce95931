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

TEST_F(Diag, NothingIsWrittenOrCreatedAtLevelsOtherThanOneAndTwo)
{
    for (DWORD level : {0u, 3u, 0xFFFFFFFFu}) {
        gDebugLevel = level;
        LogMessage("message %d\n", 1);
        LogDetail("detail %d\n", 2);
    }
    EXPECT_FALSE(root.logExists());
    EXPECT_FALSE(testkit::fileExists(root.path() + "/drive_c/ProgramData/Quorvane"));
}

TEST_F(Diag, LevelOneWritesMessagesLevelTwoAlsoDetailsInCallOrder)
{
    gDebugLevel = 1;
    LogMessage("OEMStartPage(%X).\n", 0x1234u);
    LogDetail("hidden\n");
    LogMessage("IOemUni::CommandCallback(%X) ", 7u);
    LogMessage(" dwCallbackID = %d\n", 3);
    EXPECT_EQ(root.log(), "OEMStartPage(1234).\nIOemUni::CommandCallback(7)  dwCallbackID = 3\n");

    gDebugLevel = 2;
    LogDetail("d1\r\n");
    LogMessage("m2 %ws\n", WSTR("w"));
    EXPECT_EQ(root.log(), "OEMStartPage(1234).\nIOemUni::CommandCallback(7)  dwCallbackID = 3\nd1\r\nm2 w\n");
}

TEST_F(Diag, LongMessagesAreCutTo4095Bytes)
{
    gDebugLevel = 1;
    std::string big(5000, 'x');
    LogMessage("%s", big.c_str());
    LogMessage("|next");
    std::string log = root.log();
    ASSERT_EQ(log.size(), 4095u + 5u);
    EXPECT_EQ(log.substr(4090), "xxxxx|next");
}

TEST_F(Diag, MessagesAppendAndKeepTheCallersLastError)
{
    gDebugLevel = 1;
    LogMessage("one\n");
    SetLastError(122);
    LogMessage("two\n");
    EXPECT_EQ(GetLastError(), 122u);
    EXPECT_EQ(root.log(), "one\ntwo\n");
}

TEST_F(Diag, AMessageThatCollidesWithAnotherWriterIsDropped)
{
    gDebugLevel = 1;
    LogMessage("first\n");
    HANDLE other = CreateFileA("C:\\ProgramData\\Quorvane\\PumexPro.log", GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                               OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    LogMessage("lost\n");
    CloseHandle(other);
    LogMessage("third\n");
    EXPECT_EQ(root.log(), "first\nthird\n");
}

TEST_F(Diag, AFolderThatCannotBeMadeDropsTheMessage)
{
    gDebugLevel = 1;
    PxGetSyscalls()->mkdir = [](const char*, mode_t) -> int {
        errno = EACCES;
        return -1;
    };
    LogMessage("nowhere\n");
    PxResetSyscalls();
    EXPECT_FALSE(root.logExists());
    EXPECT_FALSE(testkit::fileExists(root.path() + "/drive_c/ProgramData/Quorvane"));
}

TEST_F(Diag, AllocationTotalsReturnToTheirStart)
{
    DWORD start = gTotalBytesAlloc;
    void* a = mymalloc(10);
    void* b = mymalloc(4096);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(gTotalBytesAlloc, start + 4106u);
    for (int i = 0; i < 4096; ++i)
        ASSERT_EQ(static_cast<BYTE*>(b)[i], 0) << i;
    myfree(b);
    myfree(a);
    EXPECT_EQ(gTotalBytesAlloc, start);
    EXPECT_FALSE(root.logExists());  // level 0: allocation costs no log
}

TEST_F(Diag, AllocatorLogsAtDetailLevel)
{
    gDebugLevel = 2;
    DWORD start = gTotalBytesAlloc;
    EXPECT_EQ(mymalloc(0), nullptr);
    myfree(nullptr);
    void* p = mymalloc(16);
    myfree(p);
    char expected[512];
    px_format(expected, sizeof expected,
              "mymalloc(): oops, LPVOID=NULL\nmyfree(): oops, trying to free NULL\n"
              "mymalloc(): p=0x%p, size=16, total=%u\nmyfree(): p=0x%p, total=%u\n",
              p, start + 16, p, start);
    EXPECT_EQ(root.log(), expected);
}

TEST_F(Diag, FailedAllocationIsLoggedAndNull)
{
    gDebugLevel = 2;
    DWORD start = gTotalBytesAlloc;
    PxGetSyscalls()->calloc = [](size_t, size_t) -> void* { return nullptr; };
    EXPECT_EQ(mymalloc(64), nullptr);
    PxResetSyscalls();
    EXPECT_EQ(gTotalBytesAlloc, start);
    EXPECT_EQ(root.log(), "mymalloc(): oops, NULL=GlobalAlloc( 64 )\n");
}

TEST_F(Diag, StringDuplicates)
{
    DWORD start = gTotalBytesAlloc;
    EXPECT_EQ(mystrdup(WSTR("")), nullptr);
    EXPECT_EQ(mystrdup(nullptr), nullptr);
    EXPECT_EQ(gTotalBytesAlloc, start);
    WCHAR* copy = mystrdup(WSTR("abc"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(gTotalBytesAlloc, start + 8u);
    EXPECT_EQ(px_wcscmp(copy, WSTR("abc")), 0);
    myfree(copy);
    EXPECT_EQ(gTotalBytesAlloc, start);
}

}  // namespace
