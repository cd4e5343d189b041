#include "platform/host/PpsProtocol.h"

#include <cerrno>
#include <charconv>

namespace host {

PpsOptions SplitOptions(std::string_view& path) {
    PpsOptions options;
    const std::size_t mark = path.find('?');
    if (mark == std::string_view::npos) {
        return options;
    }
    std::string_view rest = path.substr(mark + 1);
    path = path.substr(0, mark);
    while (!rest.empty()) {
        const std::size_t end = rest.find(',');
        const std::string_view option = rest.substr(0, end);
        options.delta |= option == "delta";
        options.wait |= option == "wait";
        options.notPersistent |= option == "nopersist";
        options.acknowledge |= option == "ack";
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return options;
}

std::string Render(const PpsReply& reply) {
    return reply.error == 0 ? "ok" : "error " + std::to_string(reply.error) + " " + reply.reason;
}

PpsReply ParseReply(std::string_view text) {
    constexpr std::string_view kError = "error ";
    if (text == "ok") {
        return {};
    }
    PpsReply reply{EPROTO, "not the answer of a PPS server"};
    if (text.substr(0, kError.size()) == kError) {
        text.remove_prefix(kError.size());
        const char* end = std::from_chars(text.data(), text.data() + text.size(), reply.error).ptr;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        reply.reason = text.substr(text.empty() ? 0 : 1);
    }
    return reply;
}

} // namespace host
