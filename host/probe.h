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
    // The user's language for the paper-size and feeder names: a language id
    // ("0x0407") or a locale name ("de_DE.UTF-8", "de-AT"); empty for the
    // environment's (LC_ALL, LC_MESSAGES, LANG).
    std::string language;
};

// The Windows language id of a locale name or a "0x" language id. A known
// language in an unknown region gets its neutral sub-language, an unknown
// language the neutral language: the string lookup then falls back as Windows
// does. Throws HostError for text that is neither.
unsigned short languageIdOf(const std::string& locale);

// Writes the report to out. Returns 0 when every answer was as a driver
// expects, 1 otherwise; throws HostError when the module or printer is unusable.
int runProbe(const ProbeOptions& options, std::ostream& out);

}  // namespace host
