// The scripted documents: graphics pages sent through the document hooks as
// the universal driver sends them (document start, pages in bands or whole
// with page send, document end), on surfaces this program owns, with the
// host's helper interface collecting what the plug-in spools.
#include "driver_check.h"
#include "driver_uni.h"

#include <fstream>
#include <vector>

namespace {

const WCHAR kPrinter[] = WSTR("Pumex Embosser");

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
    bool landscape, banded;
    int pages;
    SHORT copies;
    bool collate;
    DWORD dithering, interpoint;
    DWORD printOdd;  // 1: front sides only, 2: back sides only (both to the spooler)
};

// Few and telling: both orientations and resolutions, bands and whole pages
// (portrait ones in the copies documents), a dithered grey ramp, collated and
// uncollated copies, both sides of a three-page double-sided document.
const Document kDocuments[] = {
    {"landscape-100-whole", 100, true, false, 1, 1, false, 0, 0, 0},
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
// the top quarter, a patch of grain below its left end, as a scanned
// photograph has, and a black square whose place moves with the page number.
BYTE pageGrey(const Document& doc, int page, LONG x, LONG y, LONG width, LONG height)
{
    if (x >= width || y >= height)
        return 255;
    if (y < height / 4)
        return (BYTE)(255 * x / width);
    if (y < height / 3 && x < width / 4) {
        uint32_t grain = (uint32_t)x * 2654435761u ^ (uint32_t)y * 40503u;
        return (BYTE)(grain >> 13);
    }
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
            for (LONG x = 0; x < so.sizlBitmap.cx; ++x)
                row[3 * x] = row[3 * x + 1] = row[3 * x + 2] =
                    pageGrey(doc, page, x + origin.x, y + origin.y, pageWidth, pageHeight);
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

// The printer's settings for one document; every one the documents vary is
// written each time, so no document inherits another's.
void writeSettings(HANDLE printer, const Document& doc)
{
    const std::pair<const WCHAR*, DWORD> settings[] = {{WSTR("DebugLevel"), 0},
                                                       {WSTR("OutputVersion"), 3},
                                                       {WSTR("Dithering"), doc.dithering},
                                                       {WSTR("InterPoint"), doc.interpoint},
                                                       {WSTR("PrintOdd"), doc.printOdd}};
    for (auto [name, value] : settings)
        SetPrinterDataExW(printer, WSTR("Config"), name, REG_DWORD, reinterpret_cast<LPBYTE>(&value), sizeof value);
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
    dm.dmPrintQuality = dm.dmYResolution = doc.dpi;
    dm.dmCollate = doc.collate ? DMCOLLATE_TRUE : DMCOLLATE_FALSE;
    return dm;
}

// One page: whole with page send, or in bands whose corners the plug-in
// names until (-1, -1).
bool printPage(const Hooks& hooks, const Document& doc, int page, Surface& surface, LONG cx, LONG cy)
{
    if (!doc.banded) {
        surface.draw(doc, page, {0, 0}, cx, cy);
        return hooks.get<PFN_DrvSendPage>(INDEX_DrvSendPage)(&surface.so);
    }
    auto nextBand = hooks.get<PFN_DrvNextBand>(INDEX_DrvNextBand);
    POINTL origin{};
    if (!hooks.get<PFN_DrvStartBanding>(INDEX_DrvStartBanding)(&surface.so, &origin))
        return false;
    for (int guard = 0; guard < 64; ++guard) {
        surface.draw(doc, page, origin, cx, cy);
        if (!nextBand(&surface.so, &origin))
            return false;
        if (origin.x == -1 && origin.y == -1)
            return true;
    }
    return false;
}

// The whole document, from device enable to disable.
bool printDocument(IPrintOemUni* plugin, const Hooks& hooks, HANDLE printer, const Document& doc)
{
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
    Surface surface(doc.banded && doc.landscape ? cx / 4 : cx, doc.banded && !doc.landscape ? cy / 4 : cy, &device);
    bool ok = hooks.get<PFN_DrvStartDoc>(INDEX_DrvStartDoc)(&surface.so, const_cast<PWSTR>(WSTR("script")), 1);
    for (int page = 0; ok && page < doc.pages; ++page)
        ok = hooks.get<PFN_DrvStartPage>(INDEX_DrvStartPage)(&surface.so) &&
             printPage(hooks, doc, page, surface, cx, cy);
    ok = hooks.get<PFN_DrvEndDoc>(INDEX_DrvEndDoc)(&surface.so, 0) && ok;
    plugin->DisablePDEV(&device);
    return ok;
}

}  // namespace

void runDocuments(IPrintOemUni* plugin, const std::string& outDir, CheckLog& log)
{
    HANDLE printer = nullptr;
    if (!preparePrinter(kPrinter) || !OpenPrinterW(const_cast<LPWSTR>(kPrinter), &printer, nullptr)) {
        log.fail("the printer \"Pumex Embosser\" cannot be opened");
        return;
    }
    // What the plug-in spools. It holds the helper interface until
    // DisableDriver, as it may: the driver's own lives as long as the driver.
    std::vector<BYTE> stream;
    host::DriverUni uni{[&stream](const BYTE* data, DWORD size) {
        stream.insert(stream.end(), data, data + size);
        return true;
    }};
    plugin->PublishDriverInterface(&uni);
    Hooks hooks;
    log.expect(plugin->EnableDriver(PRINTER_OEMINTF_VERSION, sizeof hooks.table, &hooks.table) == S_OK,
               "EnableDriver before the documents");
    for (const Document& doc : kDocuments) {
        writeSettings(printer, doc);
        stream.clear();
        std::string name = doc.name;
        log.expect(printDocument(plugin, hooks, printer, doc), name + ": every hook succeeds");
        log.expect(!stream.empty(), name + ": the plug-in spooled a stream");
        std::ofstream file(outDir + "/" + name + ".prn", std::ios::binary);
        file.write(reinterpret_cast<const char*>(stream.data()), (std::streamsize)stream.size());
        file.close();
        log.expect(!file.fail(), name + ": stream written");
    }
    plugin->DisableDriver();
    ClosePrinter(printer);
}
