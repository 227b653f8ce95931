// pumex mkfont: build a braille font file from a text table. (being written)
#include "verbs.h"

#include <iostream>

namespace verbs {

Runner addMkfont(CLI::App& app)
{
    CLI::App* cmd = app.add_subcommand("mkfont", "build a braille font file from a table");
    return [cmd]() -> int {
        if (!cmd->parsed())
            return -1;
        std::cerr << "pumex mkfont: not available in this build\n";
        return 2;
    };
}

}  // namespace verbs
