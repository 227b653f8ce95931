#include "package_text.h"

#include <cstdio>
#include <cstdlib>

namespace package {

std::string utf8(const WCHAR* text)
{
    if (!text)
        return {};
    std::string out(px_wcslen(text) * 3 + 1, '\0');
    out.resize(px_wide_to_utf8(&out[0], out.size(), text));
    return out;
}

std::u16string wide(const std::string& text)
{
    std::u16string out(text.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(&out[0], out.size(), text.c_str()));
    return out;
}

void tellUser(const std::string& message)
{
    const char* messages = std::getenv("PUMEX_MESSAGES");
    FILE* out = messages && *messages ? std::fopen(messages, "a") : nullptr;
    if (!out)
        out = std::fopen("/dev/tty", "w");
    FILE* where = out ? out : stderr;
    std::fputs(message.c_str(), where);
    if (out)
        std::fclose(out);
}

unsigned outputVersion(const std::string& printer)
{
    std::u16string name = package::wide(printer);
    HANDLE h = nullptr;
    DWORD version = 3, type = 0, needed = 0;
    if (!printer.empty() && OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &h, nullptr)) {
        DWORD value = 0;
        if (GetPrinterDataExW(h, WSTR("Config"), WSTR("OutputVersion"), &type, (LPBYTE)&value, sizeof value,
                              &needed) == ERROR_SUCCESS &&
            needed == sizeof value)
            version = value;
        ClosePrinter(h);
    }
    return version;
}

}  // namespace package
