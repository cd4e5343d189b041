#ifndef TLG_FRAMEWORK_MCUFILEBASE_H
#define TLG_FRAMEWORK_MCUFILEBASE_H

#include "framework/Export.h"
#include "framework/FileBase.h"
#include "framework/IMcuRecvData.h"
#include "framework/McuPacket.h"

namespace TLG::ZOCAR {

/// The MCU device: blocks read from it go to the receiver as they are, packets are written whole.
class TLG_API McuFileBase : public FileBase {
public:
    /// @param info     must outlive the file
    /// @param receiver receives the blocks; not owned
    McuFileBase(const fileTagInfo& info, IMcuRecvData* receiver) : FileBase(info), m_receiver(receiver) {}

    /// True when there is a receiver for the blocks.
    bool Init() override;
    void OnDataChange(unsigned char* data, int length) override;

    /// Fills a header: the first value is the command id, the second to fifth go to the four middle
    /// fields in their order, the sixth is the payload length, the seventh the packet number.
    void PacketHeader(PacketHeader_s& header, int command, int reply, int report, int fixed0, int fixed1,
                      int payloadLength, int packetNumber);

    /// Writes one packet of @p length bytes to the device. Where there is no room, the packet is kept, after those that
    /// wait already, until the device reads. Does not block. False when the packet is lost: the link is gone, or too
    /// many packets wait.
    bool SendToSpiDev(const unsigned char* data, int length) const;

protected:
    /// The packet under way; the derived class guards it.
    SendPacket_s m_SendBuf{};

private:
    IMcuRecvData* m_receiver;
};

} // namespace TLG::ZOCAR

#endif
