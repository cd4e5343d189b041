#ifndef TLG_SERVICE_SETTINGSWAIT_H
#define TLG_SERVICE_SETTINGSWAIT_H

#include <array>
#include <atomic>
#include <string>

#include "model/RecordTypes.h"

/// The setting groups that are asked for at the start and after each return of the MCU's link, in the order of the
/// queries.
constexpr std::array<RecordType, 7> kQueriedGroups{VOLUME_AND_FADE_BALANCE, EQ,  SOURCE_GAIN, LISTEN_POS,
                                                   AUDIO_SETTING,           ALC, EQ_EXPEND};

/// Which of the queried setting groups still lack their answer. A command that is built before they are known would
/// write a record of an empty, or an old, store into the MCU. Any thread may call it.
class SettingsWait {
public:
    /// All groups are missing from now on.
    void Begin();
    /// Notes an answer; true when it was the last one missing.
    bool OnAnswer(int group);
    /// The numbers of the missing groups with blanks between them; empty where none is.
    std::string Missing() const;

private:
    std::atomic<unsigned> m_missing{0}; // a bit for each group
};

#endif
