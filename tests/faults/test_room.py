"""A system that has no room for so many threads, processes or descriptors: those there are do the
work, and what cannot be done at all leaves its goal as it is. And one that has no locks.
"""

import subprocess

import pytest

from conftest import REPLAY, candidate, po, rows

GOALS = 12


# The count is that of each thread: every worker fails when it starts its second or third tool, and
# leaves; the last one waits.
@pytest.fixture
def tight(case):
    if subprocess.run(["strace", "true"], capture_output=True, check=False).returncode:
        pytest.skip("tracing is not permitted here")
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])
    return lambda jobs, fault, **more: case.run(
        *REPLAY, "-c", jobs, under=("strace", "-f", "-o", "calls", "-e", f"inject={fault}"), **more)


@rows("fault", {"no thread but the second": "clone3:error=EAGAIN:when=3+",
                "no thread at all": "clone3:error=EAGAIN:when=2+",
                "no process for the prover": "vfork:error=EAGAIN:when=2",
                "no process for the reader": "vfork:error=ENOMEM:when=3",
                "no pipe": "pipe2:error=EMFILE:when=9"})
def test_fewer_jobs(case, tight, fault):
    tight(4, fault)
    assert "INJECTED" in case.path("calls").read_text()
    assert case.proved() == GOALS


# Of one job's third goal: the reader must not answer for a prover that never ran.
@rows("fault", {"no process": "vfork:error=EAGAIN:when=8", "no pipe": "pipe2:error=EMFILE:when=23",
                "no secondary file": "openat:error=EMFILE:when={}"})
def test_nothing_is_recorded_for_lack_of_room(case, tight, fault):
    if "{}" in fault:  # which call of the program opens the third one
        tight(1, "getppid:error=EPERM:when=9999")
        own = [line.split(None, 1)[1] for line in case.path("calls").read_text().splitlines()
               if "openat(" in line and line.split()[0] == case.path("calls").read_text().split()[0]]
        case.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])
        fault = fault.format(1 + [i for i, call in enumerate(own) if "_d1_2_0" in call][0])
    tight(1, fault, err="No room to run driver d1.\n")
    assert case.proved() == GOALS - 1


def test_without_locks(case, tight):
    run = tight(1, "flock:error=ENOLCK", err=None)
    assert run.err.decode() == "".join(
        f"Cannot lock {name}: No locks available; no other run is kept away.\n"
        for name in ("comp.pos", "work/comp_m_d1"))
    assert case.proved() == GOALS


# The limit is raised as far as it goes; tools get the one that the caller had.
@rows("hard", {"that can be raised": 4096, "that cannot": 64})
def test_a_low_limit_of_descriptors(case, hard):
    case.script("prover", "[ $(ulimit -n) = 64 ] && exec cat\n")
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(5 * GOALS)])
    case.run(*REPLAY, "-c", 4 * GOALS, under=("prlimit", f"--nofile=64:{hard}"))
    assert case.proved() == 5 * GOALS
