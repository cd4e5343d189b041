#include "tools/ppsd/Report.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>

namespace ppsd {

void Report(std::string_view subject, std::string_view text) noexcept {
    pollfd standardError{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&standardError, 1, 0) <= 0) {
        return;
    }
    std::fprintf(stderr, "ppsd: %.*s: %.*s\n", static_cast<int>(subject.size()), subject.data(),
                 static_cast<int>(text.size()), text.data());
}

} // namespace ppsd
