"""kelvarune-limit before script provers, by itself and in a run of kelvarune-play. A process that is
left behind fails each of these."""

import json
import os
import resource
import signal
import time

import psutil
import pytest
from conftest import BIN, FILES, LIMIT_S, SLOWNESS, concluded, goal, mech, po, rows

PROGRAM = "kelvarune-limit"

# Children out of the session, without a parent, and deaf.
FORKS = """setsid sleep 1000 & (sh -c 'setsid sleep 1000 & sleep 1000 &' &)
(trap '' TERM HUP INT; sleep 1000; sleep 1000) & : >"$0.busy"
"""
BURN = "while :; do :; done"
# So many megabytes that four processes share, and that each has of its own.
EATS = """#!/usr/bin/python3
import os, time
print("before", flush=True)
shared = [b"x" * (1 << 20) for i in range({})]
any(os.fork() == 0 for i in range(3))
own = b"x" * ({} << 20)
time.sleep({})
"""


@rows("option, value, body, status, name", {
    "sleeps": ("--time", "0.5", "exec sleep 1000", 124, "time limit"),
    "forks": ("--time", "0.5", FORKS + "wait", 124, "time limit"),
    "below another": ("--time", "0.5", f"exec {BIN}/{PROGRAM} --time 1000 setsid sleep 1000", 124,
                      "time limit"),
    "stands still": ("--time", "0.5", "kill -STOP $$", 124, "time limit"),
    "burns": ("--cpu", "0.5", f"({BURN}) & {BURN}", 122, "processor time limit"),
    "eats": ("--memory", "90M", EATS.format(0, 40, 1000), 123, "memory limit"),
    "eats fast": ("--memory", "90M", EATS.format(500, 0, 1000), 123, "memory limit")})
def test_ends_at_the_limit(case, option, value, body, status, name):
    prover = case.script("prover", body if body.startswith("#!") else "echo before\n" + body)
    began, used = time.monotonic(), resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    run = case.start(option, value, "--report", "report", prover)
    assert (run.wait(LIMIT_S), case.running()) == (status, [])
    used = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - used
    assert used > 0.2 or option != "--cpu"  # which shows that it counts for the caller, too
    assert option != "--time" or time.monotonic() - began < 0.5 + SLOWNESS
    unit = "" if option == "--memory" else " s"
    run = case.finish(run)
    *said, last = run.err.decode().splitlines()
    assert (run.out, last) == (b"before\n", f"kelvarune-limit: {name} of {value}{unit} reached")
    assert not said or said[-1] == "MemoryError"  # refused by the system before anybody looked
    report = json.loads(case.path("report").read_text())
    assert report["end"] == name and report["memory"] < 190 << 20
    assert report["user"] + report["system"] < 1.5


def test_shared_memory_counts_once(case):
    case.run("--memory", "90M", case.script("prover", EATS.format(40, 0, 2)), out="before\n")


@rows("words, status", {
    "exit": (["sh", "-c", "exit 3"], 3), "crash": (["sh", "-c", "kill -SEGV $$"], -signal.SIGSEGV),
    "leaves children": (["sh", "-c", "setsid sleep 1000 & exit 4"], 4),
    "missing": (["./missing"], 127), "no program": (["./comp.pog"], 126),
    "no size": (["--memory", "much", "true"], 125), "no time": (["--time", "0", "true"], 125),
    "no report": (["--report", "no/where", "true"], 125), "nothing": ([], 125)})
def test_statuses(case, words, status):
    assert case.run(*words, status=status, err=None).err.count(b"\n") == (status > 100)


@rows("end, status", {
    "asked": (lambda run: run.terminate(), -signal.SIGTERM),
    "killed": (lambda run: run.kill(), -signal.SIGKILL),
    "guard killed": (lambda run: psutil.Process(run.pid).children()[0].kill(), -signal.SIGKILL),
    "group killed": (lambda run: os.killpg(run.pid, signal.SIGKILL), -signal.SIGKILL)})
def test_takes_all_with_it(case, end, status):
    run = case.start(case.script("prover", FORKS + "wait"), start_new_session=True)
    case.wait_for(case.path("tools/prover.busy").exists)
    end(run)
    assert case.finish(run).status == status


@pytest.fixture
def play(case):
    """Starts a run with limits over two goals; the prover goes on after its answers."""
    def start(limit_s, *more):
        case.script("prover", FORKS + "cat; wait")
        case.answers({"*.0.*": "Proved"})
        case.mechanism(trust="always")
        case.pos(po("T0", goal()), po("T1", goal()))
        return case.start("-m", "m.xml", *FILES, "--time-limit", limit_s, "--memory-limit", "2G",
                          *more, program="kelvarune-play")
    return start


def test_what_was_said_before_counts(case, play):
    run = case.finish(play(0.5))
    cause = "prover reached its time limit of 0.5 s"
    assert (run.status, run.err.decode()) == (0, f"kelvarune-play: m/d1: 1 of 2 entries: {cause}\n")
    case.pos_is(po("T0", concluded()), po("T1", goal(mech("m", "Unknown", d1="Unknown"))))
    told = case.finish(play(0.5, "--goal", "T1.1", "--explain")).out.decode()
    assert cause in told
    assert f"{BIN}/{PROGRAM} --time 0.5 --memory 2G -- {case.root}/tools/prover <" in told


@rows("number", {"stopped": signal.SIGTERM, "killed": signal.SIGKILL})
def test_ends_with_the_run(case, play, number):
    run = play(1000)
    case.wait_for(case.path("tools/prover.busy").exists)
    run.send_signal(number)
    assert case.finish(run).status in (-number, 128 + number)
