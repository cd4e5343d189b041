#include "tools/ppsd/Inbox.h"

#include <algorithm>

namespace ppsd {

void Inbox::Allocate(std::size_t size) {
    for (std::size_t i = 0; i < kPackets; ++i) {
        m_room[i].resize(size);
        m_parts[i] = {m_room[i].data(), size};
    }
}

bool Inbox::Receive(int fd) noexcept {
    std::array<mmsghdr, kPackets> headers{};
    for (std::size_t i = 0; i < kPackets; ++i) {
        headers[i].msg_hdr.msg_iov = &m_parts[i];
        headers[i].msg_hdr.msg_iovlen = 1;
    }
    const int count = ::recvmmsg(fd, headers.data(), kPackets, MSG_DONTWAIT, nullptr);
    m_count = static_cast<std::size_t>(std::max(count, 0));
    for (std::size_t i = 0; i < m_count; ++i) {
        m_packets[i] = {m_room[i].data(), headers[i].msg_len};
    }
    return count >= 0;
}

} // namespace ppsd
