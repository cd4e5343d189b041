#ifndef TLG_SERVICE_CEQMIDCONTROLLER_H
#define TLG_SERVICE_CEQMIDCONTROLLER_H

#include "control/CEQControlPPSModule.h"
#include "framework/FilesControlBase.h"
#include "framework/IMcuRecvData.h"
#include "mcu/CEQMcuFile.h"
#include "model/CEQData.h"
#include "service/SettingsWait.h"
#include "status/CEQSettingPPSModule.h"
#include "status/CEQStatusPPSModule.h"
#include "status/GpsStatusPPSModule.h"
#include "status/PowerOnStatusPPSModule.h"
#include "status/SystemDevStatusPPSModule.h"

/// The centre of the service: owns every file and the settings store, opens and registers them, and routes
/// every event: PPS changes to commands for the MCU, MCU data through the store to the status objects.
///
/// Two parts have files of their own: the update cycle StatusUpdate.cpp, and what follows the return of a peer
/// PeerReturn.cpp.
///
/// Init, Start, Stop and Close are called by the thread that runs the service, the callbacks by the
/// multiplexer's thread. The controller has no lock of its own; store and MCU link lock themselves.
class CEQMidController : public TLG::ZOCAR::FilesControlBase, public TLG::ZOCAR::IMcuRecvData {
public:
    CEQMidController();

    void OnAttributeChange(int key, pps_attrib_t* attrib) override;

    /// Opens all files and reads the volume scheme. False when a file could not be opened; the others
    /// are open all the same.
    bool Init() override;
    bool Close() override;
    /// Registers the files, starts the multiplexer and asks the MCU for all setting groups. The input of the
    /// control and the navigation object waits until the MCU has answered.
    bool Start() override;
    /// Closes and unregisters the files and stops the multiplexer.
    bool Stop() override;

    void OnRecvData(unsigned char* data, int length) override;

    /// After a power change: where it was a fake power-off, the first-mute rule holds again.
    void DealFakePowerOff();

    /// Publishes every group of settings whose update flag is raised, and clears the flag.
    void UpdatePPS();

private:
    void HoldCommands();
    void ResumeCommands();
    void QuerySettings();
    void OnAnswerTimeout();
    void OnFilesReturned(const std::vector<int>& keys);

    CEQStatusPPSModule m_EQStatus;
    CEQControlPPSModule m_EQControl;
    CEQSettingPPSModule m_EQSetting;
    SystemDevStatusPPSModule m_systemDevStatus;
    PowerOnStatusPPSModule m_powerStatus;
    GpsStatusPPSModule m_gpsStatus;
    CEQMcuFile m_EQMcu;
    CEQData m_EQData;
    bool m_bNaviVolEnabled = false; ///< whether navigation volume requests are forwarded; never reset
    SettingsWait m_settingsWait;
    UpdateFlags m_publishedGroups; ///< the flags of the groups that were published since the service started
};

#endif
