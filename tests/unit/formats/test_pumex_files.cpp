// The files pumex reads and writes, met with what people actually hand it:
// folders, devices, the input named again as the output, empty and endless
// inputs. Nothing a user has is destroyed, and the status says whose fault
// it is (1: the input, 2: the command line or the environment). And a
// picture printed end to end.
#include "png_image.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

using testkit::Ran;

Ran pumex(const testkit::TempRoot& root, const std::string& args)
{
    return testkit::runCommand("'" PUMEX_TEST_PUMEX "' " + args, root.path());
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

// A refusal: the status, and one line on stderr that says why.
void expectRefusal(const Ran& r, int status, const std::string& says)
{
    EXPECT_EQ(r.status, status) << r.err;
    EXPECT_NE(r.err.find(says), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

class PumexFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        testkit::writeFile(table, "A 1\n");
        ASSERT_EQ(pumex(root, "mkfont " + quoted(table) + " -o " + quoted(font)).status, 0);
        testkit::writeFile(stream, std::string("\x1B\x84\x02\x10\x00\x02\x00\x00\x00\x00\x00\x00\x00\x00\xB6\x00", 16));
        fs::create_directory(folder);
    }
    // Every file of the root's top folder, so a leftover temporary file shows.
    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const fs::directory_entry& e : fs::directory_iterator(root.path()))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    testkit::TempRoot root;
    const std::string table = root.path() + "/t.txt", font = root.path() + "/t.dp", stream = root.path() + "/s.prn";
    const std::string folder = root.path() + "/folder";
};

// An output that is a folder, a device or the input itself is refused, by
// every verb, before anything is read or written; what was there stays.
TEST_F(PumexFiles, OutputsThatWouldDestroySomethingAreRefused)
{
    const std::string job = root.path() + "/job.json", jobBytes = "{\"pages\": [{\"ops\": []}]}";
    testkit::writeFile(job, jobBytes);
    fs::create_directory(root.path() + "/out-front.prn");
    const std::string fontBytes = testkit::readFile(font), tableBytes = testkit::readFile(table);
    const std::vector<std::string> before = files();
    const struct {
        std::string args, says;
    } cases[] = {
        {"mkfont " + quoted(table) + " -o " + quoted(folder), folder + ": is a directory"},
        {"mkfont " + quoted(table) + " -o " + quoted(table), table + ": is the input file"},
        {"mkfont " + quoted(table) + " -o " + quoted(root.path() + "/./t.txt"), "is the input file"},
        {"mkfont --dump " + quoted(font) + " -o " + quoted(font), font + ": is the input file"},
        {"mkfont " + quoted(table) + " -o /dev/null", "/dev/null: is not a regular file"},
        {"inspect " + quoted(stream) + " --png " + quoted(stream), stream + ": is the input file"},
        {"print " + quoted(job) + " -o " + quoted(job), job + ": is the input file"},
        // The page files of a double-sided job are named after OUT.
        {"print " + quoted(job) + " -o " + quoted(root.path() + "/out.prn"), "out-front.prn: is a directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        expectRefusal(pumex(root, c.args), 2, c.says);
    }
    EXPECT_TRUE(fs::is_directory(folder) && fs::is_empty(folder));
    EXPECT_EQ(testkit::readFile(font), fontBytes);
    EXPECT_EQ(testkit::readFile(table), tableBytes);
    EXPECT_EQ(testkit::readFile(job), jobBytes);
    EXPECT_EQ(files(), before) << "no temporary file is left behind";
}

// Inputs that are no file of their kind: one line naming the file, status 1.
TEST_F(PumexFiles, InputsThatAreNoFileOfTheirKindAreToldByName)
{
    testkit::writeFile(root.path() + "/empty.prn", "");
    testkit::writeFile(root.path() + "/huge.json", "{\"pages\": [1e999]}");
    const struct {
        std::string args, says;
    } cases[] = {
        {"inspect " + quoted(folder), folder + ": is a directory"},
        {"inspect " + quoted(root.path() + "/empty.prn"), "empty.prn: the stream is empty"},
        {"inspect /dev/zero", "/dev/zero: larger than 256 MiB"},
        {"print " + quoted(root.path() + "/huge.json"), "huge.json: a number in the job file is too large to read"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        expectRefusal(pumex(root, c.args), 1, c.says);
    }
}

// The environment is wrong, not an input: status 2 and one line. A printer
// without a braille font has nothing to print text with; the probe of a
// missing printer ends without using the released plug-in (sanitizers).
TEST_F(PumexFiles, APrinterMissingOrWithoutABrailleFontIsTheEnvironmentsFault)
{
    const std::string text = root.path() + "/fine.txt", out = root.path() + "/out.prn";
    testkit::writeFile(text, "caf\xC3\xA9\n");
    root.writePrinter("Pumex Embosser", testkit::printerJson("Pumex Embosser"));
    expectRefusal(pumex(root, "print --root " + quoted(root.path()) + " --printer 'Pumex Embosser' " + quoted(text) +
                                  " -o " + quoted(out)),
                  2, "printer \"Pumex Embosser\": no braille font in its font list");
    EXPECT_FALSE(testkit::fileExists(out));
    expectRefusal(pumex(root, "--root " + quoted(root.path()) + " probe --printer Nobody"), 2,
                  "printer \"Nobody\": not found");
}

// A command line that cannot be carried out is status 2, like the
// environment's faults, whether the option parser or pumex itself finds it.
TEST_F(PumexFiles, BadCommandLinesAreStatusTwo)
{
    const std::string job = root.path() + "/job.json";
    testkit::writeFile(job, R"({"pages": [{"ops": []}]})");
    expectRefusal(pumex(root, "print " + quoted(job) + " --copies 2"), 2, "apply to pictures");
    EXPECT_EQ(pumex(root, "print " + quoted(job) + " --quality 0").status, 2);
    EXPECT_EQ(pumex(root, "").status, 2);
}

// Printing a picture, what most users do first, on the build's system root:
// one embossed page in OUT, and nothing on stderr when the output is piped.
TEST_F(PumexFiles, APictureBecomesOneEmbossedPageQuietlyWhenPiped)
{
    host::Picture picture;
    picture.width = 40, picture.height = 30;
    picture.rgb.assign(40 * 30 * 3, 90);
    const std::string png = root.path() + "/pic.png", out = root.path() + "/out.prn";
    std::string error;
    ASSERT_TRUE(host::writePng(png, picture, error)) << error;
    Ran got = pumex(root, "print " + quoted(png) + " -o " + quoted(out) + " --quality 100 --copies 2");
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(got.err, "");
    EXPECT_NE(got.out.find("pages:    1\n"), std::string::npos) << got.out;
    EXPECT_GT(fs::file_size(out), 16u);
}

}  // namespace
