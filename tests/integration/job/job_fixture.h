// Documents run through the built plug-in module by the host, as the
// universal driver runs them, with the stream and the page files decoded.
#pragma once

#include "job_runner.h"
#include "stream_decode.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace jobtest {

using testkit::dword;  // a "Config" member of the printer file holding a dword

// The dot value a page of the test documents is filled with: page k (from 1)
// is a grey that tone mapping with brightness and contrast 0 turns into dot
// value k, so a decoded page names itself. 0 is a blank page.
uint8_t greyForDot(int dot);

host::RectOp rect(int x0, int y0, int x1, int y1, uint8_t grey);

// A document of `pages` pages of pageCells x pageCells cells at 100 dpi
// (rf 5), each page filled with its own grey.
host::JobSpec greyDocument(int pages, int copies, bool collate, int pageCells = 20);

// The identity of every page of a stream: the dot value most of its cells
// hold (0 for a blank page). Fails the test when the stream does not decode.
std::vector<int> pageIds(const std::vector<uint8_t>& stream);
std::vector<int> pageIdsOfFile(const std::string& windowsPath);

// The cells of one page of a stream that hold a dot, by (column, row).
using CellAt = std::pair<unsigned, unsigned>;
using Cells = std::map<CellAt, int>;
Cells cellsOf(const std::vector<uint8_t>& stream, size_t page = 0);

// The tracked allocation totals the log shows at each "hook(): " line.
std::vector<std::string> allocationTotals(const std::string& log, const std::string& hook);

// Runs one document through a session in a temporary system root whose
// printer has the given extra "Config" values (brightness and contrast 0,
// custom media with forces 3 and 20, log level 1, and the driver package's
// helpers replaced by a program that only records its arguments).
class JobTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Writes the printer with these extra "Config" members and, when given,
    // a font list (the members of its JSON object).
    void printer(const std::string& configMembers = "", const std::string& fontList = "");
    // Runs the job; the spooled bytes land in `spooled`, the command lines
    // of the programs the job started (waited for) in `started`.
    void run(const host::JobSpec& job, const host::RunOptions& options = {});
    // Every document's end finds the allocation total where its start did.
    void expectAllocationsReturned() const;

    std::unique_ptr<testkit::TempRoot> root;
    std::unique_ptr<host::Session> session;
    std::vector<uint8_t> spooled;
    std::vector<std::vector<std::string>> started;
};

}  // namespace jobtest
