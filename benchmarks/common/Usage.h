#ifndef TLG_BENCHMARKS_COMMON_USAGE_H
#define TLG_BENCHMARKS_COMMON_USAGE_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace bench {

struct Process {
    std::string name;
    pid_t id;
};

/// What a process with all its threads has used so far.
struct Usage {
    double processorMicroseconds = 0;
    long contextSwitches = 0;
    long residentKilobytes = 0;
};

Usage UsageOf(pid_t process);

/// The system calls that the process makes until @p during has returned; -1 where strace is missing. They are slow.
long SystemCallsOf(pid_t process, const std::function<void()>& during);

} // namespace bench

#endif
