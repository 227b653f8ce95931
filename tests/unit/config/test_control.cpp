// The one-shot control string: the parser's rules and the read-and-erase cycle.
#include "printer_fixture.h"

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

Config defaults()
{
    Config c{};
    Config_setDefaults(&c);
    return c;
}

Config parsed(const std::string& text, Config c = defaults())
{
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back(0);
    EXPECT_EQ(Config_parseControlString(&c, buffer.data()), 0);
    return c;
}

TEST(ControlString, SeparatorsCaseAndSharedValues)
{
    Config c = parsed("brightness=50;contrast=-20");
    EXPECT_EQ(c.Brightness, 50);
    EXPECT_EQ(c.Contrast, -20);

    // While a "," is still ahead, ";" does not separate: both keywords read "10;CONTRAST=20".
    c = parsed("BRIGHTNESS=10;CONTRAST=20,COLLATE=1");
    EXPECT_EQ(c.Brightness, 10);
    EXPECT_EQ(c.Contrast, 10);
    EXPECT_EQ(c.Collate, 1);

    c = parsed("MEDIATYPE=CARDSTOCK,DOTHEIGHT=LOW,MAGNIFICATION=2");
    EXPECT_EQ(c.mediaType, 267);
    EXPECT_EQ(c.dotHeight, 2);
    EXPECT_EQ(c.Magnification, 2);
}

TEST(ControlString, ValueRules)
{
    // Every field as a number, whatever its declared type.
#define FIELD(name) [](const Config& c) { return (long long)c.name; }
    struct Case {
        const char* text;
        long long (*field)(const Config&);
        long long expected;
    } cases[] = {
        {"MAGNIFICATION=4", FIELD(Magnification), 1},          {"MAGNIFICATION=0", FIELD(Magnification), 1},
        {"MAGNIFICATION=6", FIELD(Magnification), 6},          {"PRINTODD=EVEN", FIELD(PrintOdd), 2},
        {"PREVIEW=10", FIELD(Preview), 0},                     {"PREVIEW=ON", FIELD(Preview), 0},
        {"PREVIEW=yes", FIELD(Preview), 1},                    {"INVERTCOLOR=NOT TRUE", FIELD(InvertColor), 0},
        {"BRIGHTNESS=101", FIELD(Brightness), 6},              {"BRIGHTNESS=-100", FIELD(Brightness), -100},
        {"BRIGHTNESS=  +7xyz", FIELD(Brightness), 7},          {"BRIGHTNESS=abc", FIELD(Brightness), 0},
        {"BRIGHTNESS=99999999999999999999", FIELD(Brightness), 6},
        {"CONTRAST", FIELD(Contrast), 5},                      {"UNKNOWN=5", FIELD(Brightness), 6},
        {"DOTHEIGHT=NORMAL", FIELD(dotHeight), 1},             {"DOTHEIGHT=HIGH", FIELD(dotHeight), 0},
        {"DOTHEIGHT=LIGHT", FIELD(dotHeight), 2},              {"DITHERING=DIFFUSION1D", FIELD(dithering), 3},
        {"MEDIATYPE=LIGHTBRAILLEPAPER", FIELD(mediaType), 269}, {"MINCUSTPFORCE=0", FIELD(minCustPForce), 0},
        {"MAXCUSTPFORCE=27", FIELD(maxCustPForce), 17},        {"MAXCUSTPFORCE=26", FIELD(maxCustPForce), 26},
    };
    for (const Case& k : cases) {
        Config c = parsed(k.text);
        EXPECT_EQ(k.field(c), k.expected) << k.text;
    }
    // A boolean keyword token also passes through the keywords it contains.
    Config c = parsed("NOWHITESPACEMAGNIFICATION=1");
    EXPECT_EQ(c.Magnification, 1);
    c.Magnification = 3;
    c = parsed("NOWHITESPACEMAGNIFICATION=1", c);
    EXPECT_EQ(c.Magnification, 1);
    c.Magnification = 3;
    c = parsed("NOWHITESPACEMAGNIFICATION=TRUE", c);
    EXPECT_EQ(c.Magnification, 3);
}

class ControlFlags : public PrinterTest {
protected:
    Config* newConfig()
    {
        Config* c = Config_new(&devobj);
        EXPECT_NE(c, nullptr);
        return c;
    }
    LONG read(Config* c) { return Config_readControlFlags(c, u"Embosser"); }
    std::string controlFlagsJson()
    {
        std::string file = printerFile();
        size_t at = file.find("\"ControlFlags\"");
        return at == std::string::npos ? "" : file.substr(at, file.find('}', at) - at + 1);
    }
};

// Read once and erased: a binary value is applied to the document that reads
// it, one of another type is not; either way the value stays, of its type and
// with no bytes, so the next document applies and rewrites nothing.
TEST_F(ControlFlags, AppliedToTheNextDocumentOnlyAndLeftEmpty)
{
    const struct {
        const char* type;
        const char *value, *erased;  // as the printer file holds it
        LONG result;
        INT brightness;
    } cases[] = {
        {"binary", "\"BRIGHTNESS=40\"", "\"\"", 0, 40},
        {"sz", "\"BRIGHTNESS=40\"", "null", -2, 2},
    };
    for (const auto& [type, value, erased, result, brightness] : cases) {
        SCOPED_TRACE(type);
        makePrinter(withVersion(dword("Brightness", 2) + ", \"ControlFlags\": {\"type\": \"" + type +
                                "\", \"value\": " + value + "}"));
        Config* c = newConfig();
        EXPECT_EQ(read(c), result);
        EXPECT_EQ(c->Brightness, brightness);
        Config_delete(c);
        EXPECT_EQ(controlFlagsJson(), "\"ControlFlags\": { \"type\": \""s + type + "\", \"value\": " + erased + " }");

        const std::string before = printerFile();
        c = newConfig();
        read(c);
        EXPECT_EQ(c->Brightness, 2);
        Config_delete(c);
        EXPECT_EQ(printerFile(), before) << "nothing is rewritten";
        ClosePrinter(printer);
        printer = nullptr;
    }
}

}  // namespace
