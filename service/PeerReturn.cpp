// What the controller does when a peer is there again. It asks the MCU for its settings, and lets commands wait until
// they are known. It publishes again what the PPS server lacks: after the server's restart, after a time in which it
// took no writes, and after somebody deleted or emptied an object.
#include <algorithm>

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "service/CEQMidController.h"

namespace {

/// How long commands wait after the last query for the MCU's answers.
constexpr std::chrono::milliseconds kAnswerTimeout(500);

} // namespace

void CEQMidController::HoldCommands() {
    m_settingsWait.Start();
    HoldInput(m_EQControl.GetKey());
    HoldInput(m_gpsStatus.GetKey());
}

void CEQMidController::ResumeCommands() {
    ResumeInput(m_EQControl.GetKey());
    ResumeInput(m_gpsStatus.GetKey());
}

void CEQMidController::QuerySettings() {
    for (const RecordLayout& record : kRecordLayouts) {
        m_EQMcu.QueryEQSettingInfo(record.type);
    }
    SetTimer(kAnswerTimeout, [this] { OnAnswerTimeout(); });
}

void CEQMidController::OnAnswerTimeout() {
    const std::string missing = m_settingsWait.Missing();
    if (!missing.empty()) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "the MCU has not answered the queries of the groups %s, commands go on\n",
                missing.c_str());
        ResumeCommands();
    }
}

void CEQMidController::OnFilesReturned(const std::vector<int>& keys) {
    const auto hasReturned = [&keys](const TLG::ZOCAR::FileBase& file) {
        return std::find(keys.begin(), keys.end(), file.GetKey()) != keys.end();
    };
    if (hasReturned(m_EQMcu)) {
        HoldCommands();
        QuerySettings();
    }
    if (hasReturned(m_EQStatus) || hasReturned(m_EQSetting) || hasReturned(m_systemDevStatus) ||
        hasReturned(m_gpsStatus)) {
        m_EQData.Raise(m_publishedGroups.Without({UpdateFlag::LaunchVolume}));
        UpdatePPS();
    }
}
