// The host's side of a print job: the universal driver, GDI and the spooler
// for one document at a time. A Session loads the plug-in and enables the
// driver once; run() plays one document through the plug-in's hook table,
// drawing each page into the surface (in bands, or whole followed by page
// send) and handing whatever the plug-in spools to a sink.
#pragma once

#include "driver_uni.h"
#include "job_file.h"
#include "plugin_module.h"

#include <functional>
#include <memory>
#include <string>

namespace host {

// Called after each page has gone through the plug-in: page number (from 1)
// and the page count.
using Progress = std::function<void(size_t page, size_t pages)>;

struct RunOptions {
    // Before this page (0-based), reset the device context as the driver does on
    // ResetDC: enable a new device, ResetPDEV(old, new), disable the old one,
    // then StartDoc(surface, no name, job 0). Negative: never.
    int resetBeforePage = -1;
    // Windows major version the platform reports to the plug-in (decides how it
    // starts helper programs); 0 leaves the platform's choice.
    unsigned windowsMajor = 0;
    std::string documentName = "pumex job";
    DWORD jobId = 1;
    Progress progress;
};

// What a document left behind, as the host saw it.
struct RunResult {
    size_t pages = 0;          // pages drawn
    uint64_t bytesSpooled = 0;  // bytes the plug-in wrote through DrvWriteSpoolBuf
};

class Session {
public:
    // Loads the module (through DllGetClassObject), publishes the host's
    // driver interface, asks GetInfo, GetImplementedMethod, DevMode and
    // EnableDriver. Throws HostError.
    explicit Session(const std::string& modulePath);
    ~Session();  // DisableDriver
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Runs one document; what the plug-in spools goes to sink. Throws HostError
    // (with one line naming the printer, page or file and what went wrong) when
    // the printer cannot be opened, a hook fails, or a page asks for something
    // the host cannot draw.
    RunResult run(const JobSpec& job, const DriverUni::Sink& sink, const RunOptions& options = {});

    IPrintOemUni* plugin() const;
    DriverUni& driverUni();

    struct State;

private:
    std::unique_ptr<State> state_;
};

}  // namespace host
