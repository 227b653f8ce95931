// The order of the pages a document ends with, for every combination of
// double-sided printing, collation, the odd/even choice, preview, one to three
// pages, no (a negative count), one and three copies, pages drawn in bands
// or whole, and both Windows generations: the spooled stream, the page files and the program started
// afterwards are compared with the order the driver promises its users.
#include "job_fixture.h"

#include <algorithm>

namespace {

using jobtest::pageIds;
using jobtest::pageIdsOfFile;

struct Case {
    bool interpoint, collate, preview;
    int printOdd, pages, copies;
    bool banding;
};

// What the user gets: the stream to the spooler, and the files handed to the
// dialog program (front, back) or to the viewer (front alone).
struct Outcome {
    std::vector<int> spool, front, back;
    enum Helper { NONE, DIALOG, VIEWER } helper = NONE;
};

std::vector<int> repeated(const std::vector<int>& pages, int copies, bool collate)
{
    std::vector<int> out;
    if (collate)
        for (int c = 0; c < copies; ++c)
            out.insert(out.end(), pages.begin(), pages.end());
    else
        for (int p : pages)
            out.insert(out.end(), copies > 0 ? copies : 0, p);
    return out;
}

// The promised order, written from the user's point of view.
Outcome expected(const Case& c)
{
    std::vector<int> pages;
    for (int p = 1; p <= c.pages; ++p)
        pages.push_back(p);
    std::vector<int> out;  // to the spooler, or to the viewer with preview
    if (!c.interpoint) {
        // Each copy adjacent unless collated. Asked for no copies, a page sent
        // whole still goes out once, a banded one not at all.
        const int copies = !c.banding && !c.collate && c.copies < 1 ? 1 : c.copies;
        out = repeated(pages, copies, c.collate);
    } else if (c.pages == 1) {
        out = repeated(pages, c.copies, false);  // one page has no back: it goes out alone, copies times
    } else {
        if (pages.size() % 2)
            pages.push_back(0);  // an odd document gets a blank last back
        std::vector<int> fronts, backs;
        for (size_t i = 0; i < pages.size(); ++i)
            (i % 2 ? backs : fronts).push_back(pages[i]);
        fronts = repeated(fronts, c.copies, c.collate);
        backs = repeated(backs, c.copies, c.collate);
        if (c.printOdd == 0)
            return Outcome{{}, fronts, backs, Outcome::DIALOG};
        out = c.printOdd == 1 ? fronts : backs;
    }
    Outcome o;
    (c.preview ? o.front : o.spool) = out;
    o.helper = c.preview ? Outcome::VIEWER : Outcome::NONE;
    return o;
}

class PageOrder : public jobtest::JobTest {
protected:
    // Prints on the given Windows generation: before 6 the plug-in starts the
    // dialog program itself, from 6 on the command module starts it; either
    // way it receives the same line.
    Outcome print(const Case& c, unsigned windowsMajor = 0)
    {
        printer(jobtest::dword("InterPoint", c.interpoint) + ", " + jobtest::dword("PrintOdd", c.printOdd) + ", " +
                jobtest::dword("Preview", c.preview));
        host::RunOptions options;
        options.windowsMajor = windowsMajor;
        host::JobSpec job = jobtest::greyDocument(c.pages, c.copies, c.collate);
        job.surface.banding = c.banding;  // whole pages are finished by page send
        run(job, options);
        const std::vector<std::string> dialog = {"C:\\windows\\system32\\spool\\drivers\\x64\\3\\qruxprdlg.dll",
                                                 "--error", "33", "--printer", "Pumex Embosser", "--files"};
        Outcome o;
        o.spool = pageIds(spooled);
        for (const std::vector<std::string>& argv : started) {
            if (argv.size() == 8 && std::equal(dialog.begin(), dialog.end(), argv.begin())) {
                o.helper = Outcome::DIALOG;
                o.front = pageIdsOfFile(argv[6]);
                o.back = pageIdsOfFile(argv[7]);
            } else if (argv.size() == 4 && argv[0] == PUMEX_TEST_ARGV_RECORDER && argv[2] == "-printer" &&
                       argv[3] == "Pumex Embosser") {
                o.helper = Outcome::VIEWER;
                o.front = pageIdsOfFile(argv[1]);
            } else {
                ADD_FAILURE() << "unexpected program " << argv[0] << " with " << argv.size() << " arguments";
            }
        }
        return o;
    }
};

TEST_F(PageOrder, EveryCombinationGivesThePromisedOrderOnBothWindowsGenerations)
{
    for (unsigned windows : {5u, 6u})
        for (bool banding : {true, false})
            for (bool interpoint : {false, true})
                for (bool collate : {false, true})
                    for (int printOdd : {0, 1, 2})
                        for (bool preview : {false, true})
                            for (int pages : {1, 2, 3})
                                for (int copies : {-2, 1, 3}) {
                                    if (!interpoint && printOdd != 0)
                                        continue;  // the odd/even choice is for double-sided documents
                                    Case c{interpoint, collate, preview, printOdd, pages, copies, banding};
                                    SCOPED_TRACE(testing::Message()
                                                 << "Windows " << windows << (banding ? ", bands" : ", whole pages")
                                                 << ", interpoint " << interpoint << ", collate "
                                                 << collate << ", PrintOdd " << printOdd << ", preview " << preview
                                                 << ", " << pages << " pages, " << copies << " copies");
                                    Outcome want = expected(c), got = print(c, windows);
                                    EXPECT_EQ(got.spool, want.spool);
                                    EXPECT_EQ(got.front, want.front);
                                    EXPECT_EQ(got.back, want.back);
                                    EXPECT_EQ(got.helper, want.helper);
                                }
    expectAllocationsReturned();
}

TEST_F(PageOrder, GraphicsPagesGetBlankBacksWhenAsked)
{
    // A graphics page always lands on a front with a blank back; a page
    // without graphics (here: nothing drawn) takes the next side as it comes.
    printer(jobtest::dword("InterPoint", 1) + ", " + jobtest::dword("InsertEmptyPage", 1));
    host::JobSpec job = jobtest::greyDocument(3, 1, false);
    job.pages[1].ops.clear();
    run(job);
    ASSERT_EQ(started.size(), 1u);
    EXPECT_EQ(pageIdsOfFile(started[0][6]), (std::vector<int>{1, 0, 3}));
    EXPECT_EQ(pageIdsOfFile(started[0][7]), (std::vector<int>{0, 0, 0}));
    expectAllocationsReturned();
}

}  // namespace
