// Frames and transactions; the records in them are decoded in the files beside this one.
//
//   command             payload         reply  report  numbered  kept pending
//   8   control         8, 2, data      136    0       yes       yes
//   50  audio mixing    50, data        178    0       yes       yes
//   12  key             12, data        140    138     no        no
//   9   query           9, group        137    0       no        no
#include "mcu/CEQMcuFile.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "model/McuCommands.h"
#include "model/RecordTypes.h"

using TLG::ZOCAR::kMcuHeaderSize;
using TLG::ZOCAR::kMcuPayloadSize;
using TLG::ZOCAR::PacketHeader_s;
using TLG::ZOCAR::SendPacket_s;

struct CEQMcuFile::Framing {
    McuCommand command;
    McuCommand reply;
    int report;
};

/// Holds the link for a scope.
class TLG_SCOPED_CAPABILITY CEQMcuFile::Guard {
public:
    explicit Guard(CEQMcuFile& link) TLG_ACQUIRE(link.m_mutex) : m_link(link) { m_link.Lock(); }
    ~Guard() TLG_RELEASE() { m_link.UnLock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CEQMcuFile& m_link;
};

CEQMcuFile::CEQMcuFile(TLG::ZOCAR::IMcuRecvData* receiver) : McuFileBase(TLG::ZOCAR::g_eqMCU, receiver) {}

/// Whether the data fits a payload after `lead` bytes.
bool CEQMcuFile::FitsFrame(const std::vector<unsigned char>& data, std::size_t lead) {
    if (data.size() + lead <= kMcuPayloadSize) {
        return true;
    }
    LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "a command of %zu bytes doesn't fit the packet, at most %zu\n", data.size(),
            kMcuPayloadSize - lead);
    return false;
}

/// Puts a packet into the transmit buffer. Called with the lock held; the data fits.
void CEQMcuFile::FillFrame(const Framing& framing, std::initializer_list<unsigned char> lead,
                           const std::vector<unsigned char>& data, std::int32_t number) {
    std::copy(data.begin(), data.end(), std::copy(lead.begin(), lead.end(), m_SendBuf.Payload));
    PacketHeader(m_SendBuf.Header, framing.command, framing.reply, framing.report, 200, 3,
                 static_cast<int>(lead.size() + data.size()), number);
}

bool CEQMcuFile::WriteFrame() {
    return SendToSpiDev(reinterpret_cast<const unsigned char*>(&m_SendBuf),
                        m_SendBuf.Header.PacketSize + kMcuHeaderSize);
}

/// The next packet number; after the largest one numbers start again, past those still pending.
std::int32_t CEQMcuFile::NextNumber() {
    do {
        m_packetNumber = m_packetNumber == std::numeric_limits<std::int32_t>::max() ? 1 : m_packetNumber + 1;
    } while (m_pending.count(m_packetNumber) != 0);
    return m_packetNumber;
}

void CEQMcuFile::KeepPending(std::int32_t number) {
    if (m_pending.size() >= kMaxPending) {
        // Numbers are given in a circle, so the oldest is the next one after the new number (but for those that a
        // second round, after two thousand million packets, had to skip).
        const auto next = m_pending.upper_bound(number);
        const auto oldest = next == m_pending.end() ? m_pending.begin() : next;
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "%zu packets unacknowledged, packet no:%d is given up\n", m_pending.size(),
                oldest->first);
        m_pending.erase(oldest);
    }
    m_pending.emplace(number, m_SendBuf);
}

void CEQMcuFile::SendCtrCmd(unsigned char cmd, const std::vector<unsigned char>& data) {
    static constexpr Framing kControl{kControlCommand, kAcknowledgement, 0};
    static constexpr Framing kAudioMix{kAudioMixCommand, kAudioMixReport, 0};
    if (data.empty()) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "cmdVector is empty\n");
        return;
    }
    if (cmd != kControlCommand && cmd != kAudioMixCommand) {
        return;
    }
    const bool isControl = cmd == kControlCommand;
    if (!FitsFrame(data, isControl ? 2 : 1)) {
        return;
    }
    const Guard guard(*this);
    const std::int32_t number = NextNumber();
    if (isControl) {
        FillFrame(kControl, {kControlCommand, kControlRecordMark}, data, number);
    } else {
        FillFrame(kAudioMix, {kAudioMixCommand}, data, number);
    }
    // Before the write, so that no acknowledgement can be faster.
    KeepPending(number);
    WriteFrame();
    LOGBASE(LOG_LEV_INFO, __FUNCTION__, "Cmd[0x%x], packet no = %d\n", cmd, number);
}

bool CEQMcuFile::SendKeyCmd(const std::vector<unsigned char>& data) {
    LOGBASE(LOG_LEV_INFO, __FUNCTION__, "SendKeyCmd:\n");
    if (data.empty()) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "cmdVector is empty\n");
        return false;
    }
    if (!FitsFrame(data, 1)) {
        return false;
    }
    const Guard guard(*this);
    FillFrame({kKeyCommand, kKeyAcknowledgement, kReport}, {kKeyCommand}, data, 0);
    return WriteFrame();
}

bool CEQMcuFile::QueryEQSettingInfo(int group) {
    const Guard guard(*this);
    FillFrame({kQueryCommand, kQueryAnswer, 0}, {kQueryCommand, static_cast<unsigned char>(group)}, {}, 0);
    const bool sent = WriteFrame();
    if (!sent) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMcuFile, SendToSpiDev return false\n");
    }
    return sent;
}

bool CEQMcuFile::ProcessDataPacket(unsigned char* data, int size) {
    if (!HasStoreAndData(__FUNCTION__, data)) {
        return false;
    }
    if (size <= kMcuHeaderSize) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "Param error! function return. nSize[%d], nHeaderSize[%d].\n", size,
                kMcuHeaderSize);
        return false;
    }
    PacketHeader_s header{};
    std::memcpy(&header, data, sizeof header);
    if (header.PacketSize < 0 || header.PacketSize > size - kMcuHeaderSize) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Wrong packet size! function return. nPacketSize[%d], nHeaderSize[%d], nSize[%d].\n", header.PacketSize,
                kMcuHeaderSize, size);
        return false;
    }
    const unsigned char* payload = data + kMcuHeaderSize;
    switch (header.Cmd) {
    case kAcknowledgement:
        return ProcessAcknowledgement(header, payload, size);
    case kAudioMixReport:
        return ProcessAudioMixReport(header, payload);
    case kQueryAnswer:
        if (!ParseRecDataPacket(payload, header.PacketSize)) {
            return false;
        }
        m_pEQData->SetUpdateFlagsByType(payload[kRecordTypeByte]);
        return true;
    case kReport:
        return ParseRecDataPacket(payload, header.PacketSize);
    default:
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__,
                "Function return error. nCmd[%d], nPacketSize[%d], nHeaderSize[%d], nSize[%d].\n", header.Cmd,
                header.PacketSize, kMcuHeaderSize, size);
        return false;
    }
}

std::optional<int> CEQMcuFile::AnsweredGroup(const unsigned char* data, int size) {
    PacketHeader_s header{};
    if (data == nullptr || size <= kMcuHeaderSize + kRecordTypeByte) {
        return std::nullopt;
    }
    std::memcpy(&header, data, sizeof header);
    if (header.Cmd != kQueryAnswer || header.PacketSize <= kRecordTypeByte ||
        header.PacketSize > size - kMcuHeaderSize) {
        return std::nullopt;
    }
    return data[kMcuHeaderSize + kRecordTypeByte];
}

/// Decodes the remembered record of an accepted command into the store.
bool CEQMcuFile::ProcessAcknowledgement(const PacketHeader_s& header, const unsigned char* payload, int size) {
    constexpr const char* kFunction = "ProcessDataPacket";
    // A payload without a status byte accepts nothing.
    if (header.PacketSize < 2 || payload[1] != 0) {
        LOGBASE(LOG_LEV_ERROR, kFunction,
                "Function return error. nCmd[%d], nPacketSize[%d], nHeaderSize[%d], nSize[%d].\n", header.Cmd,
                header.PacketSize, kMcuHeaderSize, size);
        return false;
    }
    const Guard guard(*this);
    const auto found = m_pending.find(header.PacketNo);
    if (found == m_pending.end()) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "Can't find the packet no:%d\n", header.PacketNo);
        return false;
    }
    const SendPacket_s& packet = found->second;
    const bool isAccepted = ParseRecDataPacket(packet.Payload, packet.Header.PacketSize);
    m_pending.erase(found);
    return isAccepted;
}

bool CEQMcuFile::ProcessAudioMixReport(const PacketHeader_s& header, const unsigned char* payload) {
    constexpr const char* kFunction = "ProcessDataPacket";
    if (header.PacketSize != 2) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "Wrong packet size! function return. nCmd[%d], nPacketSize[%d].\n",
                header.Cmd, header.PacketSize);
        return false;
    }
    const unsigned char state = payload[1];
    if (state > 1) {
        LOGBASE(LOG_LEV_ERROR, kFunction, "Param error! function return. audioMixStatus[%d].\n", state);
    } else {
        m_pEQData->SetAudioMixData(state);
    }
    return true;
}
