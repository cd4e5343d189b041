#ifndef TLG_TOOLS_COMMON_COMMANDLINE_H
#define TLG_TOOLS_COMMON_COMMANDLINE_H

#include <CLI/CLI.hpp>

#include <cstdio>
#include <optional>

/// Parses the command line. Returns an exit status where the program is to end at once: 0 after printing the help or
/// the version, 1 after one line on standard error that says what is wrong.
inline std::optional<int> ParseCommandLine(CLI::App& app, int argc, char** argv) {
    app.set_version_flag("--version", app.get_name() + " " TLG_VERSION, "print the version and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& answer) {
        return app.exit(answer);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "%s: command line: %s\n", app.get_name().c_str(), error.what());
        return 1;
    }
    return std::nullopt;
}

#endif
