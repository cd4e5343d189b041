#include "tools/panel/Feed.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>

#include "platform/pps/Line.h"
#include "tools/ppsctl/Json.h"

namespace panel {

namespace {

/// No update has more packets, so that none takes long to read.
constexpr std::size_t kMaxPerUpdate = 2000;
/// Of what comes in quick succession one update is made.
constexpr std::chrono::milliseconds kGathering(30);

/// Appends the range as a JSON array, after a comma.
template <typename Iterator, typename TextOf>
void AppendArray(std::string& json, const char* name, Iterator begin, Iterator end, TextOf textOf) {
    json.append(json.size() > 1 ? ",\"" : "\"").append(name).append("\":[");
    for (Iterator at = begin; at != end; ++at) {
        json.append(at == begin ? "" : ",").append(textOf(*at));
    }
    json.append("]");
}

void AppendNumber(std::string& json, const char* name, std::uint64_t number) {
    json.append(json.size() > 1 ? ",\"" : "\"").append(name).append("\":").append(std::to_string(number));
}

std::string Quoted(const std::string& text) {
    rapidjson::StringBuffer json;
    rapidjson::Writer<rapidjson::StringBuffer>(json).String(text.c_str());
    return json.GetString();
}

/// Carries out what a text says of an object.
void Apply(ppsd::Object& object, std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = pps::NextLine(text);
        const auto parsed = pps::ParseLine(line);
        const bool isAttribute =
            parsed && (parsed->kind == pps::LineKind::Attribute || parsed->kind == pps::LineKind::AttributeDeleted);
        if (isAttribute) {
            object.Apply(line);
        } else if (parsed && (parsed->kind == pps::LineKind::Deleted || parsed->kind == pps::LineKind::Truncated)) {
            object.Truncate();
        }
    }
}

} // namespace

void Feed::AddText(const std::string& path, std::string_view text) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_objects.try_emplace(path, path.substr(path.rfind('/') + 1)).first;
    Apply(found->second, text);
    m_changes.push_back(ppsctl::JsonOf(path, text, ""));
    m_changeBytes += m_changes.back().size();
    while (m_changeBytes > kMaxChangeBytes) {
        m_changeBytes -= m_changes.front().size();
        m_changes.pop_front();
        ++m_firstChange;
    }
    m_isNew.notify_all();
}

void Feed::AddPacket(const mculink::LinkPacket& packet, std::string json) {
    const std::lock_guard lock(m_mutex);
    m_packets.push_back({packet, std::move(json)});
    if (m_packets.size() > kMaxPackets) {
        m_packets.pop_front();
        ++m_firstPacket;
    }
    m_isNew.notify_all();
}

void Feed::SetPeers(const std::string& json) {
    const std::lock_guard lock(m_mutex);
    if (m_peers != json) {
        m_peers = json;
        ++m_peersNumber;
        m_isNew.notify_all();
    }
}

void Feed::SetLink(const std::string& text) {
    const std::lock_guard lock(m_mutex);
    if (m_link != text) {
        m_link = text;
        ++m_peersNumber;
        m_isNew.notify_all();
    }
}

bool Feed::HasNews(const Place& place) const {
    return !place.hasObjects || place.packet.value_or(m_firstPacket) < m_firstPacket + m_packets.size() ||
           place.change < m_firstChange + m_changes.size() || place.peers != m_peersNumber;
}

std::string Feed::Next(Place& place, std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    if (!m_isNew.wait_for(lock, limit, [&] { return m_isStopped || HasNews(place); })) {
        return {};
    }
    m_isNew.wait_for(lock, kGathering, [this] { return m_isStopped; });
    if (m_isStopped) {
        return {};
    }
    std::string json = "{";
    AppendPackets(json, place);
    AppendObjects(json, place);
    if (place.peers != m_peersNumber) {
        json.append(json.size() > 1 ? ",\"peers\":" : "\"peers\":").append(m_peers);
        json.append(",\"link\":").append(Quoted(m_link));
        place.peers = m_peersNumber;
    }
    return json + "}";
}

void Feed::AppendPackets(std::string& json, Place& place) const {
    const std::uint64_t end = m_firstPacket + m_packets.size();
    const std::uint64_t next = place.packet.value_or(m_firstPacket);
    const std::uint64_t first = std::max(next, m_firstPacket);
    if (first > next) {
        AppendNumber(json, "lost", first - next);
    }
    const auto count = std::min<std::uint64_t>(end - std::min(first, end), kMaxPerUpdate);
    if (count > 0) {
        AppendNumber(json, "first", first);
        const auto begin = m_packets.begin() + static_cast<std::ptrdiff_t>(first - m_firstPacket);
        AppendArray(json, "packets", begin, begin + static_cast<std::ptrdiff_t>(count),
                    [](const Packet& each) -> const std::string& { return each.json; });
    }
    place.packet = first + count;
}

void Feed::AppendObjects(std::string& json, Place& place) const {
    const std::uint64_t end = m_firstChange + m_changes.size();
    if (!place.hasObjects || place.change < m_firstChange) {
        AppendArray(json, "states", m_objects.begin(), m_objects.end(),
                    [](const auto& each) { return ppsctl::JsonOf(each.first, each.second.State(), ""); });
    } else if (place.change < end) {
        AppendArray(json, "objects", m_changes.begin() + static_cast<std::ptrdiff_t>(place.change - m_firstChange),
                    m_changes.end(), [](const std::string& each) -> const std::string& { return each; });
    }
    place.hasObjects = true;
    place.change = end;
}

std::optional<mculink::LinkPacket> Feed::PacketOf(std::uint64_t number) const {
    const std::lock_guard lock(m_mutex);
    if (number < m_firstPacket || number - m_firstPacket >= m_packets.size()) {
        return std::nullopt;
    }
    return m_packets[static_cast<std::size_t>(number - m_firstPacket)].packet;
}

void Feed::Stop() {
    const std::lock_guard lock(m_mutex);
    m_isStopped = true;
    m_isNew.notify_all();
}

bool Feed::IsStopped() const {
    const std::lock_guard lock(m_mutex);
    return m_isStopped;
}

} // namespace panel
