#include "model/StoredMutes.h"

#include "framework/LogBase.h"

bool AreMutesKnown(const char* function, const T_SRC_VOL& volumes, const MuteMessages& messages) {
    if (volumes.SysMute > 1) {
        LOGBASE(LOG_LEV_ERROR, function, "%ssystemMute:%d\n", messages.system, volumes.SysMute);
        return false;
    }
    if (volumes.SrcMute > 1) {
        LOGBASE(LOG_LEV_ERROR, function, "%ssourceMute:%d\n", messages.source, volumes.SrcMute);
        return false;
    }
    return true;
}
