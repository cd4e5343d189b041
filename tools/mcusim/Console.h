#ifndef TLG_TOOLS_MCUSIM_CONSOLE_H
#define TLG_TOOLS_MCUSIM_CONSOLE_H

#include <functional>
#include <optional>
#include <string>

#include "tools/common/Words.h"

namespace mcusim {

/// A prompt on the terminal, with history and completion. There is one at most; all calls come from one thread.
class Console {
public:
    /// Receives each line, and nothing once the user has ended the prompt.
    using Take = std::function<void(const std::optional<std::string>& line)>;
    /// The words that may come after these.
    using WordsAfter = std::function<Words(const Words& words)>;

    /// Whether @p fd and standard output are terminals that this process may read now.
    static bool IsPossible(int fd);

    /// @param name stands in the prompt; the history is kept in the file ".NAME_history" of the user's home
    Console(const std::string& name, Take take, WordsAfter wordsAfter);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Reads what was typed.
    void Read();
    /// Prints a line above the prompt.
    void Print(const std::string& line) const;

private:
    static void TakeLine(char* line);
    static char** Complete(const char* text, int start, int end);
    static char* NextCandidate(const char* text, int state);
    void Prompt();
    void SaveHistory() const;

    static Console* s_console;

    std::string m_name;
    std::string m_prompt;
    std::string m_history;
    Take m_take;
    WordsAfter m_wordsAfter;
    Words m_candidates;
    bool m_isPrompting = false;
};

} // namespace mcusim

#endif
