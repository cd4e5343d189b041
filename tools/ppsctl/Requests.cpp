#include "tools/ppsctl/Requests.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/host/PpsConnection.h"
#include "platform/pps/Line.h"

namespace ppsctl {

int Fail(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "ppsctl: %s: %s\n", subject.c_str(), reason.c_str());
    return 1;
}

int Fail(const std::string& subject, int error) {
    return Fail(subject, error == 0 ? "the PPS server has ended" : std::strerror(error));
}

std::optional<std::vector<std::string>> ListObjects(std::string& error) {
    std::vector<std::string> paths;
    for (;;) {
        host::PpsReply reply;
        const UniqueFd fd = host::RequestOfPpsServer("list " + (paths.empty() ? "" : paths.back()), reply);
        if (!fd) {
            error = reply.reason;
            return std::nullopt;
        }
        std::string text;
        if (!host::ReceivePacket(fd.Get(), text)) {
            error = errno == 0 ? "" : std::strerror(errno);
            return errno == 0 ? std::optional(paths) : std::nullopt;
        }
        for (std::string_view rest = text; !rest.empty();) {
            paths.emplace_back(pps::NextLine(rest));
        }
    }
}

} // namespace ppsctl
