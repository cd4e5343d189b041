#ifndef TLG_STATUS_CEQSETTINGPPSMODULE_H
#define TLG_STATUS_CEQSETTINGPPSMODULE_H

#include "framework/PPSFileBase.h"
#include "model/SettingRecords.h"

/// Publishes the band curves of the seven EQ types, one attribute each, in the EQ settings object. The
/// controller owns it; the update cycle calls it, on the multiplexer's thread. It keeps no state.
class CEQSettingPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    explicit CEQSettingPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    /// Publishes the curve of one EQ type.
    /// @param index 0 to 6; any other is logged, and nothing is written
    /// @return 0 for a rejected index and a failed write, otherwise 1
    int PublishEqSafByIndex(int index, tagEQType eq);

private:
    const char* m_pObjectName;
};

#endif
