// pumex inspect: reads an embosser stream back, checks every page header's
// checksum and byte count and every row, and tells what each page holds; can
// draw the pages as a PNG picture. A damaged stream is named on stderr with the
// page and byte offset of the fault, and the exit status is 1, as for a stream
// that cannot be read at all; a picture that cannot be written gives 2.
#include "input_file.h"
#include "output_file.h"
#include "stream_png.h"
#include "stream_report.h"
#include "verbs.h"

#include <iostream>
#include <memory>
#include <sstream>

namespace verbs {

namespace {

struct InspectOptions {
    std::string stream;
    std::string png;
    bool json = false;
    unsigned version = 3;
    unsigned scale = 4;
    unsigned perRow = 4;
};

// Largest stream read: thousands of full pages, more than any document.
constexpr size_t kMaxStreamBytes = size_t(256) << 20;

// The picture of the stream into the --png file; 0, or 2 after saying why not.
int writePicture(const formats::DecodedStream& stream, const InspectOptions& o)
{
    formats::PictureOptions options;
    options.scale = o.scale;
    options.pagesPerRow = o.perRow;
    formats::Picture picture;
    std::string error;
    if (!formats::drawStream(stream, options, picture, error))
        error = o.png + ": " + error;
    else
        error = tools::writeOutputFile(o.png, [&](FILE* file) { return tools::writePng(picture, file); });
    if (error.empty())
        return 0;
    std::cerr << "pumex inspect: " << error << "\n";
    return 2;
}

// A hint for a stream that fails as read but reads whole as output version 1.
std::string versionHint(const std::vector<uint8_t>& bytes, const InspectOptions& o)
{
    if (o.version == 1)
        return {};
    formats::DecodeOptions packed;
    packed.version = 1;
    formats::DecodedStream again = formats::decodeStream(bytes.data(), bytes.size(), packed);
    return again.ok ? " (it reads whole as output version 1: try --output-version 1)" : "";
}

int runInspect(const InspectOptions& o)
{
    if (!o.png.empty()) {
        std::string error = tools::checkOutputTarget(o.png, {o.stream});
        if (!error.empty()) {
            std::cerr << "pumex inspect: " << error << "\n";
            return 2;
        }
    }
    std::string text, problem;
    if (!formats::readInputFile(o.stream, kMaxStreamBytes, text, problem)) {
        std::cerr << "pumex inspect: " << o.stream << ": " << problem << "\n";
        return 1;
    }
    if (text.empty()) {
        std::cerr << "pumex inspect: " << o.stream << ": the stream is empty\n";
        return 1;
    }
    std::vector<uint8_t> bytes(text.begin(), text.end());
    formats::DecodeOptions decode;
    decode.version = o.version;
    formats::DecodedStream stream = formats::decodeStream(bytes.data(), bytes.size(), decode);

    std::cout << (o.json ? formats::streamReportJson(stream, o.stream, o.version)
                         : formats::streamReportText(stream, o.stream, o.version));
    int status = 0;
    if (!stream.ok) {
        std::cerr << "pumex inspect: " << formats::streamProblemText(stream, o.stream) << versionHint(bytes, o)
                  << "\n";
        status = 1;
    }
    if (!o.png.empty() && writePicture(stream, o) != 0)
        return 2;
    return status;
}

}  // namespace

Runner addInspect(CLI::App& app)
{
    auto o = std::make_shared<InspectOptions>();
    CLI::App* cmd = app.add_subcommand("inspect", "decode and check an embosser stream");
    cmd->add_option("STREAM", o->stream, "embosser stream file")->required();
    cmd->add_option("--png", o->png, "draw the pages into this PNG file (the complete pages, if damaged)");
    cmd->add_flag("--json", o->json, "report as JSON");
    cmd->add_option("--output-version", o->version,
                    "output version the stream was made with: 1 packed rows, 2 or 3 encoded or plain rows, "
                    "others header only (default 3)");
    cmd->add_option("--scale", o->scale, "picture pixels per cell side (default 4)")->check(CLI::Range(1, 32));
    cmd->add_option("--per-row", o->perRow, "pages side by side in the picture (default 4)")->check(CLI::Range(1, 100));
    return [cmd, o]() -> int {
        if (!cmd->parsed())
            return -1;
        return runInspect(*o);
    };
}

}  // namespace verbs
