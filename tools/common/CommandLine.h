#ifndef TLG_TOOLS_COMMON_COMMANDLINE_H
#define TLG_TOOLS_COMMON_COMMANDLINE_H

#include <CLI/CLI.hpp>

#include <cstdio>
#include <optional>
#include <string>

#include "tools/common/Completion.h"

/// Why a command line is none. Where a subcommand is missing, they are listed.
inline std::string ReasonOf(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
    const auto subcommands = app.get_subcommands([](const CLI::App* /*each*/) { return true; });
    if (subcommands.empty() || app.get_require_subcommand_min() == 0 || !app.get_subcommands().empty()) {
        return error.what();
    }
    std::string names;
    for (const CLI::App* subcommand : subcommands) {
        names.append(names.empty() ? "" : ", ").append(subcommand->get_name());
    }
    return argc < 2 ? "a command is missing: " + names : "'" + std::string(argv[1]) + "' is none of: " + names;
}

/// Parses the command line. Returns an exit status where the program is to end at once: 0 after printing the help or
/// the version, 1 after one line on standard error that says what is wrong.
/// @param wordsAfter for the completion of command lines in a shell
inline std::optional<int> ParseCommandLine(
    CLI::App& app, int argc, char** argv,
    const WordsAfter& wordsAfter = [](const auto&) { return std::vector<std::string>(); }) {
    app.set_version_flag("--version", app.get_name() + " " TLG_VERSION, "print the version and exit");
    if (argc > 1 && std::string(argv[1]) == "--complete") {
        PrintCandidates(app, {argv + 2, argv + argc}, wordsAfter);
        return 0;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& answer) {
        return app.exit(answer);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "%s: command line: %s\n", app.get_name().c_str(),
                     ReasonOf(app, error, argc, argv).c_str());
        return 1;
    }
    return std::nullopt;
}

#endif
