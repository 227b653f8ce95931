// Page geometry and the resolution factor.
//
// The embosser's grid of cells is much coarser than the device resolution the
// driver renders at. At document start the paper is measured twice: in device
// pixels (the surface the driver draws) and in cells (the page of dot values
// and the page in the stream). The paper itself comes from the job's device
// mode: an explicit size, else the driver's paper lists, else the named form,
// else US Letter.
#include "page/geometry.h"

#include "diag/diag.h"
#include "device/xpdv.h"

#include <cstdint>

namespace {

// The driver's device object behind a surface, or null.
PDEVOBJ deviceOf(SURFOBJ* pso) { return pso ? reinterpret_cast<PDEVOBJ>(pso->dhpdev) : nullptr; }

// The geometry is 32-bit signed arithmetic that wraps as the machine's does;
// these keep a wrap on absurd device modes from being undefined behaviour.
INT mul32(INT a, INT b) { return (INT)((uint32_t)a * (uint32_t)b); }
INT add32(INT a, INT b) { return (INT)((uint32_t)a + (uint32_t)b); }

// Device pixels of a length in tenths of a millimetre at dpi, rounded up.
INT pixelsRoundedUp(INT dpi, INT tenths) { return add32(mul32(dpi, tenths), 253) / 254; }

// A block from mymalloc for the length of one lookup, released whichever way
// the lookup ends.
class Scratch {
public:
    explicit Scratch(DWORD size) : p_(mymalloc(size)) {}
    ~Scratch()
    {
        if (p_)
            myfree(p_);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    explicit operator bool() const { return p_ != nullptr; }
    template <typename T>
    T* as() const
    {
        return static_cast<T*>(p_);
    }

private:
    void* p_;
};

void setDimension(PaperDimension* dimension, DWORD width, DWORD length)
{
    dimension->width = width;
    dimension->length = length;
    LogMessage("GetPaperDimensionFromDevMode(): returning dimension (%u, %u)\n", width, length);
}

// The paper of dmPaperSize in the driver's paper lists. An id may occur more
// than once; the last occurrence wins.
bool paperFromLists(const PRINTER_INFO_2W* info, const DEVMODEW* dm, PaperDimension* dimension)
{
    LPCWSTR device = info->pPrinterName, port = info->pPortName;
    INT n = DeviceCapabilitiesW(device, port, DC_PAPERS, nullptr, dm);
    LogMessage("GetPaperDimensionFromDevMode(): %u=DeviceCapabilities(DC_PAPERS), dmPaperSize=%u\n", n,
               dm->dmPaperSize);
    if (n <= 0)
        return false;
    Scratch ids((DWORD)n * sizeof(WORD));
    if (!ids)
        return false;
    // Only the ids the fetch delivered are walked, never more than there is
    // room for: a list that changed between the two calls is not read past
    // its end, and a failed fetch matches nothing.
    INT fetched = DeviceCapabilitiesW(device, port, DC_PAPERS, ids.as<WCHAR>(), dm);
    INT count = fetched < n ? fetched : n;
    INT index = -1;
    for (INT i = 0; i < count; ++i) {
        WORD id = ids.as<WORD>()[i];
        LogMessage("GetPaperDimensionFromDevMode(): DC_PAPERS id=%u\n", id);
        if (id == (WORD)dm->dmPaperSize)  // ids are WORDs; the device mode's is the same 16 bits
            index = i;
    }
    if (index < 0) {
        LogMessage("GetPaperDimensionFromDevMode(): oops, no paper size found in DC_PAPERS that matches %u\n",
                   dm->dmPaperSize);
        return false;
    }
    LogMessage("GetPaperDimensionFromDevMode(): found dmPaperSize=%u at index %u\n", dm->dmPaperSize, index);

    INT k = DeviceCapabilitiesW(device, port, DC_PAPERSIZE, nullptr, dm);
    LogMessage("GetPaperDimensionFromDevMode(): DeviceCapabilities(DC_PAPERSIZE) returns %d sizes\n", k);
    if (k <= 0 || (uint64_t)k * sizeof(POINT) > UINT32_MAX)
        return false;
    Scratch sizes((DWORD)k * sizeof(POINT));
    if (!sizes)
        return false;
    INT got = DeviceCapabilitiesW(device, port, DC_PAPERSIZE, sizes.as<WCHAR>(), dm);
    if (got <= 0 || index >= got || index >= k)
        return false;
    const POINT& size = sizes.as<POINT>()[index];
    setDimension(dimension, (DWORD)size.x, (DWORD)size.y);
    return true;
}

// The paper of the device mode's form, from the spooler's forms.
bool paperFromForm(HANDLE hPrinter, const DEVMODEW* dm, PaperDimension* dimension)
{
    // dmFormName need not be terminated when it fills its array.
    WCHAR formName[CCHFORMNAME + 1] = {};
    for (int i = 0; i < CCHFORMNAME && dm->dmFormName[i]; ++i)
        formName[i] = dm->dmFormName[i];
    LogMessage("GetPaperDimensionFromDevMode(): still no success finding the forms dimensions\n");
    LogMessage("GetPaperDimensionFromDevMode(): calling GetForm(), dmFormName=%ws\n", formName);
    DWORD cbNeeded = 0;
    GetFormW(hPrinter, formName, 1, nullptr, 0, &cbNeeded);
    Scratch form(cbNeeded);  // a size of 0 is refused by mymalloc, with its own log line
    if (!form)
        return false;
    if (!GetFormW(hPrinter, formName, 1, form.as<BYTE>(), cbNeeded, &cbNeeded))
        return false;
    // Forms are kept in thousandths of a millimetre; the paper travels in tenths.
    const FORM_INFO_1W* info = form.as<FORM_INFO_1W>();
    setDimension(dimension, (DWORD)(info->Size.cx / 100), (DWORD)(info->Size.cy / 100));
    return true;
}

}  // namespace

// rf from a device mode: the horizontal print quality over 20, truncated
// toward zero; 0 (qualities -19 ... 19, the DMRES_ codes among them) gives
// the fallback. Without a device mode there is no quality either.
INT resolutionFactorOf(const DEVMODEW* pDevMode)
{
    INT rf = pDevMode ? pDevMode->dmPrintQuality / 20 : 0;
    return rf == 0 ? FALLBACK_RF : rf;
}

INT getResolutionFactor(SURFOBJ* pso)
{
    PDEVOBJ pdevobj = deviceOf(pso);
    INT rf = resolutionFactorOf(pdevobj ? pdevobj->pPublicDM : nullptr);
    LogMessage("getResolutionFactor(): rf=%u\n", rf);
    return rf;
}

// The level-2 printer information must be readable for any lookup: both
// calls failing, or the second one failing after the first (the printer
// changed in between), ends the lookup and the caller takes US Letter.
BOOL GetPaperDimensionFromDevMode(HANDLE hPrinter, const DEVMODEW* pDevMode, PaperDimension* dimension)
{
    if (!dimension)
        return FALSE;
    DWORD cbNeeded = 0;
    GetPrinterW(hPrinter, 2, nullptr, 0, &cbNeeded);
    Scratch printer(cbNeeded);  // a size of 0 is refused by mymalloc, with its own log line
    if (!printer)
        return FALSE;
    const PRINTER_INFO_2W* info = printer.as<PRINTER_INFO_2W>();
    if (!GetPrinterW(hPrinter, 2, printer.as<BYTE>(), cbNeeded, &cbNeeded))
        return FALSE;
    const DEVMODEW* dm = pDevMode ? pDevMode : info->pDevMode;
    if (!dm)
        return FALSE;

    // Either field flag is enough to take both numbers from the device mode.
    if (dm->dmFields & (DM_PAPERWIDTH | DM_PAPERLENGTH)) {
        LogMessage("GetPaperDimensionFromDevMode(): dmPaperWidth|dmPaperLength are valid coords\n");
        setDimension(dimension, (DWORD)(INT)dm->dmPaperWidth, (DWORD)(INT)dm->dmPaperLength);
        return TRUE;
    }
    if ((dm->dmFields & DM_PAPERSIZE) && paperFromLists(info, dm, dimension))
        return TRUE;
    if ((dm->dmFields & DM_FORMNAME) && paperFromForm(hPrinter, dm, dimension))
        return TRUE;
    return FALSE;
}

// A surface without a device record has nowhere to keep the geometry and is
// left alone; a device object without a public device mode measures as a
// device mode of zeros would (print quality 0, so rf falls back, and a page
// of no pixels).
BOOL InitPaperSize(SURFOBJ* pso)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv)
        return TRUE;
    PDEVOBJ pdevobj = deviceOf(pso);
    static const DEVMODEW kNoDevMode = {};
    const DEVMODEW* dm = pdevobj->pPublicDM ? pdevobj->pPublicDM : &kNoDevMode;

    INT rf = getResolutionFactor(pso);
    pdv->rf = rf;

    PaperDimension paper = {LETTER_WIDTH, LETTER_LENGTH};
    PaperDimension found = {0, 0};
    if (pdevobj->hPrinter && GetPaperDimensionFromDevMode(pdevobj->hPrinter, pdevobj->pPublicDM, &found))
        paper = found;

    // The device-pixel sizes are truncated; the cell sizes come from the
    // rounded-up pixel sizes, the width made even. Width and length stay as
    // the paper is fed whatever the orientation.
    INT q = dm->dmPrintQuality, y = dm->dmYResolution;
    INT w = (INT)paper.width, l = (INT)paper.length;
    INT cellsAcross = pixelsRoundedUp(q, w) / rf;
    pdv->embossPageWidth = (cellsAcross + 1) / 2 * 2;
    pdv->gdiPaperWidth = mul32(q, w) / 254;
    pdv->gdiPaperHeight = mul32(y, l) / 254;
    pdv->embossPageHeight = pixelsRoundedUp(y, l) / rf;
    pdv->bLandscape = dm->dmOrientation == DMORIENT_LANDSCAPE ? 1 : 0;

    LogMessage("InitPaperSize(): resolution factor: rf=%u\n", rf);
    LogMessage("InitPaperSize(): dmPrintQuality=%u, dmYResolution=%u\n", q, y);
    LogMessage("InitPaperSize(): dmPaperSize=%u, %u, (%u, %u)\n", dm->dmPaperSize, dm->dmFields & DM_PAPERSIZE,
               paper.width, paper.length);
    LogMessage("InitPaperSize(): dmPaperWidth=(%u, %u), %u\n", dm->dmPaperWidth, dm->dmPaperLength,
               dm->dmFields & (DM_PAPERLENGTH | DM_PAPERWIDTH));
    LogMessage("InitPaperSize(): dmOrientation=%u\n", dm->dmOrientation);
    LogMessage("InitPaperSize(): gdiPaperSize=(%u, %u)\n", pdv->gdiPaperWidth, pdv->gdiPaperHeight);
    LogMessage("InitPaperSize(): sizlBitmap=(%u, %u)\n", pso->sizlBitmap.cx, pso->sizlBitmap.cy);
    return TRUE;
}
