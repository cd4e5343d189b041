#include "tests/support/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

constexpr auto kTimeout = std::chrono::seconds(180);

} // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments) {
    std::array<int, 2> input{};
    m_output.Reset(::memfd_create("output", MFD_CLOEXEC));
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || !m_output) {
        throw std::runtime_error("no pipe");
    }
    m_input.Reset(input[1]);
    const UniqueFd theirInput(input[0]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirInput.Get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_output.Get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, m_output.Get(), STDERR_FILENO);
    std::string path = std::string(TLG_BIN_DIR "/") + program;
    std::vector<char*> argv{path.data()};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const int error = ::posix_spawn(&m_pid, path.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot run " + path);
    }
    m_collector = std::thread(&Process::Collect, this);
}

Process::~Process() {
    Stop(SIGKILL);
}

/// The output goes to a file in memory, which takes everything at once: programs that drop what nobody takes, as the
/// service's log, lose nothing to a collector that is slow.
void Process::Collect() {
    std::array<char, 65536> buffer{};
    off_t collected = 0;
    for (;;) {
        const bool wasEnded = m_isEnded;
        const ssize_t length = ::pread(m_output.Get(), buffer.data(), buffer.size(), collected);
        if (length <= 0 && wasEnded) {
            return;
        }
        if (length <= 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            continue;
        }
        collected += length;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_text.append(buffer.data(), static_cast<std::size_t>(length));
        m_changed.notify_all();
    }
}

bool Process::WaitFor(const std::string& text, std::size_t count) {
    std::unique_lock<std::mutex> lock(m_mutex);
    std::size_t found = 0;
    std::size_t behind = 0;
    return m_changed.wait_for(lock, kTimeout, [&] {
        for (std::size_t at = m_text.find(text, behind); at != std::string::npos; at = m_text.find(text, behind)) {
            ++found;
            behind = at + text.size();
        }
        // What is still under way may begin with the last few characters.
        behind = std::max(behind, m_text.size() - std::min(m_text.size(), text.size()));
        return found >= count;
    });
}

std::string Process::Output() {
    const std::lock_guard<std::mutex> lock(m_mutex);
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
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    m_isEnded = true;
    m_collector.join();
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
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
