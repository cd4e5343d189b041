#ifndef TLG_TOOLS_COMMON_COMMANDLINE_H
#define TLG_TOOLS_COMMON_COMMANDLINE_H

#include <CLI/CLI.hpp>

#include <cstdio>
#include <optional>

/// Parses the command line. Where the program is to end at once, its exit status: 0 after printing the help,
/// 1 after one line on standard error that says what is wrong.
inline std::optional<int> ParseCommandLine(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "%s: command line: %s\n", app.get_name().c_str(), error.what());
        return 1;
    }
    return std::nullopt;
}

#endif
