#ifndef TLG_FRAMEWORK_IMCURECVDATA_H
#define TLG_FRAMEWORK_IMCURECVDATA_H

#include "framework/Export.h"

namespace TLG::ZOCAR {

/// Through this the MCU file delivers received bytes, on the multiplexer's thread.
class TLG_API IMcuRecvData {
public:
    virtual ~IMcuRecvData() = default;

    /// @param data   one block read from the device, valid during the call
    /// @param length its length in bytes
    virtual void OnRecvData(unsigned char* data, int length) = 0;
};

} // namespace TLG::ZOCAR

#endif
