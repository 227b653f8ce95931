// Pages encoded by the plug-in's encoders and read back by the stream reader:
// random pages of dot values, rendered pages in both orientations and every
// body form, and `pumex inspect` on sound and damaged streams.
#include "../output/device_fixture.h"
#include "output/stream.h"
#include "stream_decode.h"

#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <sys/wait.h>

namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::Device;

// With the fixture's plain tone mapping a grey of this level gives dot value i.
const uint8_t kGreyForDot[8] = {255, 240, 200, 170, 130, 100, 60, 0};

host::DecodedStream decode(const Bytes& bytes, unsigned version = 3)
{
    host::DecodeOptions o;
    o.version = version;
    return host::decodeStream(bytes.data(), bytes.size(), o);
}

// A rendered page: every rf x rf cell of the surface one grey, or under a
// braille (1) or italic (2) text marker. dots holds the value each cell must give.
struct RenderedPage {
    unsigned cols, rows, rf;
    Bytes dots;
    unsigned dotAt(unsigned x, unsigned y) const { return x < cols && y < rows ? dots[y * cols + x] : 0; }
};

RenderedPage render(Device& device, unsigned rf, std::mt19937& random)
{
    RenderedPage page;
    page.rf = rf;
    page.cols = (unsigned)device.surface.sizlBitmap.cx / rf;
    page.rows = (unsigned)device.surface.sizlBitmap.cy / rf;
    for (unsigned y = 0; y < page.rows; ++y)
        for (unsigned x = 0; x < page.cols; ++x) {
            unsigned pick = random() % 12;
            unsigned dot = pick < 8 ? pick : pick < 10 ? 0 : pick == 10 ? 15 : 2;
            if (pick < 8) {
                uint8_t g = kGreyForDot[pick];
                device.paint(x * rf, y * rf, (x + 1) * rf, (y + 1) * rf, g, g, g);
            } else if (pick >= 10) {
                device.mark(x * rf, y * rf, (x + 1) * rf, (y + 1) * rf, pick == 10 ? 1 : 2);
            }
            page.dots.push_back((uint8_t)dot);
        }
    return page;
}

Bytes spooledPage(Device& device, BOOL landscape, DWORD* size = nullptr)
{
    device.spool.bytes.clear();
    DWORD n = WritePage(&device.surface, 0, 0, landscape, nullptr, TRUE);
    if (size)
        *size = n;
    return device.spool.bytes;
}

TEST(RoundTrip, RandomPagesOfDotValuesStoreAndReadBack)
{
    Device device(850, 1100);
    std::mt19937 random(6011);
    const uint8_t values[] = {0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 7, 15, 15};
    for (int trial = 0; trial < 60; ++trial) {
        DWORD w = 1 + random() % 61, h = random() % 41;
        TextPage* page = TextPage_new(w, h, TEXTPAGE_TYPE_ZERO);
        ASSERT_NE(page, nullptr);
        for (DWORD y = 0; y < h; ++y)
            for (DWORD x = 0; x < w; ++x)
                TextPage_setPixel(page, x, y, values[random() % sizeof values]);
        BYTE* block = nullptr;
        DWORD size = WritePrinterBuffer(&device.surface, page, &block, 2, FALSE);
        ASSERT_NE(block, nullptr);
        host::DecodedStream s = decode(Bytes(block, block + size));
        myfree(block);
        ASSERT_TRUE(s.ok) << "trial " << trial << ": " << s.problem.message;
        ASSERT_EQ(s.pages.size(), 1u);
        const host::DecodedPage& p = s.pages[0];
        EXPECT_EQ(p.header.byteCount, size);
        ASSERT_EQ(p.columns, (w + 1) / 2 * 2);
        for (DWORD y = 0; y < h; ++y)
            for (DWORD x = 0; x < p.columns; ++x) {
                unsigned want = x < w ? page->m_Image[y * w + x] : 255;
                ASSERT_EQ(p.cells[y * p.columns + x], want) << "trial " << trial << " at " << x << "," << y;
            }
        TextPage_delete(page);
    }
}

TEST(RoundTrip, RenderedPagesInBothOrientations)
{
    struct Case {
        const char* name;
        unsigned cx, cy;
        BOOL landscape, landscapeMode;
    } cases[] = {
        {"portrait, even width", 170, 110, FALSE, FALSE},
        {"portrait, odd width", 165, 100, FALSE, FALSE},
        {"landscape", 170, 115, TRUE, FALSE},
        {"landscape mode", 170, 115, TRUE, TRUE},
    };
    for (const Case& c : cases) {
        Device device(c.cx, c.cy);  // 100 dpi: rf 5
        device.config.LandscapeMode = c.landscapeMode;
        std::mt19937 random(77);
        RenderedPage page = render(device, 5, random);
        host::DecodedStream s = decode(spooledPage(device, c.landscape));
        ASSERT_TRUE(s.ok) << c.name << ": " << s.problem.message;
        const host::DecodedPage& p = s.pages[0];
        unsigned ocx = c.landscape ? c.cy : c.cx, ocy = c.landscape ? c.cx : c.cy;
        unsigned W = ((ocx / 5) + 1) / 2 * 2, H = ocy / 5;
        ASSERT_EQ(p.header.width, W) << c.name;
        ASSERT_EQ(p.header.height, H) << c.name;
        EXPECT_EQ(p.header.byteCount, 0u);
        for (unsigned y = 0; y < H; ++y)
            for (unsigned x = 0; x < W; ++x) {
                // The surface cell each page cell reads.
                unsigned sx = x, sy = y;
                if (c.landscape && c.landscapeMode)
                    sx = y, sy = W - 1 - x;
                else if (c.landscape)
                    sx = H - 1 - y, sy = x;
                ASSERT_EQ(p.cells[y * W + x], page.dotAt(sx, sy)) << c.name << " at " << x << "," << y;
            }
    }
}

TEST(RoundTrip, EveryBodyForm)
{
    Device device(1700, 40);  // 340 cells a row: more than a packed row carries
    std::mt19937 random(5);
    RenderedPage page = render(device, 5, random);
    struct Case {
        unsigned version;
        BOOL compressed;
        host::BodyForm form;
        uint8_t formatByte;
    } cases[] = {
        {3, TRUE, host::BodyForm::Encoded, 0x04}, {2, TRUE, host::BodyForm::Encoded, 0x04},
        {3, FALSE, host::BodyForm::Plain, 0x84},  {2, FALSE, host::BodyForm::Plain, 0x84},
        {1, TRUE, host::BodyForm::Packed, 0x04},  {1, FALSE, host::BodyForm::Packed, 0x84},
    };
    for (const Case& c : cases) {
        device.config.outputVersion = c.version;
        device.config.compressed = c.compressed;
        DWORD size = 0;
        Bytes bytes = spooledPage(device, FALSE, &size);
        EXPECT_EQ(bytes.size(), size);
        host::DecodedStream s = decode(bytes, c.version);
        ASSERT_TRUE(s.ok) << c.version << ": " << s.problem.message;
        const host::DecodedPage& p = s.pages[0];
        EXPECT_EQ(p.form, c.form);
        EXPECT_EQ(p.header.formatByte, c.formatByte);
        if (c.form == host::BodyForm::Packed) {
            EXPECT_EQ(size, 16u + 8 * 40);
        }
        for (unsigned y = 0; y < page.rows; ++y)
            for (unsigned x = 0; x < p.columns; ++x) {
                unsigned want = page.dotAt(x, y);
                if (c.form == host::BodyForm::Packed)
                    want = want != 0;
                ASSERT_EQ(p.cells[y * p.columns + x], want) << c.version << " at " << x << "," << y;
            }
    }
    for (unsigned version : {0u, 4u, 9u}) {
        device.config.outputVersion = version;
        DWORD size = 0;
        Bytes bytes = spooledPage(device, FALSE, &size);
        EXPECT_EQ(size, 16u);
        EXPECT_EQ(bytes.size(), 16u);
        EXPECT_TRUE(decode(bytes, version).ok);
    }
}

TEST(RoundTrip, MeasuringCopyingAndSendingGiveTheSamePage)
{
    Device device(300, 200);
    std::mt19937 random(99);
    render(device, 5, random);
    DWORD measured = WritePage(&device.surface, 0, 0, FALSE, nullptr, FALSE);
    EXPECT_TRUE(device.spool.bytes.empty());
    Bytes block(measured + 8, 0xEE);
    DWORD copied = WritePage(&device.surface, 0, 0, FALSE, block.data(), FALSE);
    DWORD sent = 0;
    Bytes spooled = spooledPage(device, FALSE, &sent);
    EXPECT_EQ(copied, measured);
    EXPECT_EQ(sent, measured);
    EXPECT_EQ(Bytes(block.begin(), block.begin() + measured), spooled);
    EXPECT_EQ(block[measured], 0xEE);  // nothing past the measured size
}

TEST(RoundTrip, AWhitePageIsTheHeaderAndOneBlankTokenARow)
{
    Device device(850, 1100);
    DWORD size = 0;
    Bytes bytes = spooledPage(device, FALSE, &size);
    EXPECT_EQ(size, 16u + 2 * 220);
    host::DecodedStream s = decode(bytes);
    ASSERT_TRUE(s.ok);
    EXPECT_EQ(s.pages[0].header.width, 170);
    EXPECT_EQ(s.pages[0].histogram[0], 170u * 220);
}

TEST(RoundTrip, ThePaddingColumnOfAnOddWidthIsSampledLikeAnyOther)
{
    // 15 pixels at rf 5: 3 cells, padded to 4. Magnified twice, the fourth
    // column reads pixels 7 to 9, inside the surface.
    Device device(15, 10);
    device.config.Magnification = 2;
    device.paint(8, 0, 10, 10, 0, 0, 0);
    host::DecodedStream s = decode(spooledPage(device, FALSE));
    ASSERT_TRUE(s.ok);
    const host::DecodedPage& p = s.pages[0];
    ASSERT_EQ(p.columns, 4u);
    EXPECT_EQ(p.cells[2], 0);
    EXPECT_GT(p.cells[3], 0);
}

TEST(RoundTrip, ABufferThatCannotBeHadLeavesTheHeaderSent)
{
    testkit::TempRoot root;
    gDebugLevel = 1;
    Device device(100, 100);
    PxGetSyscalls()->calloc = [](size_t, size_t) -> void* { return nullptr; };
    DWORD size = WritePage(&device.surface, 0, 0, FALSE, nullptr, TRUE);
    PxResetSyscalls();
    gDebugLevel = 0;
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(device.spool.bytes.size(), 16u);
    std::string log = root.log();
    EXPECT_NE(log.find(" DrvWriteSpoolBuf(0x"), std::string::npos) << log;
    EXPECT_NE(log.find("\tCannot allocate enough memory for pBuff (non-compressed storing embossing data)\n"),
              std::string::npos)
        << log;
}

// Runs a command, returning its exit status and what it wrote to stdout and stderr.
struct CommandResult {
    int status = -1;
    std::string out, err;
};
CommandResult runCommand(const std::string& command, const std::string& dir)
{
    CommandResult r;
    std::string out = dir + "/stdout.txt", err = dir + "/stderr.txt";
    int raw = std::system((command + " >'" + out + "' 2>'" + err + "'").c_str());
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    r.out = testkit::readFile(out);
    r.err = testkit::readFile(err);
    return r;
}

TEST(InspectCommand, ReportsDrawsAndRefusesDamage)
{
    testkit::TempRoot root;
    Device device(170, 110);
    std::mt19937 random(3);
    render(device, 5, random);
    Bytes stream = spooledPage(device, FALSE);
    Bytes second = spooledPage(device, TRUE);
    stream.insert(stream.end(), second.begin(), second.end());
    std::string file = root.path() + "/job.prn", png = root.path() + "/job.png";
    testkit::writeFile(file, std::string(stream.begin(), stream.end()));

    std::string pumex = PUMEX_TEST_PUMEX;
    CommandResult ok = runCommand("'" + pumex + "' inspect '" + file + "' --json --png '" + png + "'", root.path());
    EXPECT_EQ(ok.status, 0) << ok.err;
    nlohmann::json j = nlohmann::json::parse(ok.out);
    EXPECT_EQ(j["ok"], true);
    EXPECT_EQ(j["pages"].size(), 2u);
    EXPECT_EQ(testkit::readFile(png).substr(1, 3), "PNG");

    CommandResult words = runCommand("'" + pumex + "' inspect '" + file + "'", root.path());
    EXPECT_EQ(words.status, 0);
    EXPECT_NE(words.out.find("page 2 at offset"), std::string::npos) << words.out;

    stream[stream.size() - second.size() + 14] ^= 0xFF;  // the second page's checksum
    testkit::writeFile(file, std::string(stream.begin(), stream.end()));
    CommandResult bad = runCommand("'" + pumex + "' inspect '" + file + "'", root.path());
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find(file + ": page 2 at byte offset " + std::to_string(stream.size() - second.size() + 14)),
              std::string::npos)
        << bad.err;

    CommandResult missing = runCommand("'" + pumex + "' inspect '" + root.path() + "/none.prn'", root.path());
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("none.prn: cannot read the file"), std::string::npos) << missing.err;
}

}  // namespace
