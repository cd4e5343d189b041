#include "benchmarks/common/Usage.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

namespace bench {

namespace {

/// The number after a word in a file of lines such as "VmRSS:  1234 kB".
long NumberAfter(const std::filesystem::path& path, const std::string& word) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, word.size(), word) == 0) {
            return std::stol(line.substr(word.size()));
        }
    }
    return 0;
}

/// Whether a tracer is attached to the process.
bool IsTraced(pid_t process) {
    return NumberAfter("/proc/" + std::to_string(process) + "/status", "TracerPid:") != 0;
}

} // namespace

Usage UsageOf(pid_t process) {
    const std::filesystem::path directory = "/proc/" + std::to_string(process);
    Usage usage;
    usage.residentKilobytes = NumberAfter(directory / "status", "VmRSS:");
    for (const auto& thread : std::filesystem::directory_iterator(directory / "task")) {
        long nanoseconds = 0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        usage.processorMicroseconds += static_cast<double>(nanoseconds) / 1000;
        usage.contextSwitches += NumberAfter(thread.path() / "status", "voluntary_ctxt_switches:") +
                                 NumberAfter(thread.path() / "status", "nonvoluntary_ctxt_switches:");
    }
    return usage;
}

long SystemCallsOf(pid_t process, const std::function<void()>& during) {
    std::string file = (std::filesystem::temp_directory_path() / "calls.XXXXXX").string();
    ::close(::mkstemp(file.data()));
    const pid_t tracer = ::fork();
    if (tracer == 0) {
        ::execlp("strace", "strace", "-f", "-qq", "-o", file.c_str(), "-p", std::to_string(process).c_str(), nullptr);
        ::_exit(127);
    }
    while (!IsTraced(process)) {
        if (::waitpid(tracer, nullptr, WNOHANG) == tracer) {
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    during();
    ::kill(tracer, SIGINT);
    ::waitpid(tracer, nullptr, 0);
    long calls = 0;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        calls += line.find("resumed>") == std::string::npos ? 1 : 0;
    }
    std::filesystem::remove(file);
    return calls;
}

} // namespace bench
