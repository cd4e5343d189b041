#include "service/SettingsWait.h"

void SettingsWait::Begin() {
    unsigned missing = 0;
    for (const RecordType group : kQueriedGroups) {
        missing |= 1U << group;
    }
    m_missing = missing;
}

bool SettingsWait::OnAnswer(int group) {
    constexpr int kBits = 32;
    if (group < 0 || group >= kBits) {
        return false;
    }
    const unsigned bit = 1U << static_cast<unsigned>(group);
    return m_missing.fetch_and(~bit) == bit;
}

std::string SettingsWait::Missing() const {
    const unsigned missing = m_missing;
    std::string groups;
    for (const RecordType group : kQueriedGroups) {
        if ((missing & 1U << group) != 0) {
            groups.append(groups.empty() ? "" : " ").append(std::to_string(group));
        }
    }
    return groups;
}
