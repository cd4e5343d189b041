#ifndef TLG_SERVICE_SETTINGSWAIT_H
#define TLG_SERVICE_SETTINGSWAIT_H

#include <atomic>
#include <string>

/// Which of the setting groups that the MCU was asked for still lack their answer. A command that is built before they
/// are known would write a record of an empty, or an old, store into the MCU. Any thread may call it.
class SettingsWait {
public:
    /// All groups are missing from now on.
    void Start();
    /// Notes an answer; true when it was the last one missing.
    bool OnAnswer(int group);
    /// The numbers of the missing groups with blanks between them; empty where none is.
    std::string Missing() const;

private:
    std::atomic<unsigned> m_missing{0}; // a bit for each group
};

#endif
