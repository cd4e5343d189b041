#include "tests/support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <stdexcept>

#include "tests/support/Patience.h"

namespace {

/// Becomes the program, which then ends with the thread that made it.
[[noreturn]] void Become(char* const* argv, pid_t parent, int input, int output) {
    const bool isTied = ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent;
    if (isTied && ::dup2(input, STDIN_FILENO) >= 0 && ::dup2(output, STDOUT_FILENO) >= 0 &&
        ::dup2(output, STDERR_FILENO) >= 0) {
        ::execv(argv[0], argv);
    }
    ::_exit(127);
}

} // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments) : m_name(program) {
    std::array<int, 2> input{};
    m_output.Reset(::memfd_create("output", MFD_CLOEXEC));
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || !m_output) {
        throw std::runtime_error("no pipe");
    }
    m_input.Reset(input[1]);
    const UniqueFd theirInput(input[0]);
    std::string path = (program.front() == '/' ? "" : TLG_BIN_DIR "/") + program;
    std::vector<char*> argv{path.data()};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const pid_t parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == 0) {
        Become(argv.data(), parent, theirInput.Get(), m_output.Get());
    }
    m_end.Reset(m_pid < 0 ? -1 : static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0)));
    if (!m_end) {
        throw std::runtime_error("cannot run " + path);
    }
}

bool Process::EndsWithin(int timeoutMs) const {
    pollfd end{m_end.Get(), POLLIN, 0};
    return ::poll(&end, 1, timeoutMs) > 0;
}

/// What is said where something is missed.
std::string Process::Account(const std::string& missed) {
    constexpr std::size_t kShown = 4000;
    const std::string& output = Output();
    return m_name + (EndsWithin(0) ? " has ended" : " runs") + ", but " + missed + "; it has printed:\n" +
           output.substr(output.size() - std::min(output.size(), kShown));
}

testing::AssertionResult Process::WaitFor(const std::string& text, std::size_t count) {
    for (const auto end = EndOfPatience();;) {
        const bool isLast = EndsWithin(1) || std::chrono::steady_clock::now() >= end;
        const std::size_t found = Count(Output(), text);
        if (found >= count) {
            return testing::AssertionSuccess();
        }
        if (isLast) {
            return testing::AssertionFailure()
                   << Account("said '" + text + "' " + std::to_string(found) + " times of " + std::to_string(count));
        }
    }
}

const std::string& Process::Output() {
    std::array<char, 65536> block{};
    ssize_t length = 0;
    do {
        m_text.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        length = ::pread(m_output.Get(), block.data(), block.size(), static_cast<off_t>(m_text.size()));
    } while (length > 0);
    return m_text;
}

void Process::Type(const std::string& text) const {
    if (::write(m_input.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("the program takes no input");
    }
}

void Process::Limit(__rlimit_resource resource, rlim_t limit) const {
    const rlimit both{limit, limit};
    if (::prlimit(m_pid, resource, &both, nullptr) != 0) {
        throw std::runtime_error("the limit can't be set");
    }
}

void Process::Signal(int signal) const {
    ::kill(m_pid, signal);
    if (signal == SIGSTOP) {
        int status = 0;
        ::waitpid(m_pid, &status, WUNTRACED);
    }
}

int Process::Stop(int signal) {
    if (m_pid < 0) {
        return 0;
    }
    if (signal != 0) {
        ::kill(m_pid, signal);
    }
    if (!EndsWithin(kTestTimeoutMs)) {
        ADD_FAILURE() << Account("was to end, by signal " + std::to_string(signal));
        ::kill(m_pid, SIGKILL);
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

std::unique_ptr<Process> StartReady(const std::string& program, const std::vector<std::string>& arguments) {
    auto process = std::make_unique<Process>(program, arguments);
    EXPECT_TRUE(process->WaitFor(program + ": ready\n"));
    return process;
}

int RunProgram(const std::string& program, const std::vector<std::string>& arguments, std::string& output) {
    Process process(program, arguments);
    const int status = process.WaitForEnd();
    output = process.Output();
    return status;
}

std::size_t Count(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}
