#include "framework/Outbox.h"

#include <new>

#include "framework/LogBase.h"

namespace TLG::ZOCAR {

bool Outbox::Keep(const unsigned char* data, std::size_t length) {
    if (m_packets.size() >= kMaxPackets) {
        CountLost(1, "it takes no more packets");
        return false;
    }
    try {
        m_packets.emplace_back(data, data + length);
        return true;
    } catch (const std::bad_alloc&) {
        CountLost(1, "no memory to keep a packet");
        return false;
    }
}

void Outbox::Written(std::size_t length) {
    std::vector<unsigned char>& front = m_packets.front();
    if (length < front.size()) {
        front.erase(front.begin(), front.begin() + static_cast<std::ptrdiff_t>(length));
    } else {
        m_packets.pop_front();
    }
}

void Outbox::CountLost(std::size_t count, const char* reason) {
    if (count > 0 && m_lost == 0) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "writes to %s fail: %s\n", m_path.c_str(), reason);
    }
    m_lost += count;
}

void Outbox::Drop(const char* reason) {
    CountLost(m_packets.size(), reason);
    m_packets.clear();
}

void Outbox::Recover() {
    SayLost("succeed again");
}

void Outbox::Close() {
    Drop("it is closed");
    SayLost("have ended");
}

void Outbox::SayLost(const char* what) {
    if (m_lost > 0) {
        LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "writes to %s %s, %zu packets were lost\n", m_path.c_str(), what, m_lost);
        m_lost = 0;
    }
}

} // namespace TLG::ZOCAR
