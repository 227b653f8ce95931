#include "job_fixture.h"

#include <algorithm>
#include <regex>

namespace jobtest {

uint8_t greyForDot(int dot)
{
    // Lightness is the grey level itself; dot values step every 36 levels
    // down from 254 (dot 1) to 38 (dot 7). White is blank.
    return dot == 0 ? 255 : (uint8_t)(254 - 36 * (dot - 1));
}

host::RectOp rect(int x0, int y0, int x1, int y1, uint8_t grey)
{
    host::RectOp r;
    r.x0 = x0, r.y0 = y0, r.x1 = x1, r.y1 = y1;
    r.fill = {grey, grey, grey};
    return r;
}

host::JobSpec greyDocument(int pages, int copies, bool collate, int pageCells)
{
    host::JobSpec job;
    job.source = "test document";
    int16_t tenths = (int16_t)(pageCells * 5 * 254 / 100);  // pageCells x 5 pixels at 100 dpi
    job.devmode.paperWidth = job.devmode.paperLength = tenths;
    job.devmode.printQuality = job.devmode.yResolution = 100;
    job.devmode.copies = (int16_t)copies;
    job.devmode.collate = collate;
    for (int p = 1; p <= pages; ++p)
        job.pages.push_back(host::PageSpec{{rect(0, 0, 10000, 10000, greyForDot(p))}});
    return job;
}

std::vector<int> pageIds(const std::vector<uint8_t>& stream)
{
    formats::DecodedStream decoded = formats::decodeStream(stream.data(), stream.size());
    EXPECT_TRUE(decoded.ok) << decoded.problem.message << " at byte " << decoded.problem.offset;
    std::vector<int> ids;
    for (const formats::DecodedPage& page : decoded.pages) {
        auto most = std::max_element(page.histogram.begin() + 1, page.histogram.end());
        ids.push_back(*most ? (int)(most - page.histogram.begin()) : 0);
    }
    return ids;
}

std::vector<int> pageIdsOfFile(const std::string& windowsPath)
{
    char path[4096];
    EXPECT_TRUE(PxMapPath(windowsPath.c_str(), path, sizeof path));
    std::string bytes = testkit::readFile(path);
    return pageIds(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

Cells cellsOf(const std::vector<uint8_t>& stream, size_t index)
{
    formats::DecodedStream decoded = formats::decodeStream(stream.data(), stream.size());
    EXPECT_TRUE(decoded.ok) << decoded.problem.message;
    Cells cells;
    if (index >= decoded.pages.size())
        return cells;
    const formats::DecodedPage& page = decoded.pages[index];
    for (unsigned y = 0; y < page.header.height; ++y)
        for (unsigned x = 0; x < page.columns; ++x)
            if (int v = page.cells[(size_t)y * page.columns + x]; v != 0 && v != 255)
                cells[{x, y}] = v;
    return cells;
}

std::vector<std::string> allocationTotals(const std::string& log, const std::string& hook)
{
    std::vector<std::string> found;
    std::regex re(hook + "\\(\\): gTotalBytesAlloc=(\\d+)");
    for (auto m = std::sregex_iterator(log.begin(), log.end(), re); m != std::sregex_iterator(); ++m)
        found.push_back((*m)[1]);
    return found;
}

void JobTest::SetUp()
{
    root = std::make_unique<testkit::TempRoot>();
    std::string package = root->path() + "/drive_c/windows/system32/spool/drivers/x64/3/";
    testkit::writeFile(package + "qruxprdlg.dll", testkit::readFile(PUMEX_TEST_ARGV_RECORDER));
    testkit::writeFile(package + "qruxprcmdl.dll", testkit::readFile(PUMEX_PACKAGE_COMMAND_MODULE));
    chmod((package + "qruxprdlg.dll").c_str(), 0755);
    printer();
    session = std::make_unique<host::Session>(PUMEX_MODULE_PATH);
}

void JobTest::TearDown()
{
    session.reset();
    PxSetWindowsVersion(0, 0);
    root.reset();
}

void JobTest::printer(const std::string& configMembers, const std::string& fontList)
{
    std::string members = dword("DebugLevel", 1) + ", " + dword("Brightness", 0) + ", " + dword("Contrast", 0) +
                          ", " + dword("MediaType", 286) + ", " + dword("MinCustPForce", 3) + ", " +
                          dword("MaxCustPForce", 20) +
                          ", \"PreviewPrnPath\": {\"type\": \"sz\", \"value\": \"" PUMEX_TEST_ARGV_RECORDER "\"}";
    if (!configMembers.empty())
        members += ", " + configMembers;
    std::string json = testkit::printerJson("Pumex Embosser", members);
    if (!fontList.empty())
        json.insert(json.rfind('}'), ",\n  \"fontList\": { " + fontList + " }\n");
    root->writePrinter("Pumex Embosser", json);
}

void JobTest::run(const host::JobSpec& job, const host::RunOptions& options)
{
    spooled.clear();
    started.clear();
    auto spool = [this](const BYTE* data, DWORD size) {
        spooled.insert(spooled.end(), data, data + size);
        return true;
    };
    session->run(job, spool, options);
    PxWaitForStartedPrograms(
        [](void* context, int argc, const char* const* argv, DWORD) {
            static_cast<decltype(started)*>(context)->emplace_back(argv, argv + argc);
        },
        &started);
}

void JobTest::expectAllocationsReturned() const
{
    std::string log = root->log();
    std::vector<std::string> starts = allocationTotals(log, "OEMStartDoc");
    ASSERT_FALSE(starts.empty());
    EXPECT_EQ(starts, allocationTotals(log, "OEMEndDoc"));
}

}  // namespace jobtest
