// A whole document through the host with each system call of the platform
// failing in turn: the nth open, read, write, ... allocation, for every n the
// document reaches. Whatever fails, nothing crashes, every block the document
// took is given back, the printer file stays whole (as it was, or as a clean
// run leaves it) and the run either completes or stops with one clear line.
#include "job_fixture.h"

#include <filesystem>
#include <regex>

namespace {

namespace fs = std::filesystem;
using testkit::Call;

const char kPrinterFile[] = "/printers/Pumex Embosser.json";

// The tracked totals the log shows at each document's start and end.
std::vector<std::string> totals(const std::string& log, const char* hook)
{
    std::vector<std::string> found;
    std::regex re(std::string(hook) + "\\(\\): gTotalBytesAlloc=(\\d+)");
    for (auto m = std::sregex_iterator(log.begin(), log.end(), re); m != std::sregex_iterator(); ++m)
        found.push_back((*m)[1]);
    return found;
}

class FaultSweep : public jobtest::JobTest {
protected:
    // One document with the nth call of one kind failing (Call::Count: none).
    // Returns whether that call was reached; the checks are made as it runs.
    bool runFailing(Call kind, unsigned nth, const host::JobSpec& job);

    std::string where(Call kind, unsigned nth) const
    {
        return std::string(testkit::callName(kind)) + " #" + std::to_string(nth);
    }

    // Runs the document clean, counting the calls it makes, then once with
    // each of those calls failing.
    void sweep(const host::JobSpec& job);

    std::string original;    // the printer file before any document
    std::string afterClean;  // the printer file after a document with no fault
    unsigned counts[(int)Call::Count] = {};
};

bool FaultSweep::runFailing(Call kind, unsigned nth, const host::JobSpec& job)
{
    root->writePrinter("Pumex Embosser", original);
    fs::remove(root->logPath());
    std::string error;
    long blocks = 0;
    bool fired = false;
    {
        testkit::FaultInjector faults(kind, nth);
        try {
            run(job);
        } catch (const host::HostError& e) {
            error = e.what();
        }
        session.reset();  // the driver disabled: everything it took is back
        blocks = faults.outstandingBlocks();
        fired = faults.fired();
        if (kind == Call::Count)
            for (int k = 0; k < (int)Call::Count; ++k)
                counts[k] = faults.count((Call)k);
    }
    session = std::make_unique<host::Session>(PUMEX_MODULE_PATH);
    const std::string at = where(kind, nth);
    EXPECT_EQ(error.find('\n'), std::string::npos) << at << ": " << error;
    EXPECT_LE(blocks, 0) << at << ": blocks not given back\n" << root->log();
    std::string log = root->log();
    std::vector<std::string> starts = totals(log, "OEMStartDoc"), ends = totals(log, "OEMEndDoc");
    if (starts.size() == ends.size()) {  // a line lost to a failed log write proves nothing
        EXPECT_EQ(starts, ends) << at;
    }
    std::string printer = testkit::readFile(root->path() + kPrinterFile);
    if (kind != Call::Count) {
        EXPECT_TRUE(printer == original || printer == afterClean) << at;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(root->path() + "/printers"))
        EXPECT_NE(entry.path().extension(), ".tmp") << at << ": " << entry.path();
    return fired;
}

void FaultSweep::sweep(const host::JobSpec& job)
{
    original = testkit::readFile(root->path() + kPrinterFile);
    ASSERT_FALSE(runFailing(Call::Count, 0, job));
    afterClean = testkit::readFile(root->path() + kPrinterFile);
    unsigned made[(int)Call::Count] = {};
    std::copy(std::begin(counts), std::end(counts), std::begin(made));
    std::string calls;
    for (int k = 0; k < (int)Call::Count; ++k)
        calls += std::string(k ? ", " : "") + testkit::callName((Call)k) + " " + std::to_string(made[k]);
    RecordProperty("calls", calls);
    ASSERT_GT(made[(int)Call::Open], 0u);
    ASSERT_GT(made[(int)Call::Alloc], 0u);
    for (int k = 0; k < (int)Call::Count; ++k)
        for (unsigned n = 1; n <= made[k]; ++n)
            runFailing((Call)k, n, job);
}

TEST_F(FaultSweep, EveryCallOfADocumentFailingInTurn) { sweep(jobtest::greyDocument(2, 1, true, 10)); }

// A control string rewrites the printer file (sync, rename, and the removal
// of the temporary file when that fails) and asks for a preview, which starts
// the viewer.
TEST_F(FaultSweep, EveryCallOfAPreviewByControlStringFailingInTurn)
{
    printer(R"("ControlFlags": {"type": "binary", "value": "PREVIEW=1"})");
    sweep(jobtest::greyDocument(1, 1, true, 10));
    EXPECT_GT(counts[(int)Call::Fsync] * counts[(int)Call::Rename] * counts[(int)Call::Spawn], 0u);
}

}  // namespace
