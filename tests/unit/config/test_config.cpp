// The configuration record: defaults, printer data, devmode merge, model and
// the repair of missing printer keys.
#include "config_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using ConfigTest = PrinterTest;

TEST_F(ConfigTest, WithoutSettingsEveryFieldHoldsItsDefault)
{
    makePrinter("\"OutputVersion\": {\"type\": \"dword\", \"value\": 7}");
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(std::u16string(c->printerName), u"Embosser");
    EXPECT_EQ(std::u16string(c->devName), u"Pumex Pro");
    EXPECT_EQ(c->hPrinter, printer);
    EXPECT_EQ(c->Magnification, 1);
    EXPECT_EQ(c->NoWhiteSpaceMagnification, 0);
    EXPECT_EQ(c->Brightness, 6);
    EXPECT_EQ(c->Contrast, 5);
    EXPECT_EQ(c->hPreviewFile, INVALID_HANDLE_VALUE);
    EXPECT_EQ(c->Interpoint + c->InsertEmptyPage + c->InvertColor + c->Collate + c->Preview, 0);
    EXPECT_EQ(c->outputVersion, 3u);  // whatever the printer data holds
    EXPECT_EQ(c->compressed, 1);
    EXPECT_EQ(c->LandscapeMode, 0);
    EXPECT_EQ(c->PaperSource, 7u);
    EXPECT_EQ(c->colorPattern, 0);
    EXPECT_EQ(c->dithering, 0);
    EXPECT_EQ(c->EmbossStandardTexts, 0);
    EXPECT_EQ(c->saturationThreshold, 60);
    EXPECT_EQ(c->HorizontalShift, 0u);
    EXPECT_EQ(c->ThinLineIntensity, 1u);
    EXPECT_EQ(c->fontCount, 0);
    EXPECT_EQ(c->srcFontNames, nullptr);
    EXPECT_EQ(c->dpFonts, nullptr);
    EXPECT_EQ(std::u16string(c->PreviewPrnPath), u"C:\\Program Files\\Quorvane\\Pumex\\Quorvane Max\\PumexViewer.exe");
    EXPECT_EQ(c->PrintOdd, 0);
    EXPECT_EQ(c->dotHeight, 1);
    EXPECT_EQ(c->mediaType, 268);
    EXPECT_EQ(c->minCustPForce, 1u);
    EXPECT_EQ(c->maxCustPForce, 17u);
    EXPECT_EQ(c->perforation, 0);
    Config_delete(c);
}

TEST_F(ConfigTest, PrinterDataIsTakenWithoutRangeChecks)
{
    makePrinter(withVersion(dword("Magnification", 4) + ", " + dword("Brightness", 250) + ", " +
                            dword("Contrast", -40) + ", " + dword("MediaType", 12345) + ", " +
                            dword("InterPoint", 1) + ", " + dword("MaxCustPForce", 99) + ", " +
                            dword("PaperSource", 4000000000LL) + ", " +
                            "\"PreviewPrnPath\": {\"type\": \"sz\", \"value\": \"C:\\\\v\\\\view.exe\"}"));
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Magnification, 4);
    EXPECT_EQ(c->Brightness, 250);
    EXPECT_EQ(c->Contrast, -40);
    EXPECT_EQ(c->mediaType, 12345);
    EXPECT_EQ(c->Interpoint, 1);
    EXPECT_EQ(c->maxCustPForce, 99u);
    EXPECT_EQ(c->PaperSource, 4000000000u);
    EXPECT_EQ(std::u16string(c->PreviewPrnPath), u"C:\\v\\view.exe");
    Config_delete(c);
}

TEST_F(ConfigTest, OnlyFourByteValuesAreSettings)
{
    makePrinter(withVersion(
        "\"Brightness\": {\"type\": \"binary\", \"value\": {\"hex\": \"07000000\"}}, "   // 4 bytes, other type: taken
        "\"Contrast\": {\"type\": \"binary\", \"value\": {\"hex\": \"0900000000000000\"}}, "  // 8 bytes: ignored
        "\"Magnification\": {\"type\": \"binary\", \"value\": {\"hex\": \"0201\"}}"));     // 2 bytes: zeros above
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Brightness, 7);
    EXPECT_EQ(c->Contrast, 5);
    EXPECT_EQ(c->Magnification, 0x0102);
    Config_delete(c);
}

TEST_F(ConfigTest, AViewerPathThatDoesNotFitKeepsTheDefault)
{
    std::string longPath = "C:\\\\" + std::string(300, 'x') + ".exe";
    makePrinter(withVersion("\"PreviewPrnPath\": {\"type\": \"sz\", \"value\": \"" + longPath + "\"}"));
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(std::u16string(c->PreviewPrnPath), u"C:\\Program Files\\Quorvane\\Pumex\\Quorvane Max\\PumexViewer.exe");
    Config_delete(c);
}

TEST_F(ConfigTest, TheDevmodeDecidesCollationWhenItCarriesTheField)
{
    makePrinter(withVersion(dword("Collate", 1)));
    struct Case {
        DWORD fields;
        short collate;
        BOOL expected;
    } cases[] = {
        {0, 0, 1},
        {DM_COPIES, 0, 1},
        {DM_COLLATE, DMCOLLATE_FALSE, 0},
        {DM_COLLATE, DMCOLLATE_TRUE, 1},
        {DM_COLLATE | DM_COPIES, 2, 0},
    };
    for (const Case& k : cases) {
        devmode.dmFields = k.fields;
        devmode.dmCollate = k.collate;
        devmode.dmCopies = 3;
        Config* c = Config_new(&devobj);
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(c->Collate, k.expected) << "fields " << k.fields;
        Config_delete(c);
    }
    Config c{};
    c.Collate = 1;
    Config_updateFromDevMode(&c, nullptr);
    EXPECT_EQ(c.Collate, 1);
}

TEST(Model, OnlyTheTwoProfessionalNamesExactly)
{
    struct Case {
        const char16_t* name;
        BOOL professional;
    } cases[] = {
        {u"Quorvane Professional", 1}, {u"Quorvane Pro Ink", 1},   {u"quorvane professional", 0},
        {u"Quorvane Professional ", 0}, {u"Quorvane Pro", 0},      {u"Pumex Pro", 0},
        {u"", 0},
    };
    for (const Case& k : cases) {
        Config c{};
        px_wcscpy(c.devName, NAME_CHARS, k.name);
        EXPECT_EQ(IsPumexProfessional(&c), k.professional);
    }
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

TEST_F(Installer, AMissingOutputVersionAsksTheModelsLibraryOnceWithThePrinterName)
{
    place("qruxprpi.dll");
    place("qruxinpi.dll");
    makePrinter(dword("Brightness", 9));
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Brightness, 9);  // reading went on after the repair
    Config_delete(c);
    // The library wrote nothing back here, so "OutputVersion" is still missing.
    EXPECT_EQ(testkit::readFile(calls), "Embosser|5\n");
}

TEST_F(Installer, TheProfessionalModelsHaveTheirOwnLibrary)
{
    place("qruxinpi.dll");
    makePrinter(dword("Brightness", 9), "", "Quorvane Pro Ink");
    Config_delete(Config_new(&devobj));
    EXPECT_EQ(testkit::readFile(calls), "Embosser|5\n");
}

TEST_F(Installer, WithoutALibraryReadingGoesOn)
{
    makePrinter(dword("Contrast", 2));
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Contrast, 2);
    Config_delete(c);
    EXPECT_FALSE(testkit::fileExists(calls));
}

TEST_F(ConfigTest, BuildingTheRecordWritesTheConfigurationBlock)
{
    makePrinter(withVersion(dword("DebugLevel", 1) + ", " + dword("Brightness", 3)));
    devmode.dmFields = DM_COLLATE | DM_COPIES;
    devmode.dmCollate = DMCOLLATE_TRUE;
    devmode.dmCopies = 2;
    gDebugLevel = 1;
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    char expected[4096];
    px_format(expected, sizeof expected,
              "Config_new() start\n"
              "getPrinterName(hPrinter: 0x%X, devName: 0x%X)\n"
              "\tprinterName: Embosser\n"
              "getDeviceName(hPrinter: 0x%X, devName: 0x%X)\n"
              "\tdevName: Pumex Pro\n"
              "Config_readRegistry(): open registry key: "
              "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Embosser\\FontList\n"
              "\tRegQueryInfoKey() returns 0 values under the subkey. Exit now.\n"
              "Config_readConfigFromRegistry(): enter\n"
              "Config_updateFromDevMode(): update settings from pPublicDM\n"
              "Config_updateFromDevMode(): dmFields=0x0000000000008100\n"
              "Config_updateFromDevMode(): dwCollate=1\n"
              "Config_updateFromDevMode(): dmCopies=2\n"
              "Config->outputVersion: 3\n"
              "Config->Magnification: 1\n"
              "Config->NoWhiteSpaceMagnification: 0\n"
              "Config->Brightness: 3\n"
              "Config->Contrast: 5\n"
              "Config->InvertColor: 0\n"
              "Config->Collate: 1\n"
              "Config->dithering: 0\n"
              "Config->mediaType: 268\n"
              "Config->dotHeight: 1\n"
              "Config->colorPattern: 0\n"
              "Config->saturationThreshold: 60\n"
              "Config->PrintOdd: 0\n"
              "Config->Interpoint: 0\n"
              "Config->perforation: 0\n"
              "Config->Preview: 0\n"
              "Config_readConfigFromRegistry(): exit\n",
              px_low32(printer), px_low32(c->printerName), px_low32(printer), px_low32(c->devName));
    EXPECT_EQ(root.log(), expected);
    Config_delete(c);
}

TEST_F(ConfigTest, TheLogLevelFollowsThePrinterData)
{
    makePrinter(withVersion(dword("DebugLevel", 2)));
    gDebugLevel = 0;
    Config_delete(Config_new(&devobj));
    EXPECT_EQ(gDebugLevel, 2u);
    TearDown();
    printer = nullptr;
    makePrinter(withVersion());
    gDebugLevel = 1;
    Config_delete(Config_new(&devobj));
    EXPECT_EQ(gDebugLevel, 1u);  // a missing value leaves the level
}

TEST_F(ConfigTest, ReleaseReturnsEveryByte)
{
    makePrinter(withVersion(), ",\n  \"fontList\": { \"Arial\": \"C:\\\\f\\\\a.dp\", \"Times\": \"C:\\\\f\\\\t.dp\" }");
    DWORD before = gTotalBytesAlloc;
    Config* c = Config_new(&devobj);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->fontCount, 2);
    Config_delete(c);
    EXPECT_EQ(gTotalBytesAlloc, before);
}

}  // namespace
