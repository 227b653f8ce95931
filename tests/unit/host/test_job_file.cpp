// Job files: every bad file is refused with one line naming the file, the key
// and what is wrong; good files and pictures become the job as written.
#include "host_fixture.h"

#include "job_file.h"

#include <gtest/gtest.h>

namespace {

using hosttest::Folder;

std::string refusal(const std::string& path)
{
    try {
        host::loadJob(path);
    } catch (const host::JobError& e) {
        return e.what();
    }
    return "(accepted)";
}

// A job of one empty page with these members beside its pages.
std::string withPage(const std::string& members) { return "{" + members + R"(, "pages": [{"ops": []}]})"; }

// A job whose one page holds this one operation, pages[0].ops[0].
std::string withOp(const std::string& op) { return R"({"pages": [{"ops": [)" + op + "]}]}"; }

TEST(JobFile, BadFilesAreRefusedNamingTheKey)
{
    Folder dir;
    dir.write("not.png", "not a picture");
    const std::string op = "pages[0].ops[0].";
    struct Case {
        std::string json;
        std::string message;  // after "<file>: "
    } cases[] = {
        {withPage(R"("colour": 1)"), "colour: unknown key"},
        {R"({"pages": []})", "pages: the job has no pages"},
        {R"({"printer": "Pumex Embosser"})", "pages: missing"},
        {withPage(R"("devmode": {"printQuality": "100"})"), "devmode.printQuality: must be a whole number"},
        {withPage(R"("devmode": {"orientation": "sideways"})"),
         "devmode.orientation: must be \"portrait\" or \"landscape\""},
        {withPage(R"("devmode": {"paperWidth": 2100})"), "devmode.paperLength: missing"},
        {withPage(R"("devmode": {"paperSize": 9, "formName": "A4"})"),
         "devmode: give the paper one way: paperWidth and paperLength, paperSize, or formName"},
        {withOp(R"({"circle": [1, 2, 3]})"), op + "circle: unknown operation (rect, image, line or text)"},
        {withOp(R"({"rect": [5, 0, 4, 5]})"), op + "rect: x0 must not exceed x1, nor y0 y1"},
        {withOp(R"({"rect": [0, 0, 5]})"), op + "rect: must be four numbers [x0, y0, x1, y1]"},
        {withOp(R"({"rect": [0, 0, 5, 5], "fill": [0, 256, 0]})"), op + "fill[1]: 256 is out of range (0 to 255)"},
        {withOp(R"({"image": "nothere.png", "x": 0, "y": 0})"),
         op + "image: " + dir.path("nothere.png") + ": No such file or directory"},
        {R"({"pages": [)", "not a JSON document (at byte 12)"},
    };
    for (const Case& c : cases) {
        std::string path = dir.write("job.json", c.json);
        EXPECT_EQ(refusal(path), path + ": " + c.message) << c.json;
    }
    std::string path = dir.write("job.json", withOp(R"({"image": "not.png", "x": 0, "y": 0})"));
    EXPECT_EQ(refusal(path).rfind(path + ": " + op + "image: " + dir.path("not.png") + ": not a readable PNG", 0), 0u)
        << refusal(path);
    path = dir.path("absent.json");
    EXPECT_EQ(refusal(path), path + ": cannot read the job file: No such file or directory");
}

TEST(JobFile, AGoodFileBecomesTheJobAsWritten)
{
    Folder dir;
    dir.writePicture("pic.png", 4, 3);
    std::string path = dir.write("job.json", R"({
      "printer": "Other", "controlFlags": "INTERPOINT=1",
      "devmode": {"paperSize": 9, "printQuality": 120, "orientation": "landscape", "copies": 2, "collate": true},
      "surface": {"format": "1bpp", "banding": false, "bandHeight": 50},
      "pages": [
        {"ops": [{"rect": [1, 2, 3, 4], "fill": [9, 8, 7]}, {"image": "pic.png", "x": 5, "y": 6},
                 {"line": [0, 1, 2, 3]}]},
        {"ops": [{"image": "pic.png", "x": -1, "y": 0, "width": 8, "height": 6},
                 {"text": "Hi", "face": "DejaVu Sans", "x": 1, "y": 2, "size": 12, "italic": true}]}]})");
    host::JobSpec job = host::loadJob(path);
    EXPECT_EQ(job.devmode.yResolution, 120);  // follows the print quality unless given
    EXPECT_TRUE(job.devmode.landscape && job.devmode.collate);
    ASSERT_EQ(job.images.size(), 1u);  // one picture, listed once
    ASSERT_EQ(job.pages.size(), 2u);
    EXPECT_EQ(std::get<host::ImageOp>(job.pages[0].ops[1]).height, 3);  // its own size
    EXPECT_EQ(std::get<host::LineOp>(job.pages[0].ops[2]).width, 1);
    EXPECT_TRUE(std::get<host::TextOp>(job.pages[1].ops[1]).italic);
}

TEST(JobFile, APictureIsScaledToFitTheLetterPageAndCentred)
{
    Folder dir;
    std::string picture = dir.writePicture("pic.png", 40, 30);
    struct Case {
        bool landscape;
        int x, y, width, height;
    } cases[] = {
        {false, 0, 231, 850, 637},  // 850 x 1100 page: the width decides
        {true, 0, 12, 1100, 825},   // 1100 x 850 page
    };
    for (const Case& c : cases) {
        host::ImageJobOptions options;
        options.landscape = c.landscape;
        host::JobSpec job = host::imageJob(picture, options);
        ASSERT_EQ(job.pages.size(), 1u);
        const auto& op = std::get<host::ImageOp>(job.pages[0].ops.at(0));
        EXPECT_EQ((std::vector<int>{op.x, op.y, op.width, op.height}), (std::vector<int>{c.x, c.y, c.width, c.height}));
    }
    EXPECT_THROW(host::imageJob(dir.path("none.png"), {}), host::JobError);
}

}  // namespace
