// pumex print end to end, on the build's system root: a bad job or picture
// exits 1 with one line naming the file and the key and leaves no OUT (nor a
// half-written file beside it); a good one leaves OUT, or OUT-front and
// OUT-back for a double-sided job, and is quiet on stderr when piped.
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

// The folder's files other than the ones the test made itself.
std::vector<std::string> leftovers(const Folder& dir, std::vector<std::string> known)
{
    known.insert(known.end(), {"stdout.txt", "stderr.txt"});
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path("")))
        if (std::find(known.begin(), known.end(), entry.path().filename().string()) == known.end())
            left.push_back(entry.path().filename().string());
    return left;
}

TEST(PrintVerb, BadInputExitsOneWithOneLineAndLeavesNoOutput)
{
    Folder dir;
    dir.write("not.png", "not a picture");
    struct Case {
        std::string json;  // empty: print not.png itself
        std::string message;
        int status;
    } cases[] = {
        {R"({"pages": [{"ops": [{"image": "missing.png", "x": 0, "y": 0}]}]})",
         "job.json: pages[0].ops[0].image: " + dir.path("missing.png") + ": No such file or directory", 1},
        {R"({"printer": "Nobody", "pages": [{"ops": []}]})", "printer \"Nobody\": not found in", 2},
        {"", "not.png: not a readable PNG picture", 1},
    };
    for (const Case& c : cases) {
        std::string input = c.json.empty() ? dir.path("not.png") : dir.write("job.json", c.json);
        testkit::Ran got = pumex(dir, "'" + input + "' -o '" + dir.path("out.prn") + "'");
        EXPECT_EQ(got.status, c.status) << c.json;
        std::string prefix = "pumex print: " + (c.message[0] == 'p' ? c.message : dir.path(c.message));
        EXPECT_EQ(got.err.rfind(prefix, 0), 0u) << got.err;
        EXPECT_EQ(std::count(got.err.begin(), got.err.end(), '\n'), 1) << got.err;
        EXPECT_EQ(leftovers(dir, {"not.png", "job.json"}), std::vector<std::string>{}) << c.json;
    }
}

TEST(PrintVerb, BadCommandLinesExitTwo)
{
    Folder dir;
    std::string job = dir.write("job.json", R"({"pages": [{"ops": []}]})");
    for (const std::string& args : {"'" + job + "' --copies 2", "'" + job + "' --quality 0", std::string("")})
        EXPECT_EQ(pumex(dir, args).status, 2) << args;
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
    EXPECT_EQ(leftovers(dir, {"pic.png", "out.prn"}), std::vector<std::string>{});
}

TEST(PrintVerb, ADoubleSidedJobLeavesFrontsAndBacksBesideOut)
{
    Folder dir;
    std::string job = dir.write("job.json", R"({"controlFlags": "INTERPOINT=1", "surface": {"banding": false},
        "pages": [{"ops": [{"rect": [0, 0, 400, 400]}]}, {"ops": []}, {"ops": [{"rect": [9, 9, 99, 99]}]}]})");
    testkit::Ran got = pumex(dir, "'" + job + "' -o '" + dir.path("doc.prn") + "'");
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(leftovers(dir, {"job.json", "doc-front.prn", "doc-back.prn"}), std::vector<std::string>{});
    EXPECT_GT(std::filesystem::file_size(dir.path("doc-front.prn")), 16u);
    EXPECT_GT(std::filesystem::file_size(dir.path("doc-back.prn")), 16u);
    // The dialog's instructions name the files where they now are.
    EXPECT_NE(got.out.find(dir.path("doc-front.prn")), std::string::npos) << got.out;
    EXPECT_NE(got.out.find("--error\" \"33\""), std::string::npos) << got.out;
}

}  // namespace
