#include "benchmarks/peers/Broker.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "benchmarks/common/PpsServer.h"

namespace peers {

BrokerProcess::BrokerProcess(const std::vector<std::string>& command)
    : m_process([&command] {
          const int nothing = ::openat(AT_FDCWD, "/dev/null", O_RDWR); // open() looks below the root
          ::dup2(nothing, STDIN_FILENO);
          bench::Become(command, nothing, nothing);
      }) {}

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
