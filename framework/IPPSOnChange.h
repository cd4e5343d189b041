#ifndef TLG_FRAMEWORK_IPPSONCHANGE_H
#define TLG_FRAMEWORK_IPPSONCHANGE_H

#include <sys/pps.h>

#include "framework/Export.h"

namespace TLG::ZOCAR {

/// Through this a PPS object reports changes, on the multiplexer's thread.
class TLG_API IPPSOnChange {
public:
    virtual ~IPPSOnChange() = default;

    /// An attribute was published. The record is valid during the call.
    virtual void OnAttributeChange(int key, pps_attrib_t* attrib) = 0;

    /// Something else happened to the object: it was created, deleted or truncated, an attribute was
    /// deleted, changes were merged.
    virtual void OnPpsStatusChange(int key, pps_status_t status, pps_attrib_t* attrib) = 0;

    /// The object's text as it was read; not called by this framework.
    virtual void OnAttributeDataChange(int key, const char* data) = 0;
};

} // namespace TLG::ZOCAR

#endif
