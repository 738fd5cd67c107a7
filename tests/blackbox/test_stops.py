"""Signals at every stage of a run. After a SIGTERM the verdicts reached so far are saved and the
secondary files removed; whatever the signal, the POS file is complete, and no tool survives."""

import fcntl
import os
import pathlib
import re
import signal
import time
import xml.etree.ElementTree as ET

import psutil
import pytest

from conftest import (FILES, REPLAY, SLOWNESS, WRITER, candidate, canonical, concluded, goal,
                      needs, parsed, po, rows)

QUICK_READER = "while read -r l; do echo Proved; done\n"
GOALS = 20


def stop(case, process):
    for _ in range(2):  # Twice is as good as once.
        process.send_signal(signal.SIGTERM)
    run = case.finish(process)
    assert run.status == 1 and b"TOTAL" not in run.out, run
    assert leftovers(case) == []


def leftovers(case):
    return os.listdir(case.path("work")) + list(case.root.rglob("*.kelvarune-new"))


@pytest.mark.parametrize("jobs", [1, 4])
@pytest.mark.parametrize("role", ["writer", "prover", "reader"])
def test_what_was_reached_is_saved_again(case, busy, jobs, role):
    process = busy(jobs, role)
    case.write("comp.pos", "spoiled")  # What a stop saves is the document in memory, whole.
    stop(case, process)
    missing = (2, 3) if jobs == 1 else (2,)
    case.pos_is(*[po(f"T{i}", candidate() if i in missing else concluded()) for i in range(4)])


@rows("options, part, filled, proved", {
    "before the file is loaded": (REPLAY, candidate(), 8192, 0),
    "before any mechanism, or in the report": (("-M", ".", *FILES), goal(), 8192, 0),
    "at a result": (REPLAY, candidate(), 0, 1),
})
def test_output_that_nobody_reads(case, options, part, filled, proved):
    """A full pipe keeps the program waiting at the chosen place."""
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(po("T" + "-" * 5000, part))
    reading, writing = os.pipe()
    fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 8192)
    os.write(writing, b"#" * filled)
    process = case.start(*options, stdout=writing)
    os.close(writing)
    status = pathlib.Path(f"/proc/{process.pid}/status")
    case.wait_for(lambda: re.search(r"Sig(Blk|Cgt):\s+0*4000\n", status.read_text())
                  and len(case.calls("reader")) == proved)
    time.sleep(0.5 * SLOWNESS)
    assert process.poll() is None, "it did not wait"
    process.send_signal(signal.SIGTERM)
    run = case.finish(process)
    os.close(reading)
    assert (run.status, run.err, case.proved(), leftovers(case)) == (1, b"", proved, []), run


# Tools of several builds: each row replaces some of the quick ones.
SHAPES = {
    "quick": {},
    # A wrapper moves what it runs to a process group of its own.
    "wrapper": {"prover": "timeout 300 sleep 0.02; timeout 300 cat\n"},
    # Each entry leaves something that sleeps on, in a group of its own, or started only later.
    "groups": {"prover": "timeout 300 sleep 300 </dev/null >/dev/null 2>&1 &\nexec cat\n"},
    "late": {"prover": "(sleep 0.05; sleep 300; :) </dev/null >/dev/null 2>&1 &\nexec cat\n"},
    # Nobody but the program ends this one; it ignores everything that can be ignored.
    "stubborn": {"prover": "trap '' TERM INT HUP QUIT\n(trap '' TERM; sleep 300) &\ncat\nwait\n"},
}
SLOW_DISK = ("strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=fdatasync",
             "-e", "inject=fdatasync:delay_exit=30000")
RECORDED = re.compile(rb"updating proof status of proof obligation (\d+),0 to Proved")


def component(case, shape):
    quick = {"writer": WRITER, "prover": "exec cat\n", "reader": QUICK_READER}
    for role, body in (quick | shape).items():
        case.script(role, body)
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])


def states(case):
    """Per goal whether it is proved; each is entirely as before or as after its verdict."""
    kinds = {canonical(ET.tostring(candidate())): False, canonical(ET.tostring(concluded())): True}
    goals = parsed(case.path("comp.pos").read_bytes()).iter("Simple_Goal")
    return [kinds[canonical(ET.tostring(part))] for part in goals]


def begun(case, process, rng):
    if rng.random() < 0.8:
        case.wait_for(lambda: process.poll() is not None
                      or b"still" in case.path("stdout").read_bytes())
    time.sleep(0.2 * SLOWNESS * rng.random() ** 2)


@pytest.mark.rounds(3)
@pytest.mark.parametrize("shape", [*SHAPES, pytest.param("slow disk", marks=needs("strace"))])
def test_soft_stop_at_a_random_moment(case, rng, round_number, shape):
    jobs = (1, 8, GOALS)[round_number % 3]
    component(case, SHAPES.get(shape, {}))
    under = SLOW_DISK if shape == "slow disk" else ()
    process = case.start(*REPLAY, "-c", jobs, "-t", 1, under=under)
    begun(case, process, rng)
    for program in psutil.Process(process.pid).children() if under else [process]:
        program.send_signal(signal.SIGTERM)
    run = case.finish(process, orphans=True)
    done = states(case)
    ended_before = run.status == 0 and b"TOTAL" in run.out
    not_yet_begun = run.status == -signal.SIGTERM and not run.out + run.err
    assert run.status == 1 or ended_before or not_yet_begun, run
    assert len(set(re.findall(rb"Thread (\d+) writes", run.err))) <= jobs, run
    # Every verdict that was shown, and every one that the traces name, is in the file.
    assert len(done) == GOALS and all(done[int(i)] for i in RECORDED.findall(run.err)), run
    assert sum(done) >= run.out.count(b"+") and leftovers(case) == [], run


@pytest.mark.rounds(7)
@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGINT, signal.SIGHUP])
def test_hard_stop_at_a_random_moment(case, rng, round_number, number):
    """Other signals are not handled. Those of a terminal go to the whole foreground group."""
    jobs = (1, 8)[round_number % 2]
    component(case, list(SHAPES.values())[round_number % len(SHAPES)])
    process = case.start(*REPLAY, "-c", jobs, start_new_session=True)
    begun(case, process, rng)
    os.killpg(process.pid, number)
    run = case.finish(process, orphans=True)
    done = states(case)
    assert run.status in (-number, 0), run
    # Marks are shown before they are saved; only those of entries in flight may be missing.
    assert len(done) == GOALS and run.out.count(b"+") - sum(done) <= jobs, run
    if not all(done):
        component(case, {})
        case.replay()
        assert leftovers(case) == []
