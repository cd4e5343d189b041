#include "tools/eqctl/Published.h"

#include <poll.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/host/PpsConnection.h"
#include "platform/pps/Line.h"

namespace eqctl {

namespace {

constexpr const char* kObjects[] = {"/pps/tolvyn/eq/status", "/pps/tolvyn/eq/settings"};

rapidjson::Document ValueOf(const pps::Line& line) {
    rapidjson::Document value;
    const bool isJson = line.encoding == "json" || line.encoding == "n";
    if (!isJson || value.Parse(line.value.data(), line.value.size()).HasParseError()) {
        value.SetString(line.value.data(), static_cast<rapidjson::SizeType>(line.value.size()), value.GetAllocator());
    }
    return value;
}

} // namespace

bool Published::Open(std::string& error) {
    for (const char* const object : kObjects) {
        host::PpsReply reply;
        m_objects.push_back(host::OpenPpsObject(std::string(object) + "?delta", host::target_flags::kReadOnly, reply));
        if (!m_objects.back()) {
            error = std::string(object) + ": " + reply.reason +
                    (reply.error == ENOENT ? " (the service has not run yet)" : "");
            return false;
        }
        // The state follows the answer at once.
        constexpr std::chrono::milliseconds kPatience(2000);
        pollfd state{m_objects.back().Get(), POLLIN, 0};
        std::string text;
        if (::poll(&state, 1, static_cast<int>(kPatience.count())) != 1 ||
            !host::ReceivePacket(m_objects.back().Get(), text)) {
            error = std::string(object) + ": the PPS server does not answer";
            return false;
        }
        std::vector<std::string> names;
        Take(text, names);
    }
    return true;
}

std::vector<std::string> Published::WaitForChange(std::chrono::milliseconds limit, int stopFd, std::string& error) {
    std::vector<std::string> names;
    std::vector<pollfd> polled{{stopFd, POLLIN, 0}};
    for (const UniqueFd& object : m_objects) {
        polled.push_back({object.Get(), POLLIN, 0});
    }
    if (::poll(polled.data(), polled.size(), static_cast<int>(limit.count())) <= 0 || polled[0].revents != 0) {
        return names;
    }
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        std::string text;
        if (polled[i + 1].revents == 0) {
            continue;
        }
        if (host::ReceivePacket(m_objects[i].Get(), text)) {
            const std::size_t before = names.size();
            Take(text, names);
            if (names.size() == before && text.compare(0, 2, "-@") == 0) {
                error = std::string(kObjects[i]) + " was deleted";
            }
        } else if (errno != EAGAIN) {
            error = "the PPS server has ended";
        }
    }
    return names;
}

void Published::Take(std::string_view text, std::vector<std::string>& names) {
    while (!text.empty()) {
        const std::optional<pps::Line> line = pps::ParseLine(pps::NextLine(text));
        if (line && line->kind == pps::LineKind::Attribute) {
            m_values[std::string(line->name)] = ValueOf(*line);
            names.emplace_back(line->name);
        } else if (line && line->kind == pps::LineKind::AttributeDeleted) {
            m_values.erase(std::string(line->name));
        }
    }
}

const rapidjson::Value& Published::Get(const std::string& attribute) const {
    static const rapidjson::Value null;
    const auto found = m_values.find(attribute);
    return found == m_values.end() ? null : found->second;
}

int Published::Number(const std::string& attribute, const char* member, int index) const {
    const rapidjson::Value& whole = Get(attribute);
    const auto found = whole.IsObject() ? whole.FindMember(member) : rapidjson::Value::ConstMemberIterator();
    if (!whole.IsObject() || found == whole.MemberEnd()) {
        return -1;
    }
    const rapidjson::Value& value = found->value;
    const auto place = static_cast<rapidjson::SizeType>(std::max(index, 0));
    if (index >= 0) {
        return value.IsArray() && place < value.Size() && value[place].IsInt() ? value[place].GetInt() : -1;
    }
    return value.IsInt() ? value.GetInt() : -1;
}

std::string Published::Text(const std::string& attribute, const char* member) const {
    const rapidjson::Value& whole = Get(attribute);
    if (!whole.IsObject()) {
        return "";
    }
    const auto found = whole.FindMember(member);
    return found != whole.MemberEnd() && found->value.IsString() ? found->value.GetString() : "";
}

std::string Plain(const rapidjson::Value& value) {
    std::string text;
    if (value.IsString()) {
        return value.GetString();
    }
    if (value.IsObject()) {
        for (const auto& member : value.GetObject()) {
            text.append(text.empty() ? "" : " ").append(member.name.GetString()).append("=");
            text.append(Plain(member.value));
        }
        return text;
    }
    if (value.IsArray()) {
        for (const rapidjson::Value& element : value.GetArray()) {
            text.append(text.empty() ? "" : ",").append(Plain(element));
        }
        return text;
    }
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> json(buffer);
    value.Accept(json);
    return buffer.GetString();
}

} // namespace eqctl
