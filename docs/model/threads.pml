/* The reopeners and the main thread. */

/* ------------------------------------------------------------ a reopener */

#define IsLost(f) (state[f] == LOST && ((f == MCU && mcu_is_up) || (f != MCU && server_is_up)))

/* Connection::Reopen. An opening that fails changes nothing and is tried again: it is left out. */
inline Reopen(f) {
    if
    :: atomic {
        IsLost(f) ->
        state[f] = REOPENING;
        alive[f] = true;
        if
        :: f == CONTROL && object_has_command ->
            to_control!object_group(object_changed);
            object_has_command = false; object_group = 0; object_changed = 0
        :: else
        fi
       };
       atomic {
        if
        :: state[f] == REOPENING -> state[f] = RETURNED
        :: else -> alive[f] = false
        fi
       }
    :: else
    fi
}

/* Multiplexer::ReopenerOf: what a reopener calls after a pass. */
inline TellReturn() {
    atomic {
        needs_attention = true;
#ifndef LOST_WAKE
        wake = true
#endif
    }
}

proctype Reopener(bit peer) {
end:
    do
    :: reopener_stops[peer] -> break
    :: !reopener_stops[peer] && peer == 0 && IsLost(MCU) -> Reopen(MCU); TellReturn()
    :: !reopener_stops[peer] && peer == 1 && (IsLost(CONTROL) || IsLost(STATUS)) ->
        Reopen(CONTROL);
        Reopen(STATUS);
        TellReturn()
    od;
    reopeners_run--
}

/* --------------------------------------------------------- the main thread */

/* FileBase::Close. */
inline Close(f) {
    d_step { state[f] = CLOSED; alive[f] = false; watched[f] = false };
    !delivery_lock[f]
}

inline Remove(f) {
    atomic { !multiplexer_lock -> registered[f] = false };
    delivering != f
}

inline Start() {
    atomic {
        registered[MCU] = true;
        registered[CONTROL] = true;
        registered[STATUS] = true;
        HoldCommands();
        UpdateWatches();
        dispatcher_runs = true;
        reopeners_run = 2;
        run Dispatcher();
        run Reopener(0);
        run Reopener(1);
        Send(QUERY, 0, 0, 0)
    };
    atomic { Send(QUERY, 1, 0, 0) };
    atomic { SetTimer(); wake = true }
}

inline Stop() {
    Close(STATUS);
    Close(CONTROL);
    Close(MCU);
    Remove(CONTROL);
    Remove(MCU);
    Remove(STATUS);
#ifdef JOIN_WITH_LOCK
    multiplexer_lock = true;
#endif
    is_stopping = true;
    wake = true;
    !dispatcher_runs;
    multiplexer_lock = true;
    reopener_stops[0] = true;
    reopener_stops[1] = true;
    reopeners_run == 0;
    multiplexer_lock = false
}

proctype Main() {
    Start();
end:
    stop_signal || signal_any_time;
    Stop();
    main_is_done = true
}
