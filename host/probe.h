// A driver's first look at the plug-in: load it as the universal driver would,
// ask everything the driver asks before a job, enable and disable one device
// for a printer, and report the answers and the log the plug-in wrote.
#pragma once

#include <ostream>
#include <string>

namespace host {

struct ProbeOptions {
    std::string modulePath;
    std::string printerName = "Pumex Embosser";
};

// Writes the report to out. Returns 0 when every answer was as a driver
// expects, 1 otherwise; throws HostError when the module or printer is unusable.
int runProbe(const ProbeOptions& options, std::ostream& out);

}  // namespace host
