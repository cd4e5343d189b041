#ifndef TLG_STATUS_GPSSTATUSPPSMODULE_H
#define TLG_STATUS_GPSSTATUSPPSMODULE_H

#include <string>
#include <vector>

#include "framework/PPSFileBase.h"
#include "model/CEQData.h"

/// Links the navigation volume with the navigation service, which speaks in percent: outward a level is
/// published as a percentage of the maximum level, inward a percentage is taken of the full scale 40 and
/// limited to the maximum level.
///
/// The controller owns it and calls it on the multiplexer's thread alone.
class GpsStatusPPSModule : public TLG::ZOCAR::PPSFileBase {
public:
    explicit GpsStatusPPSModule(TLG::ZOCAR::IPPSOnChange* callback);

    /// Publishes the navigation volume. 0 for a maximum of 0 and a failed write, otherwise 1.
    int PublishNaviVol(int naviLevel, int maxLevel);

    /// Handles a changed attribute of the object: true when @p payload holds a record to send.
    bool OnGpsStatus(pps_attrib_t* info, std::vector<unsigned char>& payload);

    /// Turns a percentage into a volume and fade record. False, with the payload untouched, for the
    /// percentage last published and for one that changes nothing.
    bool SubcribeNaviVol(char* value, std::vector<unsigned char>& payload);

private:
    std::string m_objectName;
    std::string m_volumeName;

public:
    /// The settings store, not owned. The controller sets it itself, before the first change arrives: this class has
    /// no attach operation, and the members keep their order.
    CEQData* m_pEQData = nullptr;

private:
    int m_lastPercentage = -1; // last published; -1 before the first
};

#endif
