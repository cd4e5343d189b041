#ifndef TLG_STATUS_POWERONSTATUSPPSMODULE_H
#define TLG_STATUS_POWERONSTATUSPPSMODULE_H

#include <string>

#include "framework/PPSFileBase.h"
#include "model/CEQData.h"

/// Follows the system power state and records it in the store. The controller owns it and calls it on the
/// multiplexer's thread alone; it writes nothing.
class PowerOnStatusPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    explicit PowerOnStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    /// Attaches the settings store, before the first attribute arrives; not owned.
    void AttachData(CEQData* data) { m_pEQData = data; }

    /// Handles a changed attribute of the object: true when it was the power state and was stored.
    bool OnPowerStatus(pps_attrib_t* info);

    /// Stores the power state that the word means; an unknown word is a state too. False for null.
    bool SubcribePowerOffStatus(char* value);

private:
    CEQData* m_pEQData = nullptr;
    std::string m_attributeName;
};

#endif
