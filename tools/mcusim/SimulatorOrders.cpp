// What orders do to the simulator.
#include <algorithm>
#include <utility>

#include "tools/mculink/PacketFields.h"
#include "tools/mcusim/Simulator.h"

namespace mcusim {

void Simulator::Turn(const Change& change) {
    m_settings.Set(change.record);
    Broadcast(Settings::ReportOf(change.record, change.marked));
}

void Simulator::TakeAndReport(const Settings& settings) {
    for (const RecordLayout& layout : kRecordLayouts) {
        const Record before = m_settings.Get(layout.type);
        const Record& after = settings.Get(layout.type);
        if (before.Payload() == after.Payload()) {
            continue;
        }
        Record report = after;
        for (const std::string_view mark : MarksOf(before, after)) {
            report.Marked(mark);
        }
        m_settings.Set(after);
        Broadcast(report.Payload(kReport));
    }
}

void Simulator::Send(const Bytes& packet) {
    for (auto& [id, connection] : m_connections) {
        if (connection.outbox.size() < kMaxWaitingReports) {
            SendPacket(connection, packet);
        }
    }
}

void Simulator::SetFault(Fault fault, long count) {
    m_faults.Set(fault, count);
    for (auto& [id, connection] : m_connections) {
        if (!m_faults.IsOn(Fault::kReorder)) {
            if (const std::optional<Bytes> earlier = std::exchange(connection.heldBack, std::nullopt)) {
                SendPacket(connection, *earlier);
            }
        }
        Watch(connection);
    }
}

void Simulator::SetDelay(std::chrono::milliseconds delay) {
    m_faults.delay = delay;
    for (Later& later : m_later) {
        later.due = std::min(later.due, Clock::now() + delay);
    }
}

void Simulator::ClearFaults() {
    m_faults.Clear();
    SetDelay(std::chrono::milliseconds(0));
    SetFault(Fault::kReorder, 0);
}

void Simulator::HangUp() {
    m_connections.clear();
    m_later.clear();
    ListenAgain();
}

void Simulator::Restart(const Settings& settings) {
    HangUp();
    m_faults.Clear();
    m_settings = settings;
}

const long* Simulator::CounterOf(std::string_view word) const {
    return word == "commands"  ? &m_counts.commands
           : word == "keys"    ? &m_counts.keys
           : word == "queries" ? &m_counts.queries
                               : nullptr;
}

std::string Simulator::Show() const {
    std::string text;
    for (const RecordLayout& layout : kRecordLayouts) {
        mculink::Packet packet;
        mculink::ParsePacket(mculink::View(mculink::MakePacket(m_settings.Answer(layout.type), 0)), packet);
        const mculink::PacketFields fields = mculink::FieldsOf(packet);
        text += fields.record + mculink::TextOf(fields) + " [" + mculink::HexOf(packet.payload) + "]\n";
    }
    return text + "received commands=" + std::to_string(m_counts.commands) + " keys=" + std::to_string(m_counts.keys) +
           " queries=" + std::to_string(m_counts.queries);
}

} // namespace mcusim
