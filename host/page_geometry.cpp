#include "page_geometry.h"

#include "pxtext.h"

#include <vector>

namespace host {

namespace {

constexpr SIZEL kLetter = {2159, 2794};

void copyName(WCHAR* out, size_t cap, const std::string& text)
{
    px_utf8_to_wide(out, cap, text.c_str());
    out[cap - 1] = 0;
}

// The size of the last entry of the printer's paper list with the device
// mode's paper id; false when the list has no such paper.
bool paperFromList(const DEVMODEW& dm, const std::u16string& printer, SIZEL& paper)
{
    const WCHAR* name = reinterpret_cast<const WCHAR*>(printer.c_str());
    int n = DeviceCapabilitiesW(name, nullptr, DC_PAPERS, nullptr, &dm);
    if (n <= 0)
        return false;
    std::vector<WORD> ids((size_t)n);
    DeviceCapabilitiesW(name, nullptr, DC_PAPERS, reinterpret_cast<LPWSTR>(ids.data()), &dm);
    int found = -1;
    for (int i = 0; i < n; ++i)
        if (ids[i] == (WORD)dm.dmPaperSize)
            found = i;
    int k = found < 0 ? 0 : DeviceCapabilitiesW(name, nullptr, DC_PAPERSIZE, nullptr, &dm);
    if (found < 0 || k <= found)
        return false;
    std::vector<POINT> sizes((size_t)k);
    DeviceCapabilitiesW(name, nullptr, DC_PAPERSIZE, reinterpret_cast<LPWSTR>(sizes.data()), &dm);
    paper = {sizes[found].x, sizes[found].y};
    return true;
}

bool paperFromForm(const DEVMODEW& dm, HANDLE hPrinter, SIZEL& paper)
{
    DWORD needed = 0;
    WCHAR* form = const_cast<WCHAR*>(dm.dmFormName);
    GetFormW(hPrinter, form, 1, nullptr, 0, &needed);
    if (!needed)
        return false;
    std::vector<BYTE> buffer(needed);
    if (!GetFormW(hPrinter, form, 1, buffer.data(), needed, &needed))
        return false;
    auto* info = reinterpret_cast<const FORM_INFO_1W*>(buffer.data());
    paper = {info->Size.cx / 100, info->Size.cy / 100};
    return true;
}

}  // namespace

DEVMODEW buildDevMode(const DevModeSpec& spec, const std::string& printer)
{
    DEVMODEW dm{};
    copyName(dm.dmDeviceName, CCHDEVICENAME, printer);
    dm.dmSpecVersion = 0x0401;
    dm.dmSize = sizeof dm;
    dm.dmFields = DM_ORIENTATION | DM_COPIES | DM_PRINTQUALITY | DM_YRESOLUTION | DM_COLLATE;
    dm.dmOrientation = spec.landscape ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
    dm.dmCopies = spec.copies;
    dm.dmPrintQuality = spec.printQuality;
    dm.dmYResolution = spec.yResolution;
    dm.dmCollate = spec.collate ? DMCOLLATE_TRUE : DMCOLLATE_FALSE;
    if (spec.paperWidth || spec.paperLength) {
        dm.dmFields |= (spec.paperWidth ? DM_PAPERWIDTH : 0) | (spec.paperLength ? DM_PAPERLENGTH : 0);
        dm.dmPaperWidth = spec.paperWidth.value_or(0);
        dm.dmPaperLength = spec.paperLength.value_or(0);
    }
    if (spec.paperSize) {
        dm.dmFields |= DM_PAPERSIZE;
        dm.dmPaperSize = *spec.paperSize;
    }
    if (spec.formName) {
        dm.dmFields |= DM_FORMNAME;
        copyName(dm.dmFormName, CCHFORMNAME, *spec.formName);
    }
    return dm;
}

SIZEL paperOf(const DEVMODEW& dm, HANDLE hPrinter, const std::u16string& printer)
{
    SIZEL paper = kLetter;
    if (dm.dmFields & (DM_PAPERWIDTH | DM_PAPERLENGTH))
        return {dm.dmPaperWidth, dm.dmPaperLength};
    if (!hPrinter)
        return paper;
    if ((dm.dmFields & DM_PAPERSIZE) && paperFromList(dm, printer, paper))
        return paper;
    if ((dm.dmFields & DM_FORMNAME) && paperFromForm(dm, hPrinter, paper))
        return paper;
    return kLetter;
}

PageSize pageSizeFor(const DEVMODEW& dm, SIZEL paper)
{
    int32_t width = (int32_t)dm.dmPrintQuality * paper.cx / 254;
    int32_t height = (int32_t)dm.dmYResolution * paper.cy / 254;
    if (dm.dmOrientation == DMORIENT_LANDSCAPE)
        return {height, width};
    return {width, height};
}

}  // namespace host
