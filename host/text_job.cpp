#include "text_job.h"

#include "page_geometry.h"
#include "plugin_module.h"
#include "px/posix.h"
#include "pxtext.h"
#include "text_services.h"
#include "win32.h"

#include <cmath>

namespace host {

namespace {

// Whether the bytes are well-formed UTF-8 (no overlong forms, no surrogates).
bool isUtf8(const std::string& s)
{
    for (size_t i = 0; i < s.size();) {
        auto c = (unsigned char)s[i];
        size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (n == 0 || i + n > s.size())
            return false;
        uint32_t cp = n == 1 ? c : c & (0x7F >> n);
        for (size_t k = 1; k < n; ++k) {
            auto b = (unsigned char)s[i + k];
            if ((b >> 6) != 2)
                return false;
            cp = cp << 6 | (b & 0x3F);
        }
        static const uint32_t kLeast[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < kLeast[n] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += n;
    }
    return true;
}

std::string narrow(const std::u16string& w)
{
    std::string out(w.size() * 3 + 1, '\0');
    out.resize(px_wide_to_utf8(&out[0], out.size(), reinterpret_cast<const WCHAR*>(w.c_str())));
    return out;
}

// Appends one line of the file, wrapped at spaces into lines of `columns`.
void wrapLine(std::u16string line, size_t columns, std::vector<std::u16string>& out)
{
    while (line.size() > columns) {
        size_t cut = line.rfind(u' ', columns);
        size_t next = cut == std::u16string::npos || cut == 0 ? columns : cut + 1;
        out.push_back(line.substr(0, cut == std::u16string::npos || cut == 0 ? columns : cut));
        line.erase(0, next);
    }
    out.push_back(line);
}

// The em size at which the face's "M" advances `pixels`: braille cells then
// fall on a column grid, every character the same width in a monospaced face.
int sizeForAdvance(const std::string& face, int pixels)
{
    const int probe = 100;
    auto run = layoutText(TextOp{"MM", face, 0, 0, probe, {}, false, false, false}, {0, 0});
    int advance = run->glyphs.size() == 2 ? run->glyphs[1].ptl.x - run->glyphs[0].ptl.x : 0;
    int size = advance > 0 ? (int)std::lround((double)pixels * probe / advance) : pixels;
    for (int s : {size, size - 1, size + 1}) {
        auto check = layoutText(TextOp{"MM", face, 0, 0, s, {}, false, false, false}, {0, 0});
        if (check->glyphs[1].ptl.x - check->glyphs[0].ptl.x == pixels)
            return s;
    }
    return size;
}

}  // namespace

std::string firstBrailleFace(const std::string& printer)
{
    std::u16string key = u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
    std::u16string name(printer.size() + 1, u'\0');
    name.resize(px_utf8_to_wide(reinterpret_cast<WCHAR*>(&name[0]), name.size(), printer.c_str()));
    key += name + u"\\FontList";
    HANDLE handle = nullptr;
    if (!OpenPrinterW(reinterpret_cast<LPWSTR>(&name[0]), &handle, nullptr))
        throw HostError("printer \"" + printer + "\": not found in " + PxGetSystemRoot() +
                        "/printers (or its file is invalid)");
    ClosePrinter(handle);
    HKEY hkey = nullptr;
    WCHAR face[256] = {};
    DWORD chars = 256;
    bool found = RegOpenKeyExW(HKEY_LOCAL_MACHINE, reinterpret_cast<LPCWSTR>(key.c_str()), 0, KEY_READ, &hkey) ==
                     ERROR_SUCCESS &&
                 RegEnumValueW(hkey, 0, face, &chars, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    if (hkey)
        RegCloseKey(hkey);
    if (!found || face[0] == 0)
        throw HostError("printer \"" + printer + "\": no braille font in its font list, so text cannot become braille");
    return narrow(reinterpret_cast<const char16_t*>(face));
}

std::vector<std::vector<std::u16string>> layOutText(const std::u16string& text, size_t columns, size_t lines)
{
    std::vector<std::vector<std::u16string>> pages(1);
    std::u16string line;
    auto flush = [&](bool newPage) {
        std::vector<std::u16string> wrapped;
        wrapLine(line, columns, wrapped);
        for (const std::u16string& w : wrapped) {
            if (pages.back().size() == lines)
                pages.emplace_back();
            pages.back().push_back(w);
        }
        line.clear();
        if (newPage)
            pages.emplace_back();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'\n' || c == u'\f')
            flush(c == u'\f');
        else if (c == u'\t')
            line += u' ';
        else if (c != u'\r')
            line += c;
    }
    if (!line.empty())
        flush(false);
    return pages;
}

JobSpec textJob(const std::string& source, const std::string& utf8, const ImageJobOptions& options)
{
    if (!isUtf8(utf8))
        throw JobError(source + ": not UTF-8 text");
    JobSpec job = jobFromOptions(source, options);

    DEVMODEW dm = buildDevMode(job.devmode, job.printer);
    PageSize page = pageSizeFor(dm, paperOf(dm, nullptr, {}));
    int rf = std::max(1, options.printQuality / 20);
    int columns = page.cx / rf - 2 * kTextMarginPositions, rows = page.cy / rf - 2 * kTextMarginPositions;
    if (columns < kTextCellColumns || rows < kTextLineRows)
        throw JobError(source + ": the page has no room for a line of braille");
    std::string face = firstBrailleFace(job.printer);
    int size = sizeForAdvance(face, kTextCellColumns * rf);

    std::u16string text(utf8.size() + 1, u'\0');
    text.resize(px_utf8_to_wide(reinterpret_cast<WCHAR*>(&text[0]), text.size(), utf8.c_str()));
    for (const auto& lines : layOutText(text, (size_t)(columns / kTextCellColumns), (size_t)(rows / kTextLineRows))) {
        PageSpec spec;
        for (size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].find_first_not_of(u' ') == std::u16string::npos)
                continue;
            int y = (kTextMarginPositions + (int)i * kTextLineRows) * rf;
            spec.ops.push_back(TextOp{narrow(lines[i]), face, kTextMarginPositions * rf, y, size, {}, false, false,
                                      false});
        }
        job.pages.push_back(std::move(spec));
    }
    return job;
}

}  // namespace host
