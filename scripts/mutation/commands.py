"""Running commands that may hang."""
import collections
import os
import resource
import selectors
import signal
import subprocess
import threading
import time
from pathlib import Path

MEMORY = 8 << 30  # bytes of address space, for faults that allocate without end


def members_of(session):
    for stat in Path("/proc").glob("[0-9]*/stat"):
        try:
            state, *_, leader = stat.read_text().rpartition(")")[2].split()[:4]
        except OSError:
            continue
        if int(leader) == session and state not in "ZX":
            yield int(stat.parent.name)


def kill_session(session):
    """Kills all processes of a session, whatever groups they are in: ninja gives each command its own."""
    while members := list(members_of(session)):
        for member in members:
            try:
                os.kill(member, signal.SIGKILL)
            except ProcessLookupError:
                pass


class Stopped(Exception):
    """The user has ended the run."""


class Commands:
    """Runs commands in sessions of their own, so that all they started ends with them."""

    def __init__(self):
        self.running, self.lock, self.stopped = set(), threading.Lock(), False

    def run(self, command, cwd, env, limit_of):
        """Runs a command. True when it succeeds in time, and the last lines it writes.

        limit_of(line) gives the seconds that it may take from that line on, or None where the former limit stays.
        limit_of(None) gives the seconds from the start."""
        with self.lock:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(list(map(str, command)), cwd=cwd, env=env, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
            self.running.add(process)
        try:
            resource.prlimit(process.pid, resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.prlimit(process.pid, resource.RLIMIT_CORE, (0, 0))
            ended, lines = self.follow(process, limit_of)
            if self.stopped:
                raise Stopped
            return ended and process.wait() == 0, lines
        finally:
            self.end(process)
            process.stdout.close()

    def follow(self, process, limit_of):
        """Whether it closed its output in time, and the last lines of it."""
        lines, rest, end = collections.deque(maxlen=1000), b"", time.monotonic() + limit_of(None)
        with selectors.DefaultSelector() as selector:
            selector.register(process.stdout, selectors.EVENT_READ)
            while time.monotonic() < end and selector.select(max(0, end - time.monotonic())):
                data = os.read(process.stdout.fileno(), 65536)
                if not data:
                    return True, lines
                *complete, rest = (rest[-65536:] + data).split(b"\n")
                for line in complete:
                    lines.append(line.decode(errors="replace"))
                    limit = limit_of(lines[-1])
                    end = time.monotonic() + limit if limit is not None else end
        return False, lines

    def end(self, process):
        kill_session(process.pid)
        process.wait()
        with self.lock:
            self.running.discard(process)

    def stop(self):
        with self.lock:
            self.stopped = True
            running = list(self.running)
        for process in running:
            kill_session(process.pid)
