#include "control/CommandChecks.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "control/ControlKeys.h"
#include "framework/LogBase.h"

bool Check(const char* handler, std::initializer_list<Precondition> conditions) {
    const auto* failed =
        std::find_if(conditions.begin(), conditions.end(), [](const Precondition& each) { return !each.holds; });
    if (failed == conditions.end()) {
        return true;
    }
    if (failed->message != nullptr) {
        LOGBASE(LOG_LEV_ERROR, handler, "%s", failed->message);
    }
    return false;
}

int NumberOf(const char* text) {
    const long number = std::strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool SwitchOf(const char* text, unsigned char& state) {
    state = text == SWITCH_ON ? 1 : 0;
    return state == 1 || text == SWITCH_OFF;
}

bool MutesAreKnown(const char* handler, const T_SRC_VOL& volume, const MuteMessages& messages) {
    if (volume.SysMute > 1) {
        LOGBASE(LOG_LEV_ERROR, handler, messages.system, volume.SysMute);
        return false;
    }
    if (volume.SrcMute > 1) {
        LOGBASE(LOG_LEV_ERROR, handler, messages.source, volume.SrcMute);
        return false;
    }
    return true;
}

int Limited(int value, int max) {
    return std::clamp(value, 0, max);
}
