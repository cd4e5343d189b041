#include "tools/mcusim/Console.h"

#include <editline/readline.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "tools/common/Output.h"

namespace mcusim {

namespace {

constexpr int kMaxLine = 2000;

} // namespace

Console* Console::s_console = nullptr;

bool Console::IsPossible(int fd) {
    // A process in the background would be stopped as soon as it changed the terminal.
    return ::isatty(fd) == 1 && ::isatty(STDOUT_FILENO) == 1 && ::tcgetpgrp(fd) == ::getpgrp();
}

Console::Console(const std::string& name, Take take, WordsAfter wordsAfter)
    : m_name(name), m_prompt(name + "> "), m_take(std::move(take)), m_wordsAfter(std::move(wordsAfter)) {
    const char* home = std::getenv("HOME");
    m_history = home == nullptr ? "" : std::string(home) + "/." + name + "_history";
    s_console = this;
    rl_readline_name = m_name.c_str();
    rl_attempted_completion_function = Complete;
    using_history();
    stifle_history(1000);
    if (!m_history.empty()) {
        read_history(m_history.c_str());
    }
    Prompt();
}

Console::~Console() {
    rl_callback_handler_remove();
    s_console = nullptr;
}

/// Done after each line, as a terminal that is closed leaves no time for it.
void Console::SaveHistory() const {
    if (!m_history.empty()) {
        write_history(m_history.c_str());
    }
}

void Console::Prompt() {
    rl_callback_handler_install(m_prompt.c_str(), TakeLine);
    m_isPrompting = true;
}

void Console::Read() {
    rl_callback_read_char();
    if (rl_end > kMaxLine) {
        // The library does not bound what it draws.
        rl_callback_handler_remove();
        std::puts("\nthe line is too long for the prompt; a script takes longer ones");
        Prompt();
    }
}

void Console::TakeLine(char* line) {
    const std::unique_ptr<char, decltype(&std::free)> owned(line, std::free);
    s_console->m_isPrompting = false;
    if (line == nullptr) {
        std::puts("");
        s_console->m_take(std::nullopt);
        return;
    }
    if (*line != '\0') {
        add_history(line);
        s_console->SaveHistory();
    }
    s_console->m_take(std::string(line));
    s_console->Prompt();
}

void Console::Print(const std::string& line) const {
    if (!m_isPrompting) {
        PrintLine(line);
        return;
    }
    static constexpr const char* kClearLine = "\r\x1B[K";
    ::Print(kClearLine + line + "\n");
    rl_forced_update_display();
}

char** Console::Complete(const char* text, int start, int /*end*/) {
    s_console->m_candidates = s_console->m_wordsAfter(WordsOf({rl_line_buffer, static_cast<std::size_t>(start)}));
    rl_attempted_completion_over = s_console->m_candidates.empty() ? 0 : 1; // otherwise the names of files
    return s_console->m_candidates.empty() ? nullptr : rl_completion_matches(text, NextCandidate);
}

/// Called until it returns null, with @p state 0 the first time; the caller frees what it gets.
char* Console::NextCandidate(const char* text, int state) {
    static std::size_t next = 0;
    next = state == 0 ? 0 : next;
    const Words& candidates = s_console->m_candidates;
    while (next < candidates.size()) {
        const std::string& candidate = candidates[next++];
        if (candidate.compare(0, std::strlen(text), text) == 0) {
            return ::strdup(candidate.c_str());
        }
    }
    return nullptr;
}

} // namespace mcusim
