// Pictures read on a thread of their own, row by row: the pixels are readPng's
// whatever the picture's kind, rows come in from the top, a page drawn band
// by band while its picture is still being read is the page drawn whole, and
// a page whose picture is broken fails with readPng's verdict.
#include "host_fixture.h"

#include <gtest/gtest.h>
#include <png.h>

#include <climits>
#include <cstdio>

namespace {

using hosttest::Folder;
using hosttest::pictureColor;

// An 8-bit RGB file of pictureColor pixels with the chunks a case asks for,
// written with libpng's full interface (the simple one writes none of them).
struct Kind {
    const char* name;
    bool interlaced;
    double gamma;      // 0: no gAMA chunk
    bool transparent;  // tRNS naming pixel (0, 0)'s colour
};

std::string writeKind(const Folder& dir, const Kind& kind, int width, int height)
{
    std::string path = dir.path(std::string(kind.name) + ".png");
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, (png_uint_32)width, (png_uint_32)height, 8, PNG_COLOR_TYPE_RGB,
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (kind.gamma > 0)
        png_set_gAMA(png, info, kind.gamma);
    host::Rgb key = pictureColor(0, 0);
    png_color_16 transparent{0, key.r, key.g, key.b, 0};
    if (kind.transparent)
        png_set_tRNS(png, info, nullptr, 0, &transparent);
    png_write_info(png, info);
    std::vector<uint8_t> pixels = hosttest::pictureBytes(width, height);
    std::vector<png_bytep> rows;
    for (int j = 0; j < height; ++j)
        rows.push_back(&pixels[(size_t)j * width * 3]);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
    return path;
}

// Other kinds, through libpng's simple interface.
std::string writeFormat(const Folder& dir, const char* name, png_uint_32 format, int width, int height)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = (png_uint_32)width;
    image.height = (png_uint_32)height;
    image.format = format;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = (uint8_t)(i * 7 + i / 13);
    std::string path = dir.path(std::string(name) + ".png");
    EXPECT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr)) << image.message;
    return path;
}

TEST(PictureReader, EveryKindOfPictureGivesReadPngsPixels)
{
    Folder dir;
    std::vector<std::string> paths;
    for (const Kind& kind : {Kind{"plain", false, 0, false}, Kind{"srgb-gamma", false, 1 / 2.2, false},
                             Kind{"dark-gamma", false, 0.3, false}, Kind{"interlaced", true, 0, false},
                             Kind{"transparent", false, 0, true}})
        paths.push_back(writeKind(dir, kind, 37, 23));
    paths.push_back(writeFormat(dir, "rgba", PNG_FORMAT_RGBA, 21, 9));
    paths.push_back(writeFormat(dir, "rgb16", PNG_FORMAT_LINEAR_RGB, 21, 9));
    for (const std::string& path : paths)
        for (bool streamed : {true, false}) {
            host::Picture expected;
            std::string error;
            ASSERT_TRUE(host::readPng(path, expected, error)) << path << ": " << error;
            host::PictureReader reader(path, streamed);
            ASSERT_TRUE(reader.wait(3, error)) << path << ": " << error;
            const host::Picture& first = reader.picture();
            ASSERT_EQ(first.width, expected.width) << path;
            size_t topRows = (size_t)std::min(3, expected.height) * expected.width * 3;
            EXPECT_TRUE(std::equal(expected.rgb.begin(), expected.rgb.begin() + topRows, first.rgb.begin()))
                << path << " (first rows)";
            ASSERT_TRUE(reader.wait(INT_MAX, error)) << path << ": " << error;
            EXPECT_EQ(reader.picture().height, expected.height) << path;
            EXPECT_TRUE(reader.picture().rgb == expected.rgb) << path << (streamed ? " streamed" : " whole");
        }
}

// A job of one page showing one picture, of width x height, with these ops.
host::JobSpec pictureJob(const std::string& path, int width, int height, std::vector<host::Op> ops)
{
    host::JobSpec job;
    job.source = "job.json";
    job.images.push_back({path, width, height});
    job.pages.push_back({std::move(ops)});
    return job;
}

// A picture let go before, at the start of and halfway through its reading:
// the reader's thread stops and nothing it held is used afterwards. The
// failure this catches is a hang or a sanitizer report, not a value.
TEST(PictureReader, APictureLetGoWhileBeingReadStopsItsThread)
{
    Folder dir;
    std::string path = dir.writePicture("big.png", 1500, 700);
    for (int32_t rows : {0, 1, 350}) {
        host::PictureReader reader(path, true);
        std::string error;
        if (rows) {
            EXPECT_TRUE(reader.wait(rows, error)) << error;
        }
    }
}

// A picture large enough to be read on its own thread, drawn at its own size
// and stretched, band after band with one picture store as a page is run:
// each band shows the picture's pixels, and the store then lets it go.
TEST(PictureReader, BandsDrawnWhileAPictureIsReadShowItsPixels)
{
    Folder dir;
    host::JobSpec job = pictureJob(dir.writePicture("large.png", 700, 520), 700, 520,
                                   {host::ImageOp{0, -300, -250, 700, 520}, host::ImageOp{0, 100, 70, 50, 40}});
    SIZEL page{160, 120};
    auto whole = hosttest::drawBand(job, 0, {0, 0}, page.cx, page.cy);
    host::PictureStore pictures(job);
    for (int at = 0; at < page.cy; at += 25) {
        auto band = hosttest::drawBand(job, 0, {0, at}, page.cx, 25, page, &pictures);
        int bad = 0;
        for (int y = 0; y < 25 && at + y < page.cy; ++y)
            for (int x = 0; x < page.cx; ++x) {
                bool stretched = x >= 100 && x < 150 && at + y >= 70 && at + y < 110;
                host::Rgb own = stretched ? whole->pixel(x, at + y) : pictureColor(x + 300, at + y + 250);
                if (!(band->pixel(x, y) == own) && bad++ < 3)
                    ADD_FAILURE() << "band at " << at << ": pixel (" << x << ", " << y << ")";
            }
    }
    EXPECT_NO_THROW(pictures.pageDone(0));
}

// A picture that breaks off, even below what the page shows, or is no
// picture at all, fails the page with readPng's own words, and one readPng
// takes (its end chunk missing) is drawn: as had it been read whole first.
TEST(PictureReader, APageWhosePictureIsBrokenGetsReadPngsVerdict)
{
    Folder dir;
    std::string whole = testkit::readFile(dir.writePicture("large.png", 700, 520));
    for (const std::string& path : {dir.write("cut.png", whole.substr(0, whole.size() * 3 / 4)),
                                    dir.write("no-end.png", whole.substr(0, whole.size() - 12)),
                                    dir.write("text.png", "not a picture"), dir.path("missing.png")}) {
        host::JobSpec job = pictureJob(path, 700, 520, {host::ImageOp{0, 0, 0, 700, 520}});  // read on its thread
        job.surface.format = host::SurfaceFormat::Mono1;
        host::PictureStore pictures(job);
        host::Picture picture;
        std::string error, failure = "(let through)";
        bool readable = host::readPng(path, picture, error);
        EXPECT_EQ(readable, path == dir.path("no-end.png")) << path;
        try {  // the band itself may find the break, when the reader is there first
            hosttest::drawBand(job, 0, {0, 0}, 160, 20, {160, 20}, &pictures);
            pictures.pageDone(0);
        } catch (const host::JobError& e) {
            failure = e.what();
        }
        EXPECT_EQ(failure, readable ? "(let through)" : path + ": " + error);
    }
}

}  // namespace
