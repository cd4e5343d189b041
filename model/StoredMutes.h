#ifndef TLG_MODEL_STOREDMUTES_H
#define TLG_MODEL_STOREDMUTES_H

#include "model/SettingRecords.h"

/// How the messages about mute states that a record can't carry begin.
struct MuteMessages {
    const char* system;
    const char* source;
};

/// True when both stored mute states are 0 or 1; otherwise logs, in the name of @p function, the first that is not.
bool AreMutesKnown(const char* function, const T_SRC_VOL& volumes, const MuteMessages& messages);

#endif
