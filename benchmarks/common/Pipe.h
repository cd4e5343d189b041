#ifndef TLG_BENCHMARKS_COMMON_PIPE_H
#define TLG_BENCHMARKS_COMMON_PIPE_H

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>

#include "platform/posix/UniqueFd.h"

namespace bench {

struct Pipe {
    Pipe() {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        read.Reset(ends[0]);
        write.Reset(ends[1]);
    }

    UniqueFd read;
    UniqueFd write;
};

} // namespace bench

#endif
