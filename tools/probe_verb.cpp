// pumex probe: load the plug-in as the driver does and show its answers.
#include "plugin_module.h"
#include "probe.h"
#include "verbs.h"

#include <cstdlib>
#include <iostream>
#include <memory>

#ifndef PUMEX_MODULE_DEFAULT
#define PUMEX_MODULE_DEFAULT "pumexuni.so"
#endif

namespace verbs {

Runner addProbe(CLI::App& app)
{
    auto options = std::make_shared<host::ProbeOptions>();
    const char* env = std::getenv("PUMEX_MODULE");
    options->modulePath = env && *env ? env : PUMEX_MODULE_DEFAULT;
    CLI::App* cmd = app.add_subcommand("probe", "load the plug-in as the driver does and show its answers");
    cmd->add_option("--module", options->modulePath, "plug-in module to load (default: $PUMEX_MODULE or the built one)");
    cmd->add_option("--printer", options->printerName, "printer to enable a device for");
    cmd->add_option("--lang", options->language,
                    "language of the paper-size and feeder names: a locale name or a language id such as 0x0407 "
                    "(default: the environment's)");
    return [cmd, options]() -> int {
        if (!cmd->parsed())
            return -1;
        try {
            return host::runProbe(*options, std::cout);
        } catch (const host::HostError& e) {
            std::cerr << "pumex probe: " << e.what() << "\n";
            return 2;
        }
    };
}

}  // namespace verbs
