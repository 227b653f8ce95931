// pumex print end to end, on the build's system root: a picture becomes an
// embossed page in OUT, quietly when piped.
#include "host_fixture.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using hosttest::Folder;

testkit::Ran pumex(const Folder& dir, const std::string& args)
{
    return testkit::runCommand(std::string(PUMEX_TEST_PUMEX) + " print " + args, dir.path(""));
}

TEST(PrintVerb, APictureBecomesOneEmbossedPageQuietlyWhenPiped)
{
    Folder dir;
    std::string picture = dir.writePicture("pic.png", 40, 30);
    testkit::Ran got = pumex(dir, "'" + picture + "' -o '" + dir.path("out.prn") + "' --quality 100 --copies 2");
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(got.err, "");
    EXPECT_NE(got.out.find("pages:    1\n"), std::string::npos) << got.out;
    EXPECT_GT(std::filesystem::file_size(dir.path("out.prn")), 16u);
}

}  // namespace
