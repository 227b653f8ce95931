// The preview viewer: shows an embosser stream as a picture. Started by the
// plug-in as `"<viewer>" "<stream file>" -printer "<printer>"`, it draws the
// pages into a PNG beside the stream and opens it with the desktop's viewer;
// without a display it says where the picture is.
// Exit status 0 when the picture was written, 1 when the stream or the
// picture could not be handled, 2 for a bad command line.
#include "package_text.h"
#include "stream_picture.h"
#include "output_file.h"
#include "stream_png.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {

bool haveDisplay() { return std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY"); }

// Opens the picture with the desktop's viewer, without waiting for it.
bool openOnDesktop(const std::string& png)
{
    const char* argv[] = {"xdg-open", png.c_str(), nullptr};
    pid_t pid = 0;
    return posix_spawnp(&pid, "xdg-open", nullptr, nullptr, const_cast<char**>(argv), environ) == 0;
}

int fail(const std::string& message)
{
    package::tellUser("PumexViewer: " + message + "\n");
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || (argc != 2 && (argc != 4 || std::strcmp(argv[2], "-printer") != 0))) {
        package::tellUser("PumexViewer: usage: PumexViewer STREAM [-printer NAME]\n");
        return 2;
    }
    std::string printer = argc == 4 ? argv[3] : "";
    char stream[4096];
    if (!PxMapPath(argv[1], stream, sizeof stream))
        return fail(std::string(argv[1]) + ": path too long");
    std::ifstream in(stream, std::ios::binary);
    if (!in)
        return fail(std::string(stream) + ": cannot be read");
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    formats::DecodeOptions decode;
    decode.version = package::outputVersion(printer);
    formats::DecodedStream pages = formats::decodeStream(bytes.data(), bytes.size(), decode);
    if (!pages.ok)
        return fail(std::string(stream) + ": page " + std::to_string(pages.problem.page) + ", byte " +
                    std::to_string(pages.problem.offset) + ": " + pages.problem.message);
    formats::Picture picture;
    std::string error;
    std::string png = std::string(stream) + ".png";
    if (!formats::drawStream(pages, formats::PictureOptions(), picture, error))
        return fail(png + ": " + error);
    error = tools::writeOutputFile(png, [&](FILE* file) { return tools::writePng(picture, file); });
    if (!error.empty())
        return fail(error);
    if (haveDisplay() && openOnDesktop(png))
        return 0;
    package::tellUser("Preview of " + std::to_string(pages.pages.size()) + " page(s) for " +
                      (printer.empty() ? std::string("the printer") : printer) + ": " + png + "\n");
    return 0;
}
