"""SIGINT, SIGTERM and SIGHUP: tools end with all that they started, secondary files go, what was
proved is saved, and the status names the signal."""

import os
import time
from signal import SIGHUP, SIGINT, SIGTERM

import pytest
from conftest import FILES, SLOWNESS, goal, mech, parsed, po, rows

PROGRAM = "kelvarune-play"

SIGNALS = (SIGHUP, SIGINT, SIGTERM)
PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")
OPEN = goal(mech("m", d1="Unproved"))

# What the tool runs is not the tool itself, in a process group of its own for good measure.
WRAPPED = "set -m; ({mark}; exec sleep 1000) & wait"


@rows("jobs, numbers, options", {
    "interrupt": (1, [SIGINT], {"role": "reader"}), "end": (4, [SIGTERM], {"role": "writer"}),
    # The number that is higher is taken later.
    "hang-up ignored": (1, [SIGHUP, SIGTERM], {"under": ("env", "--ignore-signal=HUP")}),
    # As a terminal that is closed and a service manager may send them.
    "all together": (1, SIGNALS, {"body": WRAPPED}),
    "several jobs": (4, SIGNALS[::-1], {"body": WRAPPED})})
def test_a_stop(case, busy, jobs, numbers, options):
    process = busy(jobs, before=goal(), **options)
    for number in numbers:
        process.send_signal(number)
    run = case.finish(process)
    assert run.status - 128 in (numbers[1:] if "under" in options else numbers), run
    done = 3 if jobs == 4 else 2
    assert b"TOTAL" not in run.out, run
    assert run.err.decode() == f"kelvarune-play: stopped: {done} of 4 entries of m/d1 done, all saved\n"
    assert os.listdir(case.path("work")) == []
    case.pos_is(*[po(f"T{i}", PROVED if i < 2 or (i, jobs) == (3, 4) else OPEN)
                  for i in range(4)])


@pytest.mark.rounds(6)
def test_at_any_moment(case, rng):
    number = rng.choice(SIGNALS)
    case.answers({"*": "Proved"})
    case.mechanism(case.driver("d1"), case.driver("d2"), trust="redundancy")
    case.pos(*[po(f"T{i}", goal()) for i in range(30)])
    directory = rng.choice([["-d", "work"], []])
    process = case.start("-m", "m.xml", *FILES[:4], *directory, "-c", rng.choice("14"),
                         env={"TMPDIR": "work"})
    time.sleep(rng.uniform(0.01, 0.3) * SLOWNESS)
    process.send_signal(number)
    run = case.finish(process)
    # Early enough it meets the default action, late enough a run that has completed.
    assert run.status in (0, 128 + number, -number), run
    document = parsed(case.path("comp.pos").read_bytes())
    assert len(list(document.iter("Simple_Goal"))) == 30
    assert len(document.findall(".//Driver[@status='Proved']")) >= run.out.count(b"+"), run
    assert os.listdir(case.path("work")) == []
