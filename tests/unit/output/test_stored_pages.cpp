// WritePrinterBuffer and the output sink: stored pages byte for byte, the
// padding of odd widths, pages larger than a million bytes, and where the
// bytes go.
#include "device_fixture.h"
#include "output/stream.h"

#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using Bytes = std::vector<uint8_t>;
using fixtures::Device;

// A page of dot values, freed with the test.
struct PageOfDots {
    PageOfDots(DWORD w, DWORD h) : page(TextPage_new(w, h, TEXTPAGE_TYPE_ZERO)) {}
    ~PageOfDots() { TextPage_delete(page); }
    void set(DWORD x, DWORD y, BYTE v) { TextPage_setPixel(page, x, y, v); }
    TextPage* page;
};

struct Stored {
    DWORD size = 0;
    Bytes block;
};

Stored store(Device& device, const TextPage* page, BOOL writeNow = FALSE)
{
    Stored s;
    BYTE* block = nullptr;
    s.size = WritePrinterBuffer(&device.surface, page, &block, 2, writeNow);
    if (block) {
        s.block.assign(block, block + s.size);
        myfree(block);
    }
    return s;
}

uint32_t byteCountOf(const Bytes& page) { return page[10] | (page[11] << 8) | (page[12] << 16) | (page[13] << 24); }
unsigned checksumOf(const Bytes& page) { return page[14] | (page[15] << 8); }
unsigned sumOf(const Bytes& page)
{
    unsigned sum = 3;
    for (int i = 0; i < 14; ++i)
        sum += page[i];
    return sum & 0xFFFF;
}

TEST(StoredPages, ABlankPageIsTheHeaderAndOneBlankTokenARow)
{
    Device device(850, 1100);
    struct Case {
        DWORD w, h;
    } cases[] = {{170, 220}, {2, 1}, {10, 0}, {166, 234}};
    for (const Case& c : cases) {
        PageOfDots dots(c.w, c.h);
        Stored s = store(device, dots.page);
        ASSERT_EQ(s.size, 16 + 2 * c.h) << c.w << "x" << c.h;
        ASSERT_EQ(s.block.size(), s.size);
        EXPECT_EQ(byteCountOf(s.block), s.size);
        EXPECT_EQ(checksumOf(s.block), sumOf(s.block));
        EXPECT_EQ(s.block[1], PAGE_FORMAT_ENCODED);
        for (DWORD y = 0; y < c.h; ++y) {
            EXPECT_EQ(s.block[16 + 2 * y], 0xC0);
            EXPECT_EQ(s.block[17 + 2 * y], 0x01);
        }
    }
}

TEST(StoredPages, TheHeaderCarriesTheDevicesSettings)
{
    Device device(850, 1100);
    device.config.dotHeight = 2;
    device.config.perforation = TRUE;
    device.config.PaperSource = 258;
    device.config.mediaType = MEDIA_PREMIUMPAPER;
    px_wcscpy(device.config.devName, NAME_CHARS, u"Quorvane Max");
    PageOfDots dots(170, 220);
    Stored s = store(device, dots.page);
    ASSERT_GE(s.block.size(), 16u);
    EXPECT_EQ(Bytes(s.block.begin(), s.block.begin() + 10),
              (Bytes{0x1B, 0x04, 0x43, 0x05, 0x02, 0xAA, 0x00, 0xDC, 0x00, 0x0C}));
}

TEST(StoredPages, OddWidthsArePaddedWith255AndPagesWithoutDataAreAll255)
{
    Device device(850, 1100);
    PageOfDots dots(3, 2);
    dots.set(0, 0, 7);
    dots.set(1, 0, 15);
    dots.set(2, 0, 1);
    Stored s = store(device, dots.page);
    EXPECT_EQ(s.block[5], 4);  // width rounded up to even
    // Row 0: words (7 + 15*256, 1 + 255*256): a literal of two. Row 1: (0, 0xFF00).
    Bytes body(s.block.begin() + 16, s.block.end());
    EXPECT_EQ(body, (Bytes{0x00, 0x02, 0x07, 0x0F, 0x01, 0xFF, 0x00, 0x02, 0x00, 0x00, 0x00, 0xFF}));

    PageOfDots empty(4, 1);
    BYTE* image = empty.page->m_Image;
    empty.page->m_Image = nullptr;  // a page without data
    Stored all255 = store(device, empty.page);
    empty.page->m_Image = image;
    EXPECT_EQ(Bytes(all255.block.begin() + 16, all255.block.end()), (Bytes{0x80, 0x01, 0xFF, 0xFF, 0x00, 0x01, 0xFF, 0xFF}));
}

TEST(StoredPages, APageOfMoreThanAMillionBytesIsStoredWhole)
{
    // Words a, b, b repeated: every three words take eight bytes, so the page
    // needs about 2.1 million bytes.
    Device device(850, 1100);
    const DWORD w = 2000, h = 800;
    PageOfDots dots(w, h);
    for (DWORD y = 0; y < h; ++y)
        for (DWORD x = 0; x < w; x += 2)
            dots.set(x, y, (x / 2) % 3 == 0 ? 1 : 2);
    Stored s = store(device, dots.page);
    ASSERT_GT(s.size, 1000000u);
    EXPECT_EQ(s.block.size(), s.size);
    EXPECT_EQ(byteCountOf(s.block), s.size);
    EXPECT_EQ(checksumOf(s.block), sumOf(s.block));
}

TEST(StoredPages, FailuresReturnZeroAndNoBlock)
{
    Device device(850, 1100);
    PageOfDots zeroWidth(0, 5);
    Stored s = store(device, zeroWidth.page);
    EXPECT_EQ(s.size, 0u);
    EXPECT_TRUE(s.block.empty());

    EXPECT_EQ(store(device, nullptr).size, 0u);

    device.record.pConfig = nullptr;
    PageOfDots dots(4, 4);
    EXPECT_EQ(store(device, dots.page).size, 0u);
    device.record.pConfig = &device.config;

    testkit::TempRoot root;
    static int callsLeft;
    callsLeft = 1;  // the working block, then nothing more
    PxGetSyscalls()->calloc = [](size_t n, size_t size) -> void* { return callsLeft-- > 0 ? calloc(n, size) : nullptr; };
    DWORD before = gTotalBytesAlloc;
    BYTE* block = reinterpret_cast<BYTE*>(1);
    EXPECT_EQ(WritePrinterBuffer(&device.surface, dots.page, &block, 2, TRUE), 0u);
    PxResetSyscalls();
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(gTotalBytesAlloc, before);  // what was had is given back
    EXPECT_TRUE(device.spool.bytes.empty());
}

TEST(OutputSink, SpoolerUnlessAPreviewFileIsOpen)
{
    testkit::TempRoot root;
    Device device(850, 1100);
    PageOfDots dots(6, 3);
    dots.set(1, 1, 15);
    Stored sent = store(device, dots.page, TRUE);
    EXPECT_EQ(device.spool.bytes, sent.block);
    EXPECT_EQ(device.spool.writes, 1);  // a stored page goes out in one write

    HANDLE file = CreateFileW(u"C:\\preview.prn", GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    device.config.hPreviewFile = file;
    device.spool.bytes.clear();
    Stored previewed = store(device, dots.page, TRUE);
    CloseHandle(file);
    device.config.hPreviewFile = INVALID_HANDLE_VALUE;
    EXPECT_TRUE(device.spool.bytes.empty());
    std::string onDisk = testkit::readFile(root.path() + "/drive_c/preview.prn");
    EXPECT_EQ(Bytes(onDisk.begin(), onDisk.end()), previewed.block);

    // The spooler alone, even with a preview file open.
    device.config.hPreviewFile = file;  // stale, but writeToSpooler never looks at it
    writeToSpooler(&device.devobj, "abc", 3);
    device.config.hPreviewFile = INVALID_HANDLE_VALUE;
    EXPECT_EQ(device.spool.bytes, (Bytes{'a', 'b', 'c'}));
}

}  // namespace
