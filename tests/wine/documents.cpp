// The scripted documents: graphics pages sent through the document hooks as
// the universal driver sends them (document start, pages in bands or whole
// with page send, document end), on surfaces this program owns, with the
// host's helper interface collecting what the plug-in spools.
#include "driver_check.h"
#include "driver_uni.h"

#include <cstdio>
#include <vector>

namespace {

const WCHAR kPrinter[] = WSTR("Pumex Embosser");

// What the plug-in spools, through the host's helper interface.
struct SpoolCollector {
    std::vector<BYTE> bytes;
    host::DriverUni uni{[this](const BYTE* data, DWORD size) {
        bytes.insert(bytes.end(), data, data + size);
        return true;
    }};
};

// The driver's own document functions, which the plug-in calls on to.
BOOL APIENTRY driverStartDoc(SURFOBJ*, PWSTR, DWORD) { return TRUE; }
BOOL APIENTRY driverEndDoc(SURFOBJ*, FLONG) { return TRUE; }
BOOL APIENTRY driverStartPage(SURFOBJ*) { return TRUE; }
BOOL APIENTRY driverSendPage(SURFOBJ*) { return TRUE; }

template <typename Fn>
PFN asPFN(Fn fn)
{
    return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(fn));
}

struct Document {
    const char* name;
    SHORT dpi;
    bool landscape;
    bool banded;
    int pages;
    SHORT copies;
    bool collate;
    DWORD dithering;
    DWORD interpoint;
    DWORD printOdd;  // 1: front sides only, 2: back sides only (both to the spooler)
};

// Few and telling: both orientations and resolutions, bands and whole pages,
// a dithered grey ramp, collated and uncollated copies, both sides of a
// three-page double-sided document.
const Document kDocuments[] = {
    {"portrait-100-banded", 100, false, true, 1, 1, false, 0, 0, 0},
    {"landscape-100-whole", 100, true, false, 1, 1, false, 0, 0, 0},
    {"portrait-300-whole", 300, false, false, 1, 1, false, 0, 0, 0},
    {"landscape-300-banded", 300, true, true, 1, 1, false, 0, 0, 0},
    {"ramp-dithered", 100, false, true, 1, 1, false, 1, 0, 0},
    {"copies3-collated", 100, false, false, 2, 3, true, 0, 0, 0},
    {"copies3-uncollated", 100, false, true, 2, 3, false, 0, 0, 0},
    {"interpoint-fronts", 100, false, true, 3, 1, false, 0, 1, 1},
    {"interpoint-backs", 100, false, false, 3, 1, false, 0, 1, 2},
};

// US Letter in tenths of a millimetre, as the device mode names it.
const SHORT kPaperWidth = 2159, kPaperLength = 2794;

// The grey a page shows at a page pixel: a ramp from black to white across
// the top quarter, and a black square whose place moves with the page number.
BYTE pageGrey(const Document& doc, int page, LONG x, LONG y, LONG width, LONG height)
{
    if (y < height / 4)
        return (BYTE)(255 * x / width);
    LONG side = doc.dpi, left = side / 2 + page * side / 2, top = height / 2;
    return x >= left && x < left + side && y >= top && y < top + side ? 0 : 255;
}

// A 24-bpp surface of its own memory, top-down, rows padded to four bytes.
struct Surface {
    SURFOBJ so{};
    std::vector<BYTE> pixels;
    Surface(LONG cx, LONG cy, DEVOBJ* device)
    {
        LONG stride = (cx * 3 + 3) & ~3;
        pixels.assign((size_t)stride * (size_t)cy, 255);
        so.dhpdev = reinterpret_cast<DHPDEV>(device);
        so.sizlBitmap = {cx, cy};
        so.cjBits = (ULONG)pixels.size();
        so.pvBits = so.pvScan0 = pixels.data();
        so.lDelta = stride;
        so.iBitmapFormat = BMF_24BPP;
        so.iType = STYPE_BITMAP;
    }
    // Draws the page as it falls on this surface when its corner is at origin.
    void draw(const Document& doc, int page, POINTL origin, LONG pageWidth, LONG pageHeight)
    {
        for (LONG y = 0; y < so.sizlBitmap.cy; ++y) {
            BYTE* row = pixels.data() + (size_t)y * (size_t)so.lDelta;
            for (LONG x = 0; x < so.sizlBitmap.cx; ++x) {
                LONG px = x + origin.x, py = y + origin.y;
                BYTE g = px < pageWidth && py < pageHeight ? pageGrey(doc, page, px, py, pageWidth, pageHeight) : 255;
                row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = g;
            }
        }
    }
};

// The hooks the plug-in handed over, by driver function index.
struct Hooks {
    DRVENABLEDATA table{};
    template <typename Fn>
    Fn get(ULONG index) const
    {
        for (ULONG i = 0; i < table.c; ++i)
            if (table.pdrvfn[i].iFunc == index)
                return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(table.pdrvfn[i].pfn));
        return nullptr;
    }
};

void setSetting(HANDLE printer, const WCHAR* name, DWORD value)
{
    SetPrinterDataExW(printer, WSTR("Config"), name, REG_DWORD, reinterpret_cast<LPBYTE>(&value), sizeof value);
}

// The printer's settings for one document; every one the documents vary is
// written each time, so no document inherits another's.
void writeSettings(HANDLE printer, const Document& doc)
{
    setSetting(printer, WSTR("DebugLevel"), 0);
    setSetting(printer, WSTR("OutputVersion"), 3);
    setSetting(printer, WSTR("Dithering"), doc.dithering);
    setSetting(printer, WSTR("InterPoint"), doc.interpoint);
    setSetting(printer, WSTR("PrintOdd"), doc.printOdd);
}

DEVMODEW deviceMode(const Document& doc)
{
    DEVMODEW dm{};
    dm.dmSize = sizeof dm;
    dm.dmFields = DM_ORIENTATION | DM_PAPERLENGTH | DM_PAPERWIDTH | DM_COPIES | DM_PRINTQUALITY | DM_YRESOLUTION |
                  DM_COLLATE;
    dm.dmOrientation = doc.landscape ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
    dm.dmPaperWidth = kPaperWidth;
    dm.dmPaperLength = kPaperLength;
    dm.dmCopies = doc.copies;
    dm.dmPrintQuality = doc.dpi;
    dm.dmYResolution = doc.dpi;
    dm.dmCollate = doc.collate ? DMCOLLATE_TRUE : DMCOLLATE_FALSE;
    return dm;
}

// One page in bands: the plug-in names each band's corner until (-1, -1).
bool printBanded(const Hooks& hooks, const Document& doc, int page, Surface& band, LONG cx, LONG cy)
{
    auto startBanding = hooks.get<PFN_DrvStartBanding>(INDEX_DrvStartBanding);
    auto nextBand = hooks.get<PFN_DrvNextBand>(INDEX_DrvNextBand);
    POINTL origin{};
    if (!startBanding(&band.so, &origin))
        return false;
    for (int guard = 0; guard < 64; ++guard) {
        band.draw(doc, page, origin, cx, cy);
        if (!nextBand(&band.so, &origin))
            return false;
        if (origin.x == -1 && origin.y == -1)
            return true;
    }
    return false;
}

bool printWhole(const Hooks& hooks, const Document& doc, int page, Surface& whole, LONG cx, LONG cy)
{
    whole.draw(doc, page, {0, 0}, cx, cy);
    return hooks.get<PFN_DrvSendPage>(INDEX_DrvSendPage)(&whole.so);
}

// The whole document, from device enable to disable; the spooled bytes in out.
bool printDocument(IPrintOemUni* plugin, const Hooks& hooks, HANDLE printer, const Document& doc,
                   SpoolCollector& spool)
{
    spool.bytes.clear();
    DEVMODEW dm = deviceMode(doc);
    DEVOBJ device{};
    device.dwSize = sizeof device;
    device.hPrinter = printer;
    device.pPublicDM = &dm;
    DRVFN driverFns[] = {{INDEX_DrvStartDoc, asPFN(driverStartDoc)},
                         {INDEX_DrvEndDoc, asPFN(driverEndDoc)},
                         {INDEX_DrvStartPage, asPFN(driverStartPage)},
                         {INDEX_DrvSendPage, asPFN(driverSendPage)}};
    DRVENABLEDATA driver{PRINTER_OEMINTF_VERSION, 4, driverFns};
    DEVINFO info{};
    PDEVOEM record = nullptr;
    if (plugin->EnablePDEV(&device, const_cast<PWSTR>(kPrinter), 0, nullptr, 0, nullptr, sizeof info, &info, &driver,
                           &record) != S_OK ||
        !record)
        return false;
    device.pdevOEM = record;

    // The page in device pixels: landscape surfaces lie along the paper's length.
    LONG across = doc.dpi * kPaperWidth / 254, along = doc.dpi * kPaperLength / 254;
    LONG cx = doc.landscape ? along : across, cy = doc.landscape ? across : along;
    // Banded, the driver's surface is one band of a quarter page, cut along
    // the paper as GDI cuts it; whole, it is the page.
    LONG sx = doc.banded && doc.landscape ? cx / 4 : cx, sy = doc.banded && !doc.landscape ? cy / 4 : cy;
    Surface surface(sx, sy, &device);
    bool ok = hooks.get<PFN_DrvStartDoc>(INDEX_DrvStartDoc)(&surface.so, const_cast<PWSTR>(WSTR("script")), 1);
    for (int page = 0; ok && page < doc.pages; ++page) {
        ok = hooks.get<PFN_DrvStartPage>(INDEX_DrvStartPage)(&surface.so);
        ok = ok && (doc.banded ? printBanded(hooks, doc, page, surface, cx, cy)
                               : printWhole(hooks, doc, page, surface, cx, cy));
    }
    ok = hooks.get<PFN_DrvEndDoc>(INDEX_DrvEndDoc)(&surface.so, 0) && ok;
    plugin->DisablePDEV(&device);
    return ok;
}

bool writeFile(const std::string& path, const std::vector<BYTE>& bytes)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

}  // namespace

void runDocuments(IPrintOemUni* plugin, const std::string& outDir, CheckLog& log)
{
    HANDLE printer = nullptr;
    if (!preparePrinter(kPrinter) || !OpenPrinterW(const_cast<LPWSTR>(kPrinter), &printer, nullptr)) {
        log.fail("the printer \"Pumex Embosser\" cannot be opened");
        return;
    }
    // The plug-in holds the helper interface until DisableDriver, as it may:
    // the driver's own lives as long as the driver.
    SpoolCollector spool;
    plugin->PublishDriverInterface(&spool.uni);
    Hooks hooks;
    log.expect(plugin->EnableDriver(PRINTER_OEMINTF_VERSION, sizeof hooks.table, &hooks.table) == S_OK,
               "EnableDriver before the documents");
    for (const Document& doc : kDocuments) {
        writeSettings(printer, doc);
        log.expect(printDocument(plugin, hooks, printer, doc, spool), std::string(doc.name) + ": every hook succeeds");
        const std::vector<BYTE>& stream = spool.bytes;
        log.expect(!stream.empty(), std::string(doc.name) + ": the plug-in spooled a stream");
        log.expect(writeFile(outDir + "/" + doc.name + ".prn", stream), std::string(doc.name) + ": stream written");
        std::printf("%s: %zu bytes\n", doc.name, stream.size());
    }
    plugin->DisableDriver();
    ClosePrinter(printer);
}
