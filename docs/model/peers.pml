/* The MCU, the PPS server and the HMI. */

/* ---------------------------------------------------------------- the MCU */

inline BootMcu() {
    mcu[0].kept = mcu_epoch;
    mcu[1].kept = mcu_epoch;
    mcu[0].changed = 0;
    mcu[1].changed = 0;
    excused = false;
    if
    :: mcu_is_slow = false
    :: mcu_is_slow = true
    fi
}

proctype Mcu() {
    bit group;
    byte kept, changed;
    mtype:packet kind;
end:
    do
    :: atomic {
        mcu_is_up && len(to_mcu) > 0 ->
        to_mcu?kind, group, kept, changed;
        if
        :: kind == QUERY && alive[MCU] -> from_mcu!ANSWER(group, mcu[group].kept, mcu[group].changed)
        :: kind == QUERY && !alive[MCU]
        :: kind == COMMAND ->
            record_fits_mcu = kept == mcu[group].kept || excused;
            assert(record_fits_mcu);
            mcu[group].kept = kept;
            mcu[group].changed = changed;
            if
            :: alive[MCU] -> from_mcu!ACKNOWLEDGEMENT(group, kept, changed)
            :: else
            fi
        fi;
        kind = 0; group = 0; kept = 0; changed = 0
       }
    /* It mcu_restarts, with other settings or, where only the link broke, with the same ones; or does not. */
    :: atomic {
        mcu_is_up && mcu_restarts > 0 ->
        mcu_restarts--;
        mcu_is_up = false;
        alive[MCU] = false;
        do
        :: len(to_mcu) > 0 -> to_mcu?_, _, _, _
        :: len(to_mcu) == 0 -> break
        od
       }
    :: atomic { !mcu_is_up -> mcu_is_up = true; mcu_epoch++; BootMcu() }
    :: atomic { !mcu_is_up -> mcu_is_up = true }
    :: mcu_restarts > 0 -> mcu_restarts--
    od
}

/* --------------------------------------------------------- the PPS server */

proctype Server() {
end:
    do
    :: atomic {
        server_is_up && server_restarts > 0 ->
        server_restarts--;
        server_is_up = false;
        server_is_full = false;
        alive[CONTROL] = false;
        alive[STATUS] = false;
        object[0].kept = NONE;
        object[1].kept = NONE;
        object_has_command = false; object_group = 0; object_changed = 0
       }
    :: !server_is_up -> server_is_up = true
    :: atomic { server_is_up && full_times > 0 && !server_is_full -> full_times--; server_is_full = true }
    :: server_is_full -> server_is_full = false
    :: server_restarts > 0 -> server_restarts--
    :: full_times > 0 -> full_times--
    od
}

/* --------------------------------------------------------------- the HMI */

proctype Hmi() {
    bit group;
end:
    do
    :: atomic {
        server_is_up && commands > 0 ->
        if
        :: group = 0
        :: group = 1
        fi;
        if
        :: alive[CONTROL] -> to_control!group(1 + MAX_COMMANDS - commands)
        :: else -> object_has_command = true; object_group = group; object_changed = 1 + MAX_COMMANDS - commands
        fi;
        group = 0;
        commands--
       }
    :: commands > 0 -> commands--
    od
}
