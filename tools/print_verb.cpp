// pumex print: the command line of the print job (print_job.h). Errors: one
// line on stderr, exit status 1 for a bad job, picture or text, 2 for a bad
// command line, module, printer, output or system root.
#include "print_job.h"
#include "verbs.h"

#include "px/posix.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <memory>

#ifndef PUMEX_MODULE_DEFAULT
#define PUMEX_MODULE_DEFAULT "pumexuni.so"
#endif

namespace verbs {

namespace {

struct PrintOptions {
    tools::PrintRequest request;
    std::string root;
    CLI::App* cmd = nullptr;
};

int runPrint(PrintOptions& o)
{
    if (!o.root.empty() && !PxSetSystemRoot(o.root.c_str())) {
        std::cerr << "pumex print: " << o.root << ": cannot use as system root\n";
        return 2;
    }
    for (const char* name : {"--quality", "--copies", "--landscape", "--double-sided", "--collate"})
        o.request.pictureOptionsGiven = o.request.pictureOptionsGiven || o.cmd->count(name) > 0;
    o.request.progress = isatty(STDERR_FILENO);
    return tools::printJob(o.request, std::cout, std::cerr);
}

}  // namespace

Runner addPrint(CLI::App& app)
{
    auto o = std::make_shared<PrintOptions>();
    tools::PrintRequest& r = o->request;
    const char* env = std::getenv("PUMEX_MODULE");
    r.module = env && *env ? env : PUMEX_MODULE_DEFAULT;
    CLI::App* cmd = app.add_subcommand("print", "print a job file, a picture or a text file into an embosser stream");
    o->cmd = cmd;
    cmd->add_option("INPUT", r.input, "job file (.json), picture (.png) or text (.txt)")->required();
    cmd->add_option("-o,--output", r.out,
                    "embosser stream to write (default: INPUT's name with .prn, here); a double-sided job "
                    "leaves OUT-front and OUT-back (before OUT's extension)");
    cmd->add_option("--root", o->root, "system root folder (default: $PUMEX_ROOT, else the bundled one)");
    cmd->add_option("--printer", r.printer, "printer to print on (default: the job's, else \"Pumex Embosser\")");
    cmd->add_option("--module", r.module, "plug-in module to load (default: $PUMEX_MODULE or the built one)");
    cmd->add_option("--quality", r.picture.printQuality, "picture: dots per inch (default 100)")
        ->check(CLI::Range(1, 32767));
    cmd->add_option("--copies", r.picture.copies, "picture: copies (default 1)")->check(CLI::Range(0, 32767));
    cmd->add_flag("--landscape", r.picture.landscape, "picture: landscape page");
    cmd->add_flag("--double-sided", r.picture.doubleSided, "picture: interpoint (both sides of the sheet)");
    cmd->add_flag("--collate", r.picture.collate, "picture: collate copies");
    return [cmd, o]() -> int {
        if (!cmd->parsed())
            return -1;
        return runPrint(*o);
    };
}

}  // namespace verbs
