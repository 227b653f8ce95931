// One document through the plug-in, in the order the universal driver and GDI
// call it: open the printer, leave the one-shot control string, enable a
// device with the host's own driver functions, start the document, draw every
// page (in bands until the plug-in answers (-1, -1), or whole and then sent),
// end the document, disable the device, close the printer.
#include "job_runner.h"

#include "driver_functions.h"
#include "page_geometry.h"
#include "page_replay.h"
#include "pxtext.h"
#include "surface.h"
#include "text_services.h"

#include <vector>

namespace host {

namespace {

const char* const kMethods[] = {"DevMode", "EnableDriver", "EnablePDEV", "DisablePDEV", "ResetPDEV", "DisableDriver"};

std::u16string wide(const std::string& text)
{
    std::u16string out(text.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(reinterpret_cast<WCHAR*>(&out[0]), out.size(), text.c_str()));
    return out;
}

WCHAR* wptr(std::u16string& s) { return reinterpret_cast<WCHAR*>(&s[0]); }

// The printer, open for the length of one document.
class Printer {
public:
    explicit Printer(const std::string& name) : name_(name), wname_(wide(name))
    {
        if (!OpenPrinterW(wptr(wname_), &handle_, nullptr))
            throw HostError("printer \"" + name + "\": not found in " + PxGetSystemRoot() +
                            "/printers (or its file is invalid)");
    }
    ~Printer() { ClosePrinter(handle_); }
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    HANDLE handle() const { return handle_; }
    std::u16string& wideName() { return wname_; }
    const std::string& name() const { return name_; }

private:
    std::string name_;
    std::u16string wname_;
    HANDLE handle_ = nullptr;
};

// The control string is read once by the next document start, which erases it.
void leaveControlFlags(Printer& printer, const std::string& flags)
{
    std::u16string key = wide("Config"), value = wide("ControlFlags");
    DWORD status = SetPrinterDataExW(printer.handle(), wptr(key), wptr(value), REG_BINARY,
                                     reinterpret_cast<LPBYTE>(const_cast<char*>(flags.data())), (DWORD)flags.size());
    if (status != ERROR_SUCCESS)
        throw HostError("printer \"" + printer.name() + "\": cannot write the control string (error " +
                        std::to_string(status) + ")");
}

void check(BOOL ok, HostDevice* device, const std::string& what)
{
    if (ok && device->failure.empty())
        return;
    throw HostError(what + (device->failure.empty() ? " failed" : ": " + device->failure));
}

}  // namespace

struct Session::State {
    explicit State(const std::string& path)
        : module(path), uni([this](const BYTE* data, DWORD size) {
              spooled += size;
              return sink ? sink(data, size) : true;
          })
    {
    }
    PluginModule module;
    DriverUni uni;
    DriverUni::Sink sink;
    uint64_t spooled = 0;
    DRVENABLEDATA hooks{};
    DWORD privateSize = 0;
};

Session::Session(const std::string& modulePath) : state_(std::make_unique<State>(modulePath))
{
    registerTextServices();
    IPrintOemUni* plugin = state_->module.plugin();
    HRESULT hr = plugin->PublishDriverInterface(&state_->uni);
    DWORD signature = 0, needed = 0;
    if (SUCCEEDED(hr))
        hr = plugin->GetInfo(OEMGI_GETSIGNATURE, &signature, sizeof signature, &needed);
    for (const char* method : kMethods)
        plugin->GetImplementedMethod(const_cast<PSTR>(method));
    OEMDMPARAM param{};
    param.cbSize = sizeof param;
    if (SUCCEEDED(hr))
        hr = plugin->DevMode(OEMDM_SIZE, &param);
    state_->privateSize = param.cbBufSize;
    if (SUCCEEDED(hr))
        hr = plugin->EnableDriver(0x00030000, sizeof state_->hooks, &state_->hooks);
    if (FAILED(hr) || !state_->hooks.pdrvfn)
        throw HostError(modulePath + ": the plug-in refused to start (" + hresultText(hr) + ")");
}

Session::~Session() { state_->module.plugin()->DisableDriver(); }

IPrintOemUni* Session::plugin() const { return state_->module.plugin(); }
DriverUni& Session::driverUni() { return state_->uni; }

namespace {

// One device context of the document: the host's device and the plug-in's
// record on it. Disabled when it goes.
class Device {
public:
    Device(IPrintOemUni* plugin, Printer& printer, DEVMODEW* dm, void* privateBlock, const HostDevice& shape)
        : plugin_(plugin), device_(shape)
    {
        device_.pdevOEM = nullptr;  // a new device has no record until the plug-in makes one
        device_.failure.clear();
        device_.hPrinter = printer.handle();
        device_.pPublicDM = dm;
        device_.pOEMDM = privateBlock;
        GDIINFO gdi{};
        gdi.ulVersion = 0x5000;
        gdi.ulHorzRes = (ULONG)shape.page.cx;
        gdi.ulVertRes = (ULONG)shape.page.cy;
        gdi.ulLogPixelsX = (ULONG)dm->dmPrintQuality;
        gdi.ulLogPixelsY = (ULONG)dm->dmYResolution;
        DEVINFO info{};
        PDEVOEM record = nullptr;
        HRESULT hr = plugin->EnablePDEV(&device_, wptr(printer.wideName()), 0, nullptr, sizeof gdi, &gdi, sizeof info,
                                        &info, const_cast<DRVENABLEDATA*>(&hostDriverFunctions()), &record);
        if (FAILED(hr) || !record)
            throw HostError("printer \"" + printer.name() + "\": the plug-in enabled no device (" + hresultText(hr) +
                            ")");
        device_.pdevOEM = record;
    }
    ~Device() { plugin_->DisablePDEV(&device_); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;
    HostDevice* get() { return &device_; }
    DHPDEV handle() { return reinterpret_cast<DHPDEV>(static_cast<DEVOBJ*>(&device_)); }

private:
    IPrintOemUni* plugin_;
    HostDevice device_;
};

// The document being run: everything a page needs.
struct Document {
    IPrintOemUni* plugin;
    const JobSpec& job;
    DriverTable table;
    Surface& surface;
    PictureStore pictures;
    std::unique_ptr<Device> device;

    SURFOBJ* so() { return surface.obj(); }
    HostDevice* host() { return device->get(); }
    SIZEL pageSize() { return {host()->page.cx, host()->page.cy}; }
    std::string pageName(size_t page) const { return job.source + ": pages[" + std::to_string(page) + "]"; }

    BOOL startDoc(LPWSTR name, DWORD jobId) { return table.get<PFN_DrvStartDoc>(INDEX_DrvStartDoc)(so(), name, jobId); }

    void runBands(size_t page)
    {
        POINTL origin{0, 0};
        check(table.get<PFN_DrvStartBanding>(INDEX_DrvStartBanding)(so(), &origin), host(),
              pageName(page) + ": start of banding");
        // A page has at most one band per pixel row; more means the bands never end.
        for (int64_t bands = 0; origin.x != -1 || origin.y != -1; ++bands) {
            if (bands > (int64_t)host()->page.cx + host()->page.cy)
                throw HostError(pageName(page) + ": the bands never reach the end of the page");
            replayPage(table, so(), job, page, origin, pageSize(), pictures);
            check(table.get<PFN_DrvNextBand>(INDEX_DrvNextBand)(so(), &origin), host(), pageName(page) + ": next band");
        }
    }

    void runPage(size_t page)
    {
        check(table.get<PFN_DrvStartPage>(INDEX_DrvStartPage)(so()), host(), pageName(page) + ": start of page");
        if (host()->bandHeight > 0) {
            runBands(page);
        } else {
            replayPage(table, so(), job, page, {0, 0}, pageSize(), pictures);
            check(table.get<PFN_DrvSendPage>(INDEX_DrvSendPage)(so()), host(), pageName(page) + ": page send");
        }
        pictures.pageDone(page);
    }
};

HostDevice deviceShape(const JobSpec& job, PageSize page)
{
    HostDevice shape;
    shape.page = page;
    shape.landscape = job.devmode.landscape;
    shape.bandHeight = job.surface.banding ? job.surface.bandHeight : 0;
    return shape;
}

// Band surfaces run the page's width (portrait) or its height (landscape);
// whole pages are the page.
Surface makeSurface(const JobSpec& job, PageSize page)
{
    if (!job.surface.banding)
        return Surface(page.cx, page.cy, job.surface.format);
    if (job.devmode.landscape)
        return Surface(std::min(job.surface.bandHeight, page.cx), page.cy, job.surface.format);
    return Surface(page.cx, std::min(job.surface.bandHeight, page.cy), job.surface.format);
}

// The driver's answer to ResetDC: a new device takes the document over from the old one.
void resetDevice(Document& doc, Printer& printer, DEVMODEW* dm, void* privateBlock)
{
    auto fresh = std::make_unique<Device>(doc.plugin, printer, dm, privateBlock, *doc.host());
    HRESULT hr = doc.plugin->ResetPDEV(doc.device->get(), fresh->get());
    if (FAILED(hr))
        throw HostError("printer \"" + printer.name() + "\": the plug-in refused the device reset (" +
                        hresultText(hr) + ")");
    doc.device = std::move(fresh);
    doc.so()->dhpdev = doc.device->handle();
    check(doc.startDoc(nullptr, 0), doc.host(), doc.job.source + ": document start after the reset");
}

// The Windows version a run asked for holds for that run only.
struct WindowsVersion {
    explicit WindowsVersion(unsigned major) : set(major != 0)
    {
        if (set)
            PxSetWindowsVersion(major, 0);
    }
    ~WindowsVersion()
    {
        if (set)
            PxSetWindowsVersion(0, 0);
    }
    bool set;
};

}  // namespace

RunResult Session::run(const JobSpec& job, const DriverUni::Sink& sink, const RunOptions& options)
{
    WindowsVersion version(options.windowsMajor);
    state_->sink = sink;
    state_->spooled = 0;
    Printer printer(job.printer);
    if (job.controlFlags)
        leaveControlFlags(printer, *job.controlFlags);

    DEVMODEW dm = buildDevMode(job.devmode, job.printer);
    std::vector<BYTE> privateBlock(state_->privateSize);
    OEMDMPARAM param{};
    param.cbSize = sizeof param;
    param.hPrinter = printer.handle();
    param.pPublicDMIn = param.pPublicDMOut = &dm;
    param.pOEMDMOut = privateBlock.data();
    param.cbBufSize = (DWORD)privateBlock.size();
    plugin()->DevMode(OEMDM_DEFAULT, &param);

    PageSize page = pageSizeFor(dm, paperOf(dm, printer.handle(), printer.wideName()));
    if (page.cx <= 0 || page.cy <= 0)
        throw JobError(job.source + ": devmode: the page is " + std::to_string(page.cx) + " x " +
                       std::to_string(page.cy) + " pixels");
    Surface surface = makeSurface(job, page);
    Document doc{plugin(), job, DriverTable(&state_->hooks), surface, PictureStore(job), nullptr};
    doc.device = std::make_unique<Device>(plugin(), printer, &dm, privateBlock.data(), deviceShape(job, page));
    surface.obj()->dhpdev = doc.device->handle();

    std::u16string docName = wide(options.documentName);
    check(doc.startDoc(wptr(docName), options.jobId), doc.host(), job.source + ": document start");
    RunResult result;
    try {
        for (size_t i = 0; i < job.pages.size(); ++i) {
            if (options.resetBeforePage == (int)i)
                resetDevice(doc, printer, &dm, privateBlock.data());
            doc.runPage(i);
            result.pages = i + 1;
            if (options.progress)
                options.progress(i + 1, job.pages.size());
        }
    } catch (...) {
        // The plug-in lets go of the document's pages and settings at its end.
        doc.table.get<PFN_DrvEndDoc>(INDEX_DrvEndDoc)(surface.obj(), kEndDocAbort);
        state_->sink = nullptr;
        throw;
    }
    check(doc.table.get<PFN_DrvEndDoc>(INDEX_DrvEndDoc)(surface.obj(), 0), doc.host(), job.source + ": document end");
    state_->sink = nullptr;
    result.bytesSpooled = state_->spooled;
    return result;
}

}  // namespace host
