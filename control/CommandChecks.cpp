#include "control/CommandChecks.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "control/ControlKeys.h"
#include "framework/LogBase.h"
#include "model/RecordTypes.h"

bool Check(const char* function, std::initializer_list<Precondition> conditions) {
    const auto* failed =
        std::find_if(conditions.begin(), conditions.end(), [](const Precondition& each) { return !each.holds; });
    if (failed == conditions.end()) {
        return true;
    }
    if (failed->message != nullptr) {
        LOGBASE(LOG_LEV_ERROR, function, "%s", failed->message);
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

bool IsPhaseKnown(int phase) {
    return phase == 0 || phase == kReversedPhase;
}

int Limited(int value, int max) {
    return std::clamp(value, 0, max);
}
