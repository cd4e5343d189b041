#ifndef TLG_MCU_CEQMCUFILE_H
#define TLG_MCU_CEQMCUFILE_H

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "framework/McuFileBase.h"
#include "model/CEQData.h"
#include "platform/posix/Mutex.h"

/// The link to the audio MCU: numbers and sends commands, keeps each numbered one until the MCU
/// acknowledges it, and decodes what the MCU has accepted, answered or reported into the store.
///
/// The controller owns it. Sending and receiving may happen on different threads: the link's lock guards
/// the transmit buffer, the packet counter and the pending table, and is held while an acknowledged
/// record is decoded into the store (lock order: link, then store). Answers and reports are decoded
/// without it.
class CEQMcuFile : public TLG::ZOCAR::McuFileBase {
public:
    /// At most this number of unacknowledged packets is kept; then the oldest is dropped.
    static constexpr std::size_t kMaxPending = 16384;

    explicit CEQMcuFile(TLG::ZOCAR::IMcuRecvData* receiver);

    /// Attaches the store, once, before any traffic; not owned.
    void AttachData(CEQData* data) { m_pEQData = data; }

    void Lock() TLG_ACQUIRE(m_mutex) { m_mutex.lock(); }
    void UnLock() TLG_RELEASE(m_mutex) { m_mutex.unlock(); }

    /// Sends a numbered command and keeps it pending, whether or not the write succeeds.
    /// @param cmd  8 (control command) or 50 (audio mixing); anything else does nothing
    /// @param data 1 to 250 bytes for command 8, 1 to 251 for command 50; others are refused with a log line
    void SendCtrCmd(unsigned char cmd, const std::vector<unsigned char>& data);

    /// Sends a key command, which is neither numbered nor kept. True when it was written.
    /// @param data 1 to 251 bytes
    bool SendKeyCmd(const std::vector<unsigned char>& data);

    /// Asks the MCU for one setting group. True when the query was written.
    bool QueryEQSettingInfo(int group);

    /// Handles one received packet at the start of the block. True when it was understood and at least
    /// one field of its record was accepted (an audio mixing report: whenever it is well-formed).
    bool ProcessDataPacket(unsigned char* data, int size);

    /// The setting group that a received packet answers a query for, whatever its record holds; nothing for any
    /// other packet.
    static std::optional<int> AnsweredGroup(const unsigned char* data, int size);

    // ---- Record decoding: true when at least one field was accepted and handed to the store ----

    /// A whole record, from the command id on.
    bool ParseRecDataPacket(const unsigned char* payload, int size);
    /// The data of the volume and fade record.
    bool ParseFadeDataPacket(const unsigned char* data, int size);
    /// The EQ record from the current EQ type on.
    bool ParseEQDataPacket(const unsigned char* data, int size);
    /// The bands of one EQ type (index 0 to 6).
    bool DealEqDataByIndex(int index, const unsigned char* data, int size);
    /// The data of the audio setting record.
    bool ParseAudioSettingDataPacket(const unsigned char* data, int size);
    /// The data of the ALC record.
    bool ParseALCDataPacket(const unsigned char* data, int size);
    /// The extended volume record from its type byte on.
    bool ParseEQEXtendDataPacket(const unsigned char* data, int size);
    /// The data of the source gain record.
    bool DealSrcGainData(const unsigned char* data, int size);

    // Field decoders take the field's first byte and the bytes left in the record. `consumed` receives
    // the field's length, also when the field is rejected; it is left alone without store or data.
    bool DealAudioICData(const unsigned char* data, int size, int& consumed);
    bool DealVolumeData(const unsigned char* data, int size, int& consumed);
    bool DealFadBalData(const unsigned char* data, int size, int& consumed);
    bool DealSubWGainData(const unsigned char* data, int size, int& consumed);
    bool DealCenterGainData(const unsigned char* data, int size, int& consumed);
    bool DealLoudData(const unsigned char* data, int size);
    bool DealLoudData(const unsigned char* data, int size, int& consumed);
    bool DealEqTypeData(const unsigned char* data, int size, int& consumed);
    bool DealListenPosData(const unsigned char* data, int size, int& consumed);
    bool DealSRSData(const unsigned char* data, int size);
    bool DealDBBData(const unsigned char* data, int size, int& consumed);
    bool DealSubwooferData(const unsigned char* data, int size, int& consumed);
    bool DealSpeakerModeData(const unsigned char* data, int size, int& consumed);
    bool DealFrontFilterData(const unsigned char* data, int size, int& consumed);
    bool DealRearFilterData(const unsigned char* data, int size, int& consumed);

private:
    friend struct CEQMcuFileTestAccess;

    class Guard;

    /// The header values that differ between commands.
    struct Framing;

    bool FitsFrame(const std::vector<unsigned char>& data, std::size_t lead);
    void FillFrame(const Framing& framing, std::initializer_list<unsigned char> lead,
                   const std::vector<unsigned char>& data, std::int32_t number) TLG_REQUIRES(m_mutex);
    bool WriteFrame() TLG_REQUIRES(m_mutex);
    std::int32_t NextNumber() TLG_REQUIRES(m_mutex);
    void KeepPending(std::int32_t number) TLG_REQUIRES(m_mutex);

    bool ProcessAcknowledgement(const TLG::ZOCAR::PacketHeader_s& header, const unsigned char* payload, int size);
    bool ProcessAudioMixReport(const TLG::ZOCAR::PacketHeader_s& header, const unsigned char* payload);

    bool HasStoreAndData(const char* function, const unsigned char* data) const;
    bool FieldIsThere(const char* function, const unsigned char* data, int size, int length, int& consumed) const;
    bool StoreByte(const char* function, const unsigned char* data, int size, int& consumed,
                   void (CEQData::*store)(unsigned char));
    bool ParseListenPosRecord(const unsigned char* data, int size);

    std::int32_t m_packetNumber TLG_GUARDED_BY(m_mutex) = 0; // of the last numbered packet
    std::map<std::int32_t, TLG::ZOCAR::SendPacket_s> m_pending TLG_GUARDED_BY(m_mutex);
    Mutex m_mutex;
    CEQData* m_pEQData = nullptr;
};

#endif
