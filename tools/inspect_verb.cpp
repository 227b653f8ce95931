// pumex inspect: read an embosser stream back. (being written)
#include "verbs.h"

#include <iostream>

namespace verbs {

Runner addInspect(CLI::App& app)
{
    CLI::App* cmd = app.add_subcommand("inspect", "decode and check an embosser stream");
    return [cmd]() -> int {
        if (!cmd->parsed())
            return -1;
        std::cerr << "pumex inspect: not available in this build\n";
        return 2;
    };
}

}  // namespace verbs
