// The pumex command: drives the embosser plug-in the way the print system does,
// and reads and makes the files it uses.
#include "px/posix.h"
#include "verbs.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    CLI::App app{"pumex: the embosser plug-in's print pipeline"};
    app.require_subcommand(1);
    std::string root;
    app.add_option("--root", root, "system root folder (default: $PUMEX_ROOT, else the bundled one)");

    std::vector<verbs::Runner> runners = {verbs::addProbe(app), verbs::addPrint(app), verbs::addInspect(app),
                                          verbs::addMkfont(app)};
    app.footer("Exit status: 0 done; 1 an input file is unreadable or bad; 2 the command line or the\n"
               "environment is wrong (an output that cannot be written, a missing printer or module).");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;  // --help is no error
    }

    if (!root.empty() && !PxSetSystemRoot(root.c_str())) {
        std::cerr << "pumex: " << root << ": cannot use as system root\n";
        return 2;
    }
    for (const verbs::Runner& run : runners) {
        int status = run();
        if (status >= 0)
            return status;
    }
    return 2;
}
