// The checks that many handlers make, written once; the handlers differ in their order and messages.
#ifndef TLG_CONTROL_COMMANDCHECKS_H
#define TLG_CONTROL_COMMANDCHECKS_H

#include <initializer_list>

/// One condition of a handler and what to log, in the handler's name, when it does not hold.
struct Precondition {
    bool holds;
    const char* message; ///< null: nothing is logged
};

/// True when all conditions hold; logs the message of the first that does not.
bool Check(const char* function, std::initializer_list<Precondition> conditions);

/// The decimal number at the start of @p text, with leading blanks and sign; 0 where there is none.
/// Numbers beyond an int saturate.
int NumberOf(const char* text);

/// True, with the switch (0 or 1) in @p state, for exactly "on" and "off".
bool SwitchOf(const char* text, unsigned char& state);

/// Whether the audio setting record can carry this subwoofer phase: 0 or 180 degrees.
bool IsPhaseKnown(int phase);

/// @p value limited to 0 to @p max.
int Limited(int value, int max);

#endif
