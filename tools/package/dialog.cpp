// The driver package's dialog program "qruxprdlg.dll": tells the person
// printing what the plug-in cannot, from inside the spooler:
//   --error 33 --printer NAME --files FRONT BACK   how to emboss a double-sided document
//   --error 34 --printer NAME                      which braille font files are missing
// Exit status 0 when the message was given, 2 for a command line it does not know.
#include "package_text.h"
#include "stream_decode.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace {

// Pages in a stream file of the printer; -1 when it cannot be read or decoded.
long countPages(const std::string& file, const std::string& printer)
{
    char mapped[4096];
    if (!PxMapPath(file.c_str(), mapped, sizeof mapped))
        return -1;
    std::ifstream in(mapped, std::ios::binary);
    if (!in)
        return -1;
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    formats::DecodeOptions options;
    options.version = package::outputVersion(printer);
    formats::DecodedStream stream = formats::decodeStream(bytes.data(), bytes.size(), options);
    return stream.ok ? (long)stream.pages.size() : -1;
}

std::string pagesText(long pages)
{
    if (pages < 0)
        return "pages unknown";
    return std::to_string(pages) + (pages == 1 ? " page" : " pages");
}

void explainDoubleSided(const std::string& printer, const std::string& front, const std::string& back)
{
    std::ostringstream m;
    m << printer << ": this document is embossed on both sides of the paper, in two passes.\n"
      << "  1. Emboss the front sides first: " << front << " (" << pagesText(countPages(front, printer)) << ").\n"
      << "  2. Take the embossed stack out as it lies, turn it over along its long edge so that the blank\n"
      << "     sides face up and the first page is on top again, and put it back in the feeder.\n"
      << "  3. Emboss the back sides: " << back << " (" << pagesText(countPages(back, printer)) << ").\n";
    package::tellUser(m.str());
}

// The printer's font list (source face -> braille font file), as the plug-in reads it.
std::vector<std::pair<std::string, std::string>> fontList(const std::string& printer)
{
    std::vector<std::pair<std::string, std::string>> list;
    std::u16string path = package::wide("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\" + printer +
                                        "\\FontList");
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return list;
    for (DWORD i = 0;; ++i) {
        WCHAR name[260];
        BYTE data[4096];
        DWORD nameChars = 260, size = sizeof data - 2, type = 0;
        if (RegEnumValueW(key, i, name, &nameChars, nullptr, &type, data, &size) != ERROR_SUCCESS)
            break;
        data[size] = data[size + 1] = 0;
        list.emplace_back(package::utf8(name), package::utf8(reinterpret_cast<const WCHAR*>(data)));
    }
    RegCloseKey(key);
    return list;
}

void explainMissingFonts(const std::string& printer)
{
    std::ostringstream m;
    m << printer << ": braille font files are missing; text in these faces cannot be embossed as braille:\n";
    int missing = 0;
    for (const auto& [face, file] : fontList(printer)) {
        char mapped[4096];
        struct stat st;
        if (PxMapPath(file.c_str(), mapped, sizeof mapped) && ::stat(mapped, &st) == 0)
            continue;
        m << "  " << face << ": " << file << " (looked for " << mapped << ")\n";
        ++missing;
    }
    if (!missing)
        m << "  (every font file listed for the printer is there now)\n";
    package::tellUser(m.str());
}

}  // namespace

int main(int argc, char** argv)
{
    long error = -1;
    std::string printer, front, back;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--error") && i + 1 < argc)
            error = std::strtol(argv[++i], nullptr, 10);
        else if (!std::strcmp(argv[i], "--printer") && i + 1 < argc)
            printer = argv[++i];
        else if (!std::strcmp(argv[i], "--files") && i + 2 < argc)
            front = argv[++i], back = argv[++i];
        else
            break;
    }
    if (error == 33 && !front.empty()) {
        explainDoubleSided(printer, front, back);
        return 0;
    }
    if (error == 34) {
        explainMissingFonts(printer);
        return 0;
    }
    package::tellUser("qruxprdlg: usage: --error 33 --printer NAME --files FRONT BACK | --error 34 --printer NAME\n");
    return 2;
}
