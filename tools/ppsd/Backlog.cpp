#include "tools/ppsd/Backlog.h"

#include "platform/pps/Line.h"

void Backlog::Add(Packet group) {
    if ((*group)[0] == '-') {
        // Of a deleted object no state is due.
        m_stateDue = false;
    }
    if (!m_merging && m_bytes + group->size() <= kMaxBytes) {
        m_bytes += group->size();
        m_packets.push_back(std::move(group));
        return;
    }
    for (const Packet& packet : m_packets) {
        MergeNames(*packet);
    }
    m_packets.clear();
    m_bytes = 0;
    m_merging = true;
    MergeNames(*group);
}

void Backlog::MergeNames(std::string_view group) {
    m_deleted = group[0] == '-' || (m_deleted && group[0] != '+');
    while (!group.empty() && !m_resync) {
        const auto line = pps::ParseLine(pps::TakeLine(group));
        const bool isChange =
            line && (line->kind == pps::LineKind::Attribute || line->kind == pps::LineKind::AttributeDeleted);
        const bool isEmptied = line && (line->kind == pps::LineKind::Truncated || line->kind == pps::LineKind::Deleted);
        if (isEmptied) {
            m_resync = true;
        } else if (isChange && m_known.emplace(line->name).second) {
            m_names.emplace_back(line->name);
            m_nameBytes += line->name.size() + 2;
            m_resync = m_nameBytes > kMaxNameBytes;
        }
    }
    if (m_resync) {
        m_names.clear();
        m_known.clear();
    }
}

Packet Backlog::Next(const pps::Object& object) const {
    if (!m_packets.empty()) {
        return m_packets.front();
    }
    if (m_stateDue) {
        return std::make_shared<const std::string>(object.State());
    }
    if (m_resync) {
        return std::make_shared<const std::string>(m_deleted ? object.Head("-") : object.Head("#") + object.State());
    }
    return std::make_shared<const std::string>(object.Head("|") + object.Lines(m_names));
}

void Backlog::Taken() {
    if (!m_packets.empty()) {
        m_bytes -= m_packets.front()->size();
        m_packets.pop_front();
        return;
    }
    m_stateDue = false;
    m_merging = false;
    m_resync = false;
    m_deleted = false;
    m_names.clear();
    m_known.clear();
    m_nameBytes = 0;
}
