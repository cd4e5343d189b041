#include "benchmarks/peers/Broker.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace peers {

void BecomeProgram(const std::vector<std::string>& command) {
    const int nothing = ::openat(AT_FDCWD, "/dev/null", O_RDWR); // open() looks below the root
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nothing, fd);
    }
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str())); // execvp does not change them
    }
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

void RetryUntilServed(const std::string& program, const std::function<bool()>& connect) {
    constexpr int kTries = 300;
    for (int i = 0; i < kTries; ++i) {
        if (connect()) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error(program + " can't be reached; is it installed?");
}

} // namespace peers
