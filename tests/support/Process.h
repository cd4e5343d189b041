#ifndef TLG_TESTS_SUPPORT_PROCESS_H
#define TLG_TESTS_SUPPORT_PROCESS_H

#include <sys/resource.h>
#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/UniqueFd.h"

/// A running program of the project; what it prints, on either stream, is collected. It is killed at the end.
class Process {
public:
    /// @param program its name in the build's bin directory
    explicit Process(const std::string& program, const std::vector<std::string>& arguments = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Waits until the output holds @p text so many times; false when that takes too long.
    bool WaitFor(const std::string& text, std::size_t count = 1);

    /// What was printed so far.
    std::string Output();

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
    void Collect();

    pid_t m_pid = -1;
    UniqueFd m_input;
    UniqueFd m_output;
    std::atomic<bool> m_isEnded{false};
    std::thread m_collector;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_text; // guarded by m_mutex
};

/// Runs a program to its end. @p output receives what it printed.
int RunProgram(const std::string& program, const std::vector<std::string>& arguments, std::string& output);

/// How often @p text holds @p part.
std::size_t Count(const std::string& text, const std::string& part);

#endif
