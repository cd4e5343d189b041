#ifndef TLG_TOOLS_COMMON_COMPLETION_H
#define TLG_TOOLS_COMMON_COMPLETION_H

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// What a tool knows about the word that comes after these: names of objects, values of the option before it, and so
/// on.
using WordsAfter = std::function<std::vector<std::string>(const std::vector<std::string>& before)>;

/// The words that may come after @p before: commands and options as the command line is declared, and what the tool
/// knows of the rest. Where it knows nothing, the shells offer the names of files.
inline std::vector<std::string> CandidatesAfter(CLI::App& app, const std::vector<std::string>& before,
                                                const std::string& begun, const WordsAfter& wordsAfter) {
    const auto all = [](const CLI::App* /*each*/) { return true; };
    const std::vector<CLI::App*> commands = app.get_subcommands(all);
    CLI::App* command = &app;
    for (auto word = before.begin(); word != before.end() && command == &app; ++word) {
        const auto given = std::find_if(commands.begin(), commands.end(),
                                        [&word](const CLI::App* each) { return each->get_name() == *word; });
        command = given == commands.end() ? command : *given;
    }
    const CLI::Option* option = before.empty() ? nullptr : command->get_option_no_throw(before.back());
    std::vector<std::string> words;
    if (option != nullptr && option->get_expected_min() > 0) {
        return wordsAfter(before);
    }
    words = wordsAfter(before);
    if (begun.empty() || begun[0] != '-') {
        for (const CLI::App* each : command->get_subcommands(all)) {
            words.push_back(each->get_name());
        }
    } else {
        for (const CLI::Option* each : command->get_options()) {
            for (const std::string& name : each->get_lnames()) {
                words.push_back("--" + name);
            }
        }
    }
    return words;
}

/// Prints the candidates, one a line, that begin as the last word does. The shells' completion calls a tool for them.
inline void PrintCandidates(CLI::App& app, std::vector<std::string> words, const WordsAfter& wordsAfter) {
    const std::string begun = words.empty() ? "" : words.back();
    if (!words.empty()) {
        words.pop_back();
    }
    for (const std::string& candidate : CandidatesAfter(app, words, begun, wordsAfter)) {
        if (candidate.compare(0, begun.size(), begun) == 0) {
            std::puts(candidate.c_str());
        }
    }
}

#endif
