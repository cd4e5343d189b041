#ifndef TLG_TESTS_SUPPORT_PROCESS_H
#define TLG_TESTS_SUPPORT_PROCESS_H

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/types.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/UniqueFd.h"

/// A running program of the project; what it prints, on either stream, is collected. It is killed at the end, and also
/// where the thread that started it ends first.
class Process {
public:
    /// @param program its name in the build's bin directory, or its whole path
    explicit Process(const std::string& program, const std::vector<std::string>& arguments = {});
    ~Process() { Stop(SIGKILL); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Waits until the output holds @p text @p count times; where it does not come, the failure shows the output.
    testing::AssertionResult WaitFor(const std::string& text, std::size_t count = 1);

    /// What was printed so far.
    const std::string& Output();

    /// Writes to the program's standard input.
    void Type(const std::string& text) const;

    /// Lowers a limit of the running program, for good.
    void Limit(__rlimit_resource resource, rlim_t limit) const;

    pid_t Id() const { return m_pid; }

    /// Sends a signal and does not wait, but for the stop where it is SIGSTOP.
    void Signal(int signal) const;

    /// Sends the signal, if any, and waits for the end: the exit status, or minus the signal that ended it.
    int Stop(int signal);
    int WaitForEnd() { return Stop(0); }

private:
    bool EndsWithin(int timeoutMs) const;
    std::string Account(const std::string& missed);

    const std::string m_name;
    pid_t m_pid = -1;
    UniqueFd m_input;
    UniqueFd m_output; // a file in memory, which takes everything at once: also from programs that drop what is not
    UniqueFd m_end;    // readable when the program has ended
    std::string m_text;
};

/// Starts a server or simulator and waits until it is ready.
std::unique_ptr<Process> StartReady(const std::string& program, const std::vector<std::string>& arguments = {});

/// Runs a program to its end. @p output receives what it printed.
int RunProgram(const std::string& program, const std::vector<std::string>& arguments, std::string& output);

/// How often @p text holds @p part.
std::size_t Count(const std::string& text, const std::string& part);

#endif
