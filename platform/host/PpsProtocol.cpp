#include "platform/host/PpsProtocol.h"

#include <array>
#include <cerrno>
#include <charconv>

namespace host {

namespace {

/// Parses an unsigned number and the blank after it, and removes both from @p text. False when they are not there.
bool ParseNumber(std::string_view& text, unsigned& number, int base) {
    const char* const end = text.data() + text.size();
    const auto [after, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || after == end || *after != ' ') {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(after - text.data()) + 1);
    return true;
}

} // namespace

PpsOptions SplitOptions(std::string_view& path) {
    constexpr std::string_view kAttributes = "f=";
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
        options.isKept |= option == "kept";
        options.isFile |= option == "file";
        if (option.substr(0, kAttributes.size()) == kAttributes) {
            options.attributes = option.substr(kAttributes.size());
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return options;
}

std::string RenderOpen(int flags, mode_t mode, const std::string& path) {
    std::array<char, 16> octal{};
    char* const end = std::to_chars(octal.data(), octal.data() + octal.size(), mode, 8).ptr;
    return "open " + std::to_string(flags) + " " + std::string(octal.data(), end) + " " + path;
}

std::optional<PpsOpen> ParseOpen(std::string_view text, PpsReply& refusal) {
    constexpr mode_t kModeBits = 07777;
    PpsOpen open;
    unsigned flags = 0;
    if (!ParseNumber(text, flags, 10)) {
        refusal = {EINVAL, "open flags that don't parse"};
        return std::nullopt;
    }
    if ((flags & ~unsigned{target_flags::kKnown}) != 0 ||
        (flags & target_flags::kAccessMask) == target_flags::kAccessMask) {
        refusal = {EINVAL, "open flags that mean nothing: " + std::to_string(flags)};
        return std::nullopt;
    }
    if (!ParseNumber(text, open.mode, 8) || open.mode > kModeBits) {
        refusal = {EINVAL, "an open mode that doesn't parse"};
        return std::nullopt;
    }
    open.flags = static_cast<int>(flags);
    open.path = text;
    open.options = SplitOptions(open.path);
    return open;
}

std::string Render(const PpsReply& reply) {
    if (reply.error == 0) {
        return reply.reason.empty() ? "ok" : "ok " + reply.reason;
    }
    return "error " + std::to_string(reply.error) + " " + reply.reason;
}

PpsReply ParseReply(std::string_view text) {
    constexpr std::string_view kOk = "ok ";
    constexpr std::string_view kError = "error ";
    if (text == kOk.substr(0, 2)) {
        return {};
    }
    if (text.substr(0, kOk.size()) == kOk) {
        return {0, std::string(text.substr(kOk.size()))};
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
