#include "service/CEQMidController.h"

#include "framework/LogBase.h"
#include "framework/SystemFiles.h"
#include "model/McuCommands.h"
#include "service/ConfigurationFile.h"

CEQMidController::CEQMidController()
    : m_EQStatus(this),
      m_EQControl(this),
      m_EQSetting(this),
      m_systemDevStatus(this),
      m_powerStatus(this),
      m_gpsStatus(this),
      m_EQMcu(this) {
    m_EQControl.AttachData(&m_EQData);
    m_powerStatus.AttachData(&m_EQData);
    m_EQMcu.AttachData(&m_EQData);
    m_gpsStatus.m_pEQData = &m_EQData;
}

bool CEQMidController::Init() {
    bool isOpen = m_EQStatus.Open();
    isOpen &= m_EQSetting.Open();
    isOpen &= m_EQControl.Open();
    isOpen &= m_EQMcu.Open();
    isOpen &= m_systemDevStatus.Open();
    isOpen &= m_powerStatus.Open();
    isOpen &= m_gpsStatus.Open();
    isOpen &= FilesControlBase::Init();
    if (!isOpen) {
        return false;
    }
    m_EQData.SetVolumeScheme(ConfigurationFile::ReadVolumeScheme());
    return true;
}

bool CEQMidController::Start() {
    AddFile(m_EQControl.GetKey(), &m_EQControl);
    AddFile(m_powerStatus.GetKey(), &m_powerStatus);
    AddFile(m_EQMcu.GetKey(), &m_EQMcu);
    AddFile(m_gpsStatus.GetKey(), &m_gpsStatus);
    AddOutput(m_EQStatus.GetKey(), &m_EQStatus);
    AddOutput(m_EQSetting.GetKey(), &m_EQSetting);
    AddOutput(m_systemDevStatus.GetKey(), &m_systemDevStatus);
    SetReturnHandler([this](const std::vector<int>& keys) { OnFilesReturned(keys); });
    // What the navigation object holds already is no request. It is read before the first volumes, while requests are
    // still ignored; what is written from then on waits.
    HoldInputAfterBlock(m_gpsStatus.GetKey());
    HoldCommands();
    if (!FilesControlBase::Start()) {
        return false;
    }
    QuerySettings();
    return true;
}

bool CEQMidController::Stop() {
    m_EQStatus.Close();
    m_EQControl.Close();
    m_EQSetting.Close();
    m_systemDevStatus.Close();
    m_powerStatus.Close();
    m_EQMcu.Close();
    m_gpsStatus.Close();
    RemoveFile(m_EQControl.GetKey());
    RemoveFile(m_powerStatus.GetKey());
    RemoveFile(m_EQMcu.GetKey());
    RemoveFile(m_gpsStatus.GetKey());
    RemoveFile(m_EQStatus.GetKey());
    RemoveFile(m_EQSetting.GetKey());
    RemoveFile(m_systemDevStatus.GetKey());
    return FilesControlBase::Stop();
}

bool CEQMidController::Close() {
    return FilesControlBase::Close();
}

void CEQMidController::OnAttributeChange(int key, pps_attrib_t* attrib) {
    if (attrib == nullptr) {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMidController, info == NULL\n");
        return;
    }
    constexpr unsigned char kNoCommand = 255;
    unsigned char commandId = kNoCommand;
    bool keyFlag = false;
    std::vector<unsigned char> cmdVector;
    bool isComplete = false;
    if (key == TLG::ZOCAR::g_ControlPPSInfo.key) {
        isComplete = m_EQControl.OnPPSCmd(attrib, commandId, keyFlag, cmdVector);
    } else if (key == TLG::ZOCAR::g_gpsStatusPPSInfo.key) {
        if (m_bNaviVolEnabled) {
            commandId = kControlCommand;
            isComplete = m_gpsStatus.OnGpsStatus(attrib, cmdVector);
        }
    } else if (key == TLG::ZOCAR::g_PowerPPSInfo.key) {
        if (m_powerStatus.OnPowerStatus(attrib)) {
            DealFakePowerOff();
        }
    } else {
        LOGBASE(LOG_LEV_ERROR, __FUNCTION__, "CEQMidController, unknown key: %d, pps: %s::%s\n", key, attrib->attr_name,
                attrib->value);
    }
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "bRet:%d", isComplete);
    LOGBASE(LOG_LEV_NOTICE, __FUNCTION__, "cmdVector.empty():%d", cmdVector.empty());
    if (!isComplete || cmdVector.empty()) {
        return;
    }
    if (keyFlag) {
        m_EQMcu.SendKeyCmd(cmdVector);
    } else {
        m_EQMcu.SendCtrCmd(commandId, cmdVector);
    }
}

void CEQMidController::OnRecvData(unsigned char* data, int length) {
    LOGBASE(LOG_LEV_INFO, __FUNCTION__, "receive MCU data\n");
    if (m_EQMcu.ProcessDataPacket(data, length)) {
        UpdatePPS();
    }
    const std::optional<int> group = CEQMcuFile::AnsweredGroup(data, length);
    if (group && m_settingsWait.OnAnswer(*group)) {
        ResumeCommands();
    }
}

void CEQMidController::DealFakePowerOff() {
    if (m_EQData.GetFakePowerOffFlag()) {
        m_EQData.SetFakePowerOffFlag(false);
        m_EQData.InitSysMuteStatus();
    }
}
