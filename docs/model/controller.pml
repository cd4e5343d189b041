/* What a connection does with a write, and the controller's operations. */

/* ----------------------------------------------------------- a connection */

/* A write of the status object; the publishers, SetPPSStringAttr. */
inline WriteStatus(g) {
    if
    :: !CanBeWrittenTo(STATUS) -> needs_attention = (state[STATUS] != CLOSED || needs_attention)
    :: CanBeWrittenTo(STATUS) && !alive[STATUS]
    :: CanBeWrittenTo(STATUS) && alive[STATUS] && server_is_full -> is_starved = true; needs_attention = true
    :: CanBeWrittenTo(STATUS) && alive[STATUS] && !server_is_full ->
        object[g].kept = store[g].kept;
        object[g].changed = store[g].changed
    fi
}

/* Connection::Send of the MCU's file. */
inline Send(kind, g, kept, changed) {
    if
    :: CanBeWrittenTo(MCU) && alive[MCU] -> to_mcu!kind(g, kept, changed)
    :: else
    fi
}

inline Lose(f) {
    state[f] = LOST;
    watched[f] = false;
    alive[f] = false
}

/* ---------------------------------------------------------- the controller */

/* UpdatePPS: each group's publication is a step. */
inline UpdatePps() {
    do
    :: atomic { raised[0] -> raised[0] = false; was_published[0] = true; WriteStatus(0) }
    :: atomic { !raised[0] && raised[1] -> raised[1] = false; was_published[1] = true; WriteStatus(1) }
    :: !raised[0] && !raised[1] -> break
    od
}

inline HoldCommands() {
    !multiplexer_lock;
    missing = ALL_GROUPS;
#ifndef NO_WAIT
    is_held = true;
#endif
    needs_attention = true
}

inline ResumeCommands() {
    !multiplexer_lock;
    is_held = false;
    needs_attention = true
}

inline SetTimer() {
    !multiplexer_lock;
    timer_is_set = true;
    needs_attention = true
}
