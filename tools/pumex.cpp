// The pumex command: drives the embosser plug-in the way the print system does.
#include "plugin_module.h"
#include "probe.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>

#ifndef PUMEX_MODULE_DEFAULT
#define PUMEX_MODULE_DEFAULT "pumexuni.so"
#endif

namespace {

std::string defaultModule()
{
    const char* env = std::getenv("PUMEX_MODULE");
    return env && *env ? env : PUMEX_MODULE_DEFAULT;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"pumex: the embosser plug-in's print pipeline"};
    app.require_subcommand(1);
    std::string root;
    app.add_option("--root", root, "system root folder (default: $PUMEX_ROOT, else the bundled one)");

    host::ProbeOptions probe;
    probe.modulePath = defaultModule();
    CLI::App* probeCmd = app.add_subcommand("probe", "load the plug-in as the driver does and show its answers");
    probeCmd->add_option("--module", probe.modulePath, "plug-in module to load (default: $PUMEX_MODULE or the built one)");
    probeCmd->add_option("--printer", probe.printerName, "printer to enable a device for");

    CLI11_PARSE(app, argc, argv);

    if (!root.empty() && !PxSetSystemRoot(root.c_str())) {
        std::cerr << "pumex: " << root << ": cannot use as system root\n";
        return 2;
    }
    try {
        if (probeCmd->parsed())
            return host::runProbe(probe, std::cout);
    } catch (const host::HostError& e) {
        std::cerr << "pumex: " << e.what() << "\n";
        return 2;
    }
    return 0;
}
