/* The thread that delivers input. */

inline Claim(f) {
    !multiplexer_lock;
    claimed = registered[f];
    if
    :: claimed -> delivering = f; !delivery_lock[f]; delivery_lock[f] = true
    :: else
    fi
}

inline Release(f) {
    delivery_lock[f] = false;
    !multiplexer_lock;
    delivering = NONE;
    claimed = false;
    blocks = 0
}

/* OnRecvData for the packet just read: the store takes it; then it is published; then an answer is noted. */
inline StorePacket() {
    raised[group] = kind == ANSWER || store[group].kept != kept || store[group].changed != changed;
    store[group].kept = kept;
    store[group].changed = changed;
    kept = 0;
    changed = 0
}

#ifdef ONE_ANSWER_IS_ENOUGH
#define IsLastMissing(group) (missing != 0)
#else
#define IsLastMissing(group) (missing == (1 << group))
#endif

inline NoteAnswer() {
    if
    :: kind == ANSWER && IsLastMissing(group) -> missing = 0; ResumeCommands()
    :: kind == ANSWER && !IsLastMissing(group) -> missing = missing & ~(1 << group)
    :: else
    fi;
    kind = 0;
    group = 0
}

inline ReadMcu() {
    if
    :: state[MCU] == OPEN && len(from_mcu) > 0 && blocks < BLOCKS_PER_TURN ->
        from_mcu?kind, group, kept, changed;
        blocks++;
        StorePacket()
    :: else ->
        if
        :: state[MCU] == OPEN && len(from_mcu) == 0 && !alive[MCU] -> Lose(MCU)
        :: else
        fi;
        Release(MCU)
    fi
}

inline DeliverMcu() {
    atomic {
        mcu_is_ready = false;
        Claim(MCU);
        if
        :: claimed -> ReadMcu()
        :: else
        fi
    };
    do
    :: claimed ->
        UpdatePps();
        atomic { NoteAnswer(); ReadMcu() }
    :: else -> break
    od
}

inline ReadControl() {
    if
    :: !is_held && state[CONTROL] == OPEN && len(to_control) > 0 && blocks < BLOCKS_PER_TURN ->
        to_control?group, changed;
        blocks++;
        kept = store[group].kept
    :: else ->
        if
        :: !is_held && state[CONTROL] == OPEN && len(to_control) == 0 && !alive[CONTROL] -> Lose(CONTROL)
        :: else
        fi;
        Release(CONTROL)
    fi
}

/* A block is read and its record built from the store; then the record is written. */
inline DeliverControl() {
    atomic {
        control_is_ready = false;
        Claim(CONTROL);
        if
        :: claimed -> ReadControl()
        :: else
        fi
    };
    do
    :: claimed ->
        atomic {
            Send(COMMAND, group, kept, changed);
            group = 0; kept = 0; changed = 0;
            ReadControl()
        }
    :: else -> break
    od
}

inline DeliverStatus() {
    atomic {
        status_is_ready = false;
        Claim(STATUS);
        if
        :: claimed && state[STATUS] == OPEN && !alive[STATUS] -> Lose(STATUS); is_starved = false
        :: claimed && state[STATUS] == OPEN && alive[STATUS] && is_starved && !server_is_full ->
            is_starved = false;
            is_relieved = true;
            needs_attention = true
        :: else
        fi;
        if
        :: claimed -> Release(STATUS)
        :: else
        fi
    }
}

/* Multiplexer::TakeOver and the return handler. */
inline TakeOver() {
    atomic {
        needs_attention = false;
        !multiplexer_lock;
        status_is_back = is_relieved;
        is_relieved = false;
        if
        :: registered[CONTROL] && state[CONTROL] == RETURNED -> state[CONTROL] = OPEN; watched[CONTROL] = false
        :: else
        fi;
        if
        :: registered[STATUS] && state[STATUS] == RETURNED ->
            state[STATUS] = OPEN;
            watched[STATUS] = false;
            status_is_back = true
        :: else
        fi;
        if
        :: registered[MCU] && state[MCU] == RETURNED ->
            state[MCU] = OPEN;
            watched[MCU] = false;
#ifndef NO_QUERIES
            mcu_is_back = true;
            HoldCommands();
            Send(QUERY, 0, 0, 0)
#endif
        :: else
        fi
    };
    if
    :: atomic { mcu_is_back -> mcu_is_back = false; timer_is_due = false; Send(QUERY, 1, 0, 0); SetTimer() }
    :: else
    fi;
    if
    :: atomic { status_is_back ->
        status_is_back = false;
#ifndef NO_REPUBLISH
        raised[0] = raised[0] || was_published[0];
        raised[1] = raised[1] || was_published[1]
#endif
       };
       UpdatePps()
    :: else
    fi
}

/* A file that is not open can't be added to the epoll set, and what is closed has left it. */
inline UpdateWatches() {
    watched[MCU] = registered[MCU] && state[MCU] == OPEN;
    watched[CONTROL] = registered[CONTROL] && state[CONTROL] == OPEN && !is_held;
    watched[STATUS] = registered[STATUS] && state[STATUS] == OPEN;
    watched_for_room = watched[STATUS] && is_starved
}

inline RunTimer() {
    if
    :: timer_is_due && timer_is_set && missing != 0 ->
        !multiplexer_lock;
        timer_is_set = false;
        excused = excused || McuIsThere;
        ResumeCommands()
    :: else
    fi;
    timer_is_due = false
}

/* What Dispatch() and TimeoutMs() look at before the next wait. Who asks for attention later has to wake it. */
inline EndTurn() {
    goes_on = !is_stopping;
    may_wait = !needs_attention
}

proctype Dispatcher() {
    bool goes_on = true, may_wait;
    bool mcu_is_ready, control_is_ready, status_is_ready;
    bool claimed, mcu_is_back, status_is_back, timer_is_due;
    byte blocks;
    bit group;
    byte kept, changed;
    mtype:packet kind;
end:
    do
    :: !goes_on -> break
    :: atomic {
        goes_on && (!may_wait || HasEvent || TimerCanBeDue) ->
        if
        :: TimerCanBeDue -> timer_is_due = true
        :: !may_wait || HasEvent
        fi;
        wake = false;
        mcu_is_ready = McuIsReady;
        control_is_ready = ControlIsReady;
        status_is_ready = StatusIsReady
       };
       do
       :: mcu_is_ready -> DeliverMcu()
       :: control_is_ready -> DeliverControl()
       :: status_is_ready -> DeliverStatus()
       :: !mcu_is_ready && !control_is_ready && !status_is_ready -> break
       od;
       if
       :: needs_attention -> TakeOver(); atomic { !multiplexer_lock -> UpdateWatches(); RunTimer(); EndTurn() }
       :: else -> atomic { RunTimer(); EndTurn() }
       fi
    od;
    dispatcher_runs = false
}
