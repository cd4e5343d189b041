#include "tools/panel/Actions.h"

#include <poll.h>
#include <rapidjson/document.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "platform/host/PpsConnection.h"
#include "tools/common/Words.h"
#include "tools/mculink/Recording.h"
#include "tools/mcusim/Orders.h"
#include "tools/panel/PacketDetail.h"

namespace panel {

namespace {

constexpr std::array<std::string_view, 3> kWritable{"/pps/tolvyn/eq/control", "/pps/tolvyn/navigation/gps_status",
                                                    "/pps/tolvyn/system/poweron_status"};
/// The simulator's other orders are not for the page; some read or write files, or wait.
constexpr std::array<std::string_view, 14> kOrders{"volume",  "mute",     "refuse",  "drop",    "duplicate",
                                                   "reorder", "renumber", "corrupt", "silence", "deaf",
                                                   "delay",   "clear",    "hangup",  "restart"};
constexpr std::chrono::seconds kPatience(2);

constexpr int kBadRequest = 400;
constexpr int kConflict = 409;
constexpr int kNotFound = 404;

template <typename Texts>
bool Contains(const Texts& texts, std::string_view text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

std::string TextOf(const rapidjson::Document& json, const char* member) {
    if (!json.IsObject()) {
        return "";
    }
    const auto found = json.FindMember(member);
    const bool isText = found != json.MemberEnd() && found->value.IsString();
    return isText ? std::string(found->value.GetString(), found->value.GetStringLength()) : "";
}

} // namespace

Outcome WriteLine(const std::string& json) {
    rapidjson::Document request;
    request.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
    const std::string object = TextOf(request, "object");
    const std::string line = TextOf(request, "line");
    if (!Contains(kWritable, object) || line.empty() || line.find('\n') != std::string::npos) {
        return {kBadRequest, "not a line for an object that pages write into"};
    }
    host::PpsReply reply;
    const UniqueFd fd = host::OpenPpsObject(object + "?ack", host::target_flags::kWriteOnly, reply);
    if (!fd) {
        return {kConflict, object + ": " + reply.reason};
    }
    std::string answer;
    pollfd answered{fd.Get(), POLLIN, 0};
    if (::write(fd.Get(), line.data(), line.size()) < 0 ||
        ::poll(&answered, 1, static_cast<int>(kPatience / std::chrono::milliseconds(1))) < 0 ||
        !host::ReceivePacket(fd.Get(), answer)) {
        return {kConflict, object + ": " + (errno == 0 ? "the PPS server has ended" : std::strerror(errno))};
    }
    reply = host::ParseReply(answer);
    return reply.error == 0 ? Outcome() : Outcome{kBadRequest, object + ": " + reply.reason};
}

Outcome GiveOrder(const std::string& order) {
    const Words words = WordsOf(order);
    constexpr long kMostSeed = 4294967295;
    // What is no seed would be a file's name.
    const bool namesFile =
        words.size() > 1 && words[0] == "restart" && (words.size() > 2 || !NumberIn(words[1], 0, kMostSeed));
    if (words.empty() || !Contains(kOrders, words[0]) || namesFile || order.find('\n') != std::string::npos) {
        return {kBadRequest, "not an order for pages"};
    }
    const mcusim::OrderResult result = mcusim::GiveOrder(order, kPatience);
    return {result.isObeyed ? 200 : kConflict, result.text};
}

Outcome RecordingOf(const Feed& feed, const std::string& json) {
    rapidjson::Document numbers;
    numbers.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
    if (!numbers.IsArray()) {
        return {kBadRequest, "not an array of numbers"};
    }
    const UniqueFd file(::memfd_create("recording", MFD_CLOEXEC));
    mculink::RecordingWriter writer;
    std::string error;
    if (!writer.Open("/proc/self/fd/" + std::to_string(file.Get()), error)) {
        return {kConflict, error};
    }
    for (const auto& number : numbers.GetArray()) {
        const auto packet = number.IsUint64() ? feed.PacketOf(number.GetUint64()) : std::nullopt;
        if (packet && !writer.Write(*packet)) {
            return {kConflict, std::strerror(errno)};
        }
    }
    Outcome outcome;
    outcome.text.resize(static_cast<std::size_t>(::lseek(file.Get(), 0, SEEK_END)));
    const ssize_t length = ::pread(file.Get(), outcome.text.data(), outcome.text.size(), 0);
    return length == static_cast<ssize_t>(outcome.text.size()) ? outcome : Outcome{kConflict, std::strerror(errno)};
}

Outcome DetailOf(const Feed& feed, const std::string& number) {
    const auto parsed = NumberOf(number);
    const auto packet = parsed && *parsed >= 0 ? feed.PacketOf(static_cast<std::uint64_t>(*parsed)) : std::nullopt;
    return packet ? Outcome{200, DetailOf(*packet)} : Outcome{kNotFound, "the packet is not kept any more"};
}

} // namespace panel
