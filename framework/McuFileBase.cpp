#include "framework/McuFileBase.h"

namespace TLG::ZOCAR {

bool McuFileBase::Init() {
    return m_receiver != nullptr;
}

void McuFileBase::OnDataChange(unsigned char* data, int length) {
    m_receiver->OnRecvData(data, length);
}

void McuFileBase::PacketHeader(PacketHeader_s& header, int command, int reply, int report, int fixed0, int fixed1,
                               int payloadLength, int packetNumber) {
    header = {payloadLength, command, reply, report, {fixed0, fixed1}, packetNumber};
}

bool McuFileBase::SendToSpiDev(const unsigned char* data, int length) const {
    return data != nullptr && length > 0 && Link().Send(data, static_cast<std::size_t>(length));
}

} // namespace TLG::ZOCAR
