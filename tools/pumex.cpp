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
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // A bad command line exits 2, whatever kind of parse error it was.
        return app.exit(e) == 0 ? 0 : 2;
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
