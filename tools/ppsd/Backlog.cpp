#include "tools/ppsd/Backlog.h"

#include <new>

#include "platform/pps/Line.h"

namespace ppsd {

void Backlog::Add(const Packet& group, std::size_t limit) noexcept {
    const char mark = (*group)[0];
    if (mark == '-') {
        // A deleted object has no state to send.
        m_stateDue = false;
    }
    try {
        if (Keep(group, limit)) {
            return;
        }
        m_merging = true;
        for (const Packet& packet : m_packets) {
            Merge(*packet, limit);
        }
        ClearPackets();
        Merge(*group, limit);
    } catch (const std::bad_alloc&) {
        Lose(mark);
    }
}

/// Whether the group could be kept as it is.
bool Backlog::Keep(const Packet& group, std::size_t limit) {
    if (m_merging || m_bytes + group->size() > kMaxBytes || Cost() + group->size() + kPacketCost > limit) {
        return false;
    }
    m_packets.push_back(group);
    m_bytes += group->size();
    return true;
}

void Backlog::Merge(std::string_view group, std::size_t limit) {
    Note(group[0]);
    while (!group.empty() && !m_resync) {
        const auto line = pps::ParseLine(pps::NextLine(group));
        const bool isChange =
            line && (line->kind == pps::LineKind::Attribute || line->kind == pps::LineKind::AttributeDeleted);
        const bool isEmptied = line && (line->kind == pps::LineKind::Truncated || line->kind == pps::LineKind::Deleted);
        if (isEmptied) {
            Resynchronise();
        } else if (isChange && m_known.find(line->name) == m_known.end()) {
            m_names.emplace_back(line->name);
            m_nameBytes += line->name.size() + 2;
            m_known.emplace(m_names.back());
            if (m_nameBytes > kMaxNameBytes || NameCost() > limit) {
                Resynchronise();
            }
        }
    }
}

void Backlog::Lose(char mark) noexcept {
    for (const Packet& packet : m_packets) {
        Note((*packet)[0]);
    }
    ClearPackets();
    Note(mark);
    m_merging = true;
    Resynchronise();
}

void Backlog::Note(char mark) noexcept {
    m_deleted = mark == '-' || (m_deleted && mark != '+');
}

void Backlog::Resynchronise() noexcept {
    m_resync = true;
    ClearNames();
}

void Backlog::ClearPackets() noexcept {
    m_packets.clear();
    m_bytes = 0;
}

void Backlog::ClearNames() noexcept {
    std::unordered_set<std::string_view>().swap(m_known);
    m_names.clear();
    m_nameBytes = 0;
}

std::string_view Backlog::Next(const Object& object, std::string& scratch) const {
    if (!m_packets.empty()) {
        return *m_packets.front();
    }
    scratch.clear();
    if (m_stateDue) {
        object.AppendState(scratch);
    } else if (m_resync && m_deleted) {
        object.AppendHead(scratch, "-");
    } else if (m_resync) {
        object.AppendHead(scratch, "#");
        object.AppendState(scratch);
    } else {
        object.AppendHead(scratch, "|");
        object.AppendLines(scratch, m_names);
    }
    return scratch;
}

void Backlog::RemoveNext() noexcept {
    if (!m_packets.empty()) {
        m_bytes -= m_packets.front()->size();
        m_packets.pop_front();
        return;
    }
    m_stateDue = false;
    m_merging = false;
    m_resync = false;
    m_deleted = false;
    ClearNames();
}

} // namespace ppsd
