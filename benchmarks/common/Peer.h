#ifndef TLG_BENCHMARKS_COMMON_PEER_H
#define TLG_BENCHMARKS_COMMON_PEER_H

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>

namespace bench {

/// Binds the calling thread, and the processes that it makes, to the first processors.
inline void BindToProcessors(int count) {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    for (int i = 0; i < count; ++i) {
        CPU_SET(i, &processors);
    }
    if (::sched_setaffinity(0, sizeof processors, &processors) != 0) {
        throw std::runtime_error("there are not so many processors");
    }
}

/// Another process of the bench, ended with this one. It runs a function, or becomes a program in it.
class Peer {
public:
    explicit Peer(const std::function<void()>& run) : m_pid(::fork()) {
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            try {
                run();
            } catch (const std::exception& error) {
                std::fprintf(stderr, "%s\n", error.what());
                ::_exit(1);
            }
            ::_exit(0);
        }
        if (m_pid < 0) {
            throw std::runtime_error("no process");
        }
    }
    ~Peer() {
        ::kill(m_pid, SIGTERM);
        ::waitpid(m_pid, nullptr, 0);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t Id() const { return m_pid; }

private:
    pid_t m_pid;
};

} // namespace bench

#endif
