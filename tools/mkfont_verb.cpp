// pumex mkfont: build a braille font file from a text table, print a font
// back as a table, or print the table of the Unicode braille patterns.
//
//   pumex mkfont TABLE -o FONT
//   pumex mkfont --dump FONT [-o TABLE]
//   pumex mkfont --unicode-patterns [-o TABLE]
//
// The table form is described in host/braille_table.h.
#include "braille_table.h"
#include "output_file.h"
#include "verbs.h"

#include <iostream>
#include <memory>
#include <sstream>

namespace verbs {

namespace {

struct MkfontOptions {
    std::string input;
    std::string output;
    bool dump = false;
    bool unicodePatterns = false;
};

const char kPatternsHeading[] =
    "# The Unicode braille patterns, U+2800 to U+28FF: every code embosses its\n"
    "# own dots (U+2800 + dots, dot k counting 2 to the power k - 1).\n"
    "# Made by `pumex mkfont --unicode-patterns`.\n";

// Writes text to the named file, or to standard output when none is named.
int writeText(const std::string& path, const std::string& text)
{
    if (path.empty()) {
        std::cout << text;
        return std::cout.flush() ? 0 : 2;
    }
    std::string error = tools::writeOutputFile(path, text);
    if (!error.empty()) {
        std::cerr << "pumex mkfont: " << error << "\n";
        return 2;
    }
    return 0;
}

// Refuses an output that cannot be written or is the input, before reading anything.
bool outputUsable(const MkfontOptions& o)
{
    if (o.output.empty())
        return true;
    std::string error = tools::checkOutputTarget(o.output, {o.input});
    if (!error.empty())
        std::cerr << "pumex mkfont: " << error << "\n";
    return error.empty();
}

int runMkfont(const MkfontOptions& o)
{
    if (o.dump && o.unicodePatterns) {
        std::cerr << "pumex mkfont: --dump and --unicode-patterns do not go together\n";
        return 2;
    }
    if (o.unicodePatterns) {
        if (!o.input.empty()) {
            std::cerr << "pumex mkfont: --unicode-patterns takes no input file\n";
            return 2;
        }
        return writeText(o.output, braille::formatTable(braille::unicodePatternsTable(), kPatternsHeading));
    }
    if (o.input.empty()) {
        std::cerr << "pumex mkfont: name a table (or a font with --dump)\n";
        return 2;
    }
    if (!o.dump && o.output.empty()) {
        std::cerr << "pumex mkfont: name the font file to write with -o FONT\n";
        return 2;
    }
    if (!outputUsable(o))
        return 2;
    std::string result;
    int status = 0;
    if (o.dump) {
        std::ostringstream text;
        status = braille::dumpFontFile(o.input, text, std::cerr);
        result = text.str();
    } else {
        status = braille::buildFont(o.input, result, std::cerr);
    }
    return status != 0 ? status : writeText(o.output, result);
}

}  // namespace

Runner addMkfont(CLI::App& app)
{
    auto options = std::make_shared<MkfontOptions>();
    CLI::App* cmd = app.add_subcommand("mkfont", "build a braille font file from a table, or dump one");
    cmd->add_option("input", options->input, "table to build from (with --dump: font to read)");
    cmd->add_option("-o,--output", options->output, "file to write (for --dump and --unicode-patterns: "
                                                     "default standard output)");
    cmd->add_flag("--dump", options->dump, "print a font file back as a table");
    cmd->add_flag("--unicode-patterns", options->unicodePatterns,
                  "print the 8-dot table of the Unicode braille patterns");
    return [cmd, options]() -> int {
        if (!cmd->parsed())
            return -1;
        return runMkfont(*options);
    };
}

}  // namespace verbs
