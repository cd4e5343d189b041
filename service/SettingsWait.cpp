#include "service/SettingsWait.h"

#include "model/RecordFields.h"

void SettingsWait::Start() {
    unsigned missing = 0;
    for (const RecordLayout& record : kRecordLayouts) {
        missing |= 1U << record.type;
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
    for (const RecordLayout& record : kRecordLayouts) {
        if ((missing & 1U << record.type) != 0) {
            groups.append(groups.empty() ? "" : " ").append(std::to_string(record.type));
        }
    }
    return groups;
}
