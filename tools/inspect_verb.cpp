// pumex inspect: reads an embosser stream back, checks every page header's
// checksum and byte count and every row, and tells what each page holds; can
// draw the pages as a PNG picture. A damaged stream is named on stderr with the
// page and byte offset of the fault, and the exit status is 1; a stream that
// cannot be read at all, or a picture that cannot be written, gives 2.
#include "stream_png.h"
#include "stream_report.h"
#include "verbs.h"

#include <fstream>
#include <iostream>
#include <iterator>
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

bool readWhole(const std::string& path, std::vector<uint8_t>& bytes)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

int runInspect(const InspectOptions& o)
{
    std::vector<uint8_t> bytes;
    if (!readWhole(o.stream, bytes)) {
        std::cerr << "pumex inspect: " << o.stream << ": cannot read the file\n";
        return 2;
    }
    formats::DecodeOptions decode;
    decode.version = o.version;
    formats::DecodedStream stream = formats::decodeStream(bytes.data(), bytes.size(), decode);

    std::cout << (o.json ? formats::streamReportJson(stream, o.stream, o.version)
                         : formats::streamReportText(stream, o.stream, o.version));
    int status = 0;
    if (!stream.ok) {
        std::cerr << "pumex inspect: " << formats::streamProblemText(stream, o.stream) << "\n";
        status = 1;
    }
    if (!o.png.empty()) {
        formats::PictureOptions options;
        options.scale = o.scale;
        options.pagesPerRow = o.perRow;
        formats::Picture picture;
        std::string error;
        if (!formats::drawStream(stream, options, picture, error) || !tools::writePng(picture, o.png, error)) {
            std::cerr << "pumex inspect: " << (error.rfind(o.png, 0) == 0 ? "" : o.png + ": ") << error << "\n";
            return 2;
        }
    }
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
