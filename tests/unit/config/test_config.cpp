// The configuration record: defaults, printer data, devmode merge, model and
// the repair of missing printer keys.
#include "printer_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

using ConfigTest = PrinterTest;

const std::u16string kDefaultViewer = u"C:\\Program Files\\Quorvane\\Pumex\\Quorvane Max\\PumexViewer.exe";

// Without settings every field holds its default. (The log of the record's
// making is pinned by the typical job's log.)
TEST_F(ConfigTest, WithoutSettingsTheDefaultsAreTaken)
{
    makePrinter(dword("OutputVersion", 7));  // present, so no repair; its value is not read
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(std::u16string(c->printerName), u"Embosser");
    EXPECT_EQ(std::u16string(c->devName), u"Pumex Pro");
    EXPECT_EQ(std::u16string(c->PreviewPrnPath), kDefaultViewer);
    EXPECT_TRUE(c->hPrinter == printer && c->hPreviewFile == INVALID_HANDLE_VALUE);
    EXPECT_TRUE(c->fontCount == 0 && c->srcFontNames == nullptr && c->dpFonts == nullptr);
    // Insert empty page, compressed, landscape, paper source, standard texts,
    // horizontal shift, thin-line intensity, least and greatest custom force,
    // brightness, contrast, media type, dot height, saturation threshold.
    EXPECT_EQ((std::vector<long long>{c->InsertEmptyPage, c->compressed, c->LandscapeMode, c->PaperSource,
                                      c->EmbossStandardTexts, c->HorizontalShift, c->ThinLineIntensity,
                                      c->minCustPForce, c->maxCustPForce, c->Brightness, c->Contrast, c->mediaType,
                                      c->dotHeight, c->saturationThreshold}),
              (std::vector<long long>{0, 1, 0, 7, 0, 0, 1, 1, 17, 6, 5, 268, 1, 60}));
    Config_delete(c);
}

// Any 4-byte value is taken as it is, whatever its type and range; a shorter
// one has zeros above its bytes, a longer one is no setting.
TEST_F(ConfigTest, PrinterDataIsTakenWithoutRangeChecks)
{
    makePrinter(withVersion(dword("Brightness", 250) + ", " + dword("Contrast", -40) + ", " +
                            dword("PaperSource", 4000000000LL) + ", " + dword("DebugLevel", 2) + ", " +
                            binary("DotHeight", "07000000") + ", " + binary("ThinLineIntensity", "0900000000000000") +
                            ", " + binary("Magnification", "0201") + ", " +
                            "\"PreviewPrnPath\": {\"type\": \"sz\", \"value\": \"C:\\\\v\\\\view.exe\"}"));
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(gDebugLevel, 2u) << "the log level follows the printer";
    EXPECT_EQ((std::vector<long long>{c->Brightness, c->Contrast, c->PaperSource, c->dotHeight, c->ThinLineIntensity,
                                      c->Magnification}),
              (std::vector<long long>{250, -40, 4000000000, 7, 1, 0x0102}));
    EXPECT_EQ(std::u16string(c->PreviewPrnPath), u"C:\\v\\view.exe");
    Config_delete(c);
}

class Installer : public PrinterTest {
protected:
    void SetUp() override
    {
        calls = root.path() + "/installer-calls.txt";
        setenv("PUMEX_TEST_INSTALLER_LOG", calls.c_str(), 1);
    }
    void place(const char* libraryName)
    {
        std::filesystem::copy_file(PUMEX_TEST_INSTALLER,
                                   root.path() + "/drive_c/windows/system32/" + libraryName);
    }
    std::string calls;
};

// A printer without "OutputVersion" has its keys restored by its model's
// installer library, asked once with the printer's name; reading goes on
// after it, and goes on without a library as well.
TEST_F(Installer, AMissingOutputVersionAsksTheModelsLibraryOnce)
{
    const struct {
        const char* driver;
        const char* placed;  // a library put in place before this case
        const char* calls;
    } cases[] = {
        {"Quorvane Pro Ink", "qruxinpi.dll", "Embosser|5\n"},
        {"Pumex Pro", nullptr, ""},  // not the professional models' library
        {"Pumex Pro", "qruxprpi.dll", "Embosser|5\n"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(std::string(k.driver) + (k.placed ? " after placing " + std::string(k.placed) : ""));
        if (k.placed)
            place(k.placed);
        std::filesystem::remove(calls);
        makePrinter(dword("Brightness", 9), "", k.driver);
        Config* c = Config_new(&devobj);
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(c->Brightness, 9);
        Config_delete(c);
        EXPECT_EQ(testkit::fileExists(calls) ? testkit::readFile(calls) : "", k.calls);
        ClosePrinter(printer);
        printer = nullptr;
    }
}

}  // namespace
