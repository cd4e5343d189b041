#include "framework/Outbox.h"

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

bool Outbox::Keep(const unsigned char* data, std::size_t length) {
    if (m_packets.size() >= kMaxPackets) {
        Lose(1, "it takes no more packets");
        return false;
    }
    m_packets.emplace_back(data, data + length);
    return true;
}

void Outbox::Written(std::size_t length) {
    std::vector<unsigned char>& front = m_packets.front();
    if (length < front.size()) {
        front.erase(front.begin(), front.begin() + static_cast<std::ptrdiff_t>(length));
    } else {
        m_packets.pop_front();
    }
}

void Outbox::Lose(std::size_t count, const char* reason) {
    if (count > 0 && m_lost == 0) {
        LOGBASE(LOG_LEV_ERROR, "Write", "writes to %s fail: %s\n", m_path.c_str(), reason);
    }
    m_lost += count;
}

void Outbox::Drop(const char* reason) {
    Lose(m_packets.size(), reason);
    m_packets.clear();
}

void Outbox::Recover() {
    if (m_lost > 0) {
        LOGBASE(LOG_LEV_NOTICE, "Write", "writes to %s succeed again, %zu packets were lost\n", m_path.c_str(), m_lost);
        m_lost = 0;
    }
}

} // namespace TLG::ZOCAR
