/*
 * The service's start, the loss and the return of both its peers, and its end, for the model checker spin.
 * README.md beside this file says how to run it and what came out.
 *
 * WHO IS HERE
 *
 *   process     stands for
 *   Main        the main thread: CEQMidController::Start, the wait for a signal, Stop (service/CEQMidController.cpp,
 *               framework/Multiplexer.cpp)
 *   Dispatcher  the thread of Multiplexer::Dispatch (framework/MultiplexerTurn.cpp) with the callbacks that it runs:
 *               OnRecvData, OnAttributeChange, UpdatePPS (service/) and OnFilesReturned, OnAnswerTimeout
 *               (service/PeerReturn.cpp)
 *   Reopener    one for the MCU and one for the PPS server: Reopener::Run and Connection::Reopen (framework/)
 *   Mcu         the MCU: its settings, its answers, its restarts
 *   Server      the PPS server: its objects, its restarts, times in which it takes no writes
 *   Hmi         whoever writes commands into the control object
 *   init        chooses what will happen; waits until nothing moves any more, judges, then sends the signal that ends
 *               the service, and judges again
 *
 * THE SETTINGS
 *
 * There are two groups of settings, and so two queries. A group has two fields: `kept` and `changed`. A command
 * changes `changed` and carries the stored value of `kept`, as a command for the fader carries the stored volume. No
 * command ever changes `kept`; an MCU that restarts has another value there. So a record whose `kept` is not the MCU's
 * own was built from an empty or an old store, and the MCU process looks for just that.
 *
 * THE CONNECTIONS
 *
 * Three files: the MCU's device, the control object (an input of the PPS server) and the status object (an output).
 * Each has the states of framework/Connection.h. `alive[f]` says that the peer's end of the connection is there.
 * Without it writes are lost, and a reader finds the end after what is still to be read. An operation of Connection is
 * one atomic step, since it holds the connection's lock and waits for nothing. Reopen alone takes two: between its
 * opening and its result the peer may end again and the file may be closed.
 *
 * THE DISPATCHER
 *
 * A turn is as in the code: one wait gives the files that are ready at that moment, each is delivered a bounded part,
 * then, if attention is needed, what came back is taken over and the watches follow, then the timer runs. The steps
 * between which other threads can come in are steps here: a block read, with the building of its record; the writing of
 * the record; each group's publication; each query. What only the dispatcher sees belongs to the step before it.
 *
 * Of the locks, a file's delivery lock and the wait of Remove are here, and the multiplexer's as far as it is held over
 * more than a step (by Join, while it waits for the reopeners). Others are held for a step.
 *
 * THE TIME
 *
 * There is none. The MCU decides at each start whether it is slow. While answers are missing, the timer may run out
 * only where the MCU is slow or its link is not there. Where it runs out though the link is there, `excused` is set,
 * and a record of an empty store may reach this MCU until it restarts.
 *
 * THE MUTATIONS, each of which has to be found
 *
 *   NO_WAIT                    commands are never held                                        -> record_fits_mcu
 *   ONE_ANSWER_IS_ENOUGH       commands go on after the first answer                          -> record_fits_mcu
 *   NO_QUERIES                 nothing is asked when the MCU's link is back, nothing held     -> published_is_true
 *   NO_REPUBLISH               nothing is published again when the server is back             -> published_is_true
 *   TAKE_OVER_DURING_DELIVERY  a new link can be written to before it has been taken over     -> record_fits_mcu
 *   LOST_WAKE                  a reopener does not wake the dispatcher                        -> all_is_well_again
 *   JOIN_WITH_LOCK             the dispatcher is joined with the multiplexer's lock held      -> service_ends
 */

#define BLOCKS_PER_TURN 2
#define MAX_COMMANDS 2
#define GROUPS 2
#define ALL_GROUPS 3
#define NONE 15         /* an attribute that is not there */

#define MCU 0
#define CONTROL 1
#define STATUS 2
#define FILES 3

mtype:state = { CLOSED, OPEN, LOST, REOPENING, RETURNED };
mtype:packet = { QUERY, ANSWER, COMMAND, ACKNOWLEDGEMENT };

typedef Record { unsigned kept : 4; unsigned changed : 4 };

/* Connections. */
mtype:state state[FILES] = OPEN;
bool alive[FILES] = true;
chan to_mcu = [6] of { mtype:packet, bit, byte, byte };   /* kind, group, kept, changed */
chan from_mcu = [6] of { mtype:packet, bit, byte, byte };
chan to_control = [MAX_COMMANDS] of { bit, byte };        /* group, changed */

/* What is still to happen, at most. */
byte mcu_restarts;
byte server_restarts;
byte full_times;        /* how often the server takes no writes for a while */
byte commands;
bool signal_any_time;   /* the signal comes at any time, rather than when nothing moves any more */

/* The MCU and the server. */
bool mcu_is_up = true;
bool mcu_is_slow;
byte mcu_epoch = 1;
Record mcu[GROUPS];
bool server_is_up = true;
bool server_is_full;
Record object[GROUPS];
bool object_has_command;   /* in the control object, while the service is not connected */
bit object_group;
byte object_changed;

/* The multiplexer. */
bool registered[FILES];
bool watched[FILES];
bool watched_for_room;
bool delivery_lock[FILES];
byte delivering = NONE;
bool multiplexer_lock;
bool wake;                 /* the eventfd */
bool needs_attention;
bool is_stopping;
bool dispatcher_runs;
bool reopener_stops[2];
byte reopeners_run;

/* The controller. */
Record store[GROUPS];
bool raised[GROUPS];
bool was_published[GROUPS];
unsigned missing : 2;
bool is_held;
bool timer_is_set;
bool is_starved;           /* a write of the status object found no room */
bool is_relieved;

/* For the properties alone. */
bool excused;
bool stop_signal;
bool main_is_done;
hidden byte record_fits_mcu;
hidden byte published_is_true;
hidden byte all_is_well_again;
hidden byte service_ends;

#define CanBeWrittenTo(f) (state[f] == OPEN)
#ifdef TAKE_OVER_DURING_DELIVERY
#undef CanBeWrittenTo
#define CanBeWrittenTo(f) (state[f] == OPEN || state[f] == RETURNED)
#endif

/* What epoll tells of. */
#define McuIsReady (watched[MCU] && state[MCU] == OPEN && (len(from_mcu) > 0 || !alive[MCU]))
#define ControlIsReady (watched[CONTROL] && state[CONTROL] == OPEN && (len(to_control) > 0 || !alive[CONTROL]))
#define StatusIsReady \
    (watched[STATUS] && state[STATUS] == OPEN && (!alive[STATUS] || (watched_for_room && !server_is_full)))

/* When the timer may run out and has something to say: an MCU that is not slow answers before. */
#define McuIsThere (state[MCU] == OPEN && alive[MCU])
#define TimerCanBeDue (timer_is_set && missing != 0 && (mcu_is_slow || !McuIsThere))
#define HasEvent (wake || McuIsReady || ControlIsReady || StatusIsReady)

#include "peers.pml"
#include "controller.pml"
#include "dispatcher.pml"
#include "threads.pml"

/* -------------------------------------------------- scenarios and verdict */

/* What happens, at most. The larger ones, 7 to 9, have to be chosen by number; the others are checked all at once. */
#ifndef SCENARIO
#define SCENARIO 0
#endif
#define Chosen(n) (SCENARIO == n || (SCENARIO == 0 && n <= 6))

inline ChooseScenario() {
    if
    :: Chosen(1) -> signal_any_time = true; server_restarts = 1; commands = 1
    :: Chosen(2) -> signal_any_time = true; mcu_restarts = 1
    :: Chosen(3) -> server_restarts = 1; full_times = 1; commands = 1
    :: Chosen(4) -> mcu_restarts = 1; commands = 2
    :: Chosen(5) -> mcu_restarts = 2; commands = 1
    :: Chosen(6) -> mcu_restarts = 1; server_restarts = 1
    :: Chosen(7) -> mcu_restarts = 1; server_restarts = 1; commands = 1
    :: Chosen(8) -> signal_any_time = true; mcu_restarts = 1; commands = 1
    :: Chosen(9) -> signal_any_time = true; mcu_restarts = 1; server_restarts = 1
    fi
}

#define IsTrue(g) (object[g].kept == mcu[g].kept && object[g].changed == mcu[g].changed)

init {
    atomic {
        ChooseScenario();
        BootMcu();
        object[0].kept = NONE;
        object[1].kept = NONE;
        run Mcu();
        run Server();
        run Hmi();
        run Main()
    };
end:
    timeout;
    if
    :: !main_is_done && !is_stopping && state[STATUS] != CLOSED ->
        d_step {
            all_is_well_again = state[MCU] == OPEN && state[CONTROL] == OPEN && state[STATUS] == OPEN && !is_held &&
                                len(to_control) == 0 && missing == 0;
            assert(all_is_well_again);
            published_is_true = IsTrue(0) && IsTrue(1);
            assert(published_is_true);
            stop_signal = true
        };
        timeout
    :: else
    fi;
    service_ends = main_is_done && !dispatcher_runs && reopeners_run == 0;
    assert(service_ends)
}
