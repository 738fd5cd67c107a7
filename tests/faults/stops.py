#!/usr/bin/env python3
"""Ends the program at random moments, softly and hard, and looks at what is left.

SIGTERM: status 1 within two seconds, every verdict that was recorded is in the POS file, which is
complete; no secondary or temporary file, no tool and nothing that a tool started is left. SIGKILL,
and the keys and the hang-up of a terminal: the POS file is complete, nothing runs on, and the next
run tidies up.
"""

import fcntl
import os
import pty
import re
import signal
import time

from campaign import (OPEN, QUICK_PROVER, QUICK_READER, SLOWNESS, STOP_LIMIT_S, WRITER, Campaign,
                      disk_settings, has_faulty_disk, po)

GOALS = 20
RECORDED = re.compile(rb"updating proof status of proof obligation (\d+),0 to Proved")

# Tools of several builds: each row replaces some of the quick ones.
SHAPES = {
    "quick": {},
    "slow": {"writer": "sleep 0.01\n" + WRITER, "prover": "sleep 0.02\n" + QUICK_PROVER,
             "reader": QUICK_READER + "sleep 0.01\n"},
    # A wrapper moves what it runs to a process group of its own.
    "wrapper": {"prover": "timeout 300 sleep 0.02; timeout 300 cat\n",
                "writer": 'timeout 300 "$0.inner" "$@"\n', "writer.inner": WRITER},
    # Each entry leaves something behind that sleeps on, in the background of an ended tool; with
    # a wrapper even in a process group of its own.
    "orphans": {"prover": "sleep 300 </dev/null >/dev/null 2>&1 &\nexec cat\n"},
    "orphan groups": {"prover": "timeout 300 sleep 300 </dev/null >/dev/null 2>&1 &\nexec cat\n"},
    # What is left behind starts something else only after its tool has ended.
    "late orphans": {"prover": "(sleep 0.05; sleep 300; :) </dev/null >/dev/null 2>&1 &\n"
                               "exec cat\n"},
    # Nobody but the program ends this one; it ignores everything that can be ignored.
    "stubborn": {"prover": "trap '' TERM INT HUP QUIT\n(trap '' TERM; sleep 300) &\ncat\nwait\n"},
}


def duration(scratch, shape, jobs, known={}):
    """How long an undisturbed run takes, 0.5 s at most: where stops should fall."""
    if (shape, jobs) in known:
        return known[shape, jobs]
    process = scratch.start(*scratch.argv("-c", jobs))
    began = time.monotonic()
    try:
        process.wait(0.5)
    except Exception:  # It goes on for ever, or nearly.
        pass
    process.kill()
    process.wait()
    while scratch.running():
        scratch.kill_all()
    for name in os.listdir(scratch.path("work")):
        scratch.path(f"work/{name}").unlink()
    scratch.reset(GOALS)
    known[shape, jobs] = time.monotonic() - began
    return known[shape, jobs]


def assert_nothing_lost(scratch, run, shown):
    """Every verdict that was shown, and every one that the trace tells, is in the file."""
    states = scratch.states()
    scratch.assertEqual(GOALS, len(states))
    scratch.assertEqual([], [i for i in RECORDED.findall(run.err) if not states[int(i)]], run)
    scratch.assertGreaterEqual(states.count(True), shown.count(b"+"), run)


def soft(scratch, campaign, jobs, delay, slow_disk=False):
    process = scratch.start(*scratch.argv("-c", jobs, "-t", 1),
                            env=disk_settings(FAULT_SLOW_MS="30") if slow_disk else None)
    time.sleep(delay)
    running = process.poll() is None
    process.send_signal(signal.SIGTERM)
    began = time.monotonic()
    run = scratch.end(process, STOP_LIMIT_S)
    campaign.note("SIGTERM" + ", slow disk" * slow_disk, "at work", running)
    campaign.slowest = max(campaign.slowest, time.monotonic() - began)
    ended_before = run.status == 0 and b"TOTAL" in run.out
    not_yet_begun = run.status == -signal.SIGTERM and not run.out and not run.err
    scratch.assertTrue(run.status == 1 or ended_before or not_yet_begun, run)
    assert_nothing_lost(scratch, run, run.out)
    scratch.assert_tidy(run)


def at_first_writers(scratch, after):
    """The signal comes while all workers start their first writers, the worst time to count."""
    scratch.component(3 * GOALS)
    process = scratch.start(*scratch.argv("-c", 3 * GOALS))
    while process.poll() is None and b"still" not in scratch.path("stdout").read_bytes():
        pass
    time.sleep(after)
    process.send_signal(signal.SIGTERM)
    run = scratch.end(process, STOP_LIMIT_S)
    scratch.assertEqual(1, run.status, run)
    time.sleep(0.02)
    scratch.assert_tidy(run)


def hard(scratch, campaign, jobs, delay):
    process = scratch.start(*scratch.argv("-c", jobs, "-t", 1))
    time.sleep(delay)
    process.kill()
    run = scratch.end(process)
    states = scratch.states()
    scratch.assertEqual(GOALS, len(states))
    # Marks are shown before they are saved; only those of entries in flight may be missing.
    unsaved = max(run.out.count(b"+") - states.count(True), 0)
    campaign.note("SIGKILL", "verdicts in flight", unsaved)
    scratch.assertLessEqual(unsaved, jobs, run)
    if scratch.temporaries() and not all(states):
        scratch.script("prover", QUICK_PROVER)
        scratch.play()
        scratch.assertEqual([], scratch.temporaries(), "still there after the next run")
        campaign.note("SIGKILL", "temporary files left and removed by the next run")


def terminal(scratch, _campaign, jobs, delay, key):
    """The program runs in the foreground of a terminal; a key is pressed or the line hangs up."""
    controller, terminal_end = pty.openpty()
    name = os.ttyname(terminal_end)

    def lead_session():
        os.setsid()
        os.close(os.open(name, os.O_RDWR))

    process = scratch.start(*scratch.argv("-c", jobs), preexec_fn=lead_session)
    os.close(terminal_end)
    time.sleep(delay)
    if key:
        os.write(controller, key)
    else:
        os.close(controller)
    run = scratch.end(process)
    if key:
        os.close(controller)
    scratch.assertIn(run.status, (0, -signal.SIGINT, -signal.SIGQUIT, -signal.SIGHUP), run)
    scratch.states()


def unread(scratch, jobs):
    """Who started the program no longer reads what it prints, and asks it to stop."""
    scratch.component(GOALS)
    # The program waits for a free page of the pipe; there are four.
    scratch.pos(*[po(f"T{i}" + "-" * 900, OPEN) for i in range(GOALS)])
    reading, writing = os.pipe()
    fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4 * 4096)
    process = scratch.start(*scratch.argv("-c", jobs), stdout=writing)
    os.close(writing)
    time.sleep(0.6 * SLOWNESS)
    scratch.assertIsNone(process.poll(), "it did not wait for its reader")
    process.send_signal(signal.SIGTERM)
    try:
        run = scratch.end(process, STOP_LIMIT_S)
        shown = os.read(reading, 4 * 4096)
    finally:
        os.close(reading)
    scratch.assertEqual(1, run.status, run)
    scratch.assertIn(b"+", shown)
    assert_nothing_lost(scratch, run, shown)
    scratch.assert_tidy(run)


def main():
    campaign = Campaign(__doc__, rounds=60)
    campaign.slowest = 0.0
    rounds = {"SIGTERM": (soft,), "SIGTERM, slow disk": (soft, True), "SIGKILL": (hard,),
              "Ctrl-C": (terminal, b"\x03"), "Ctrl-backslash": (terminal, b"\x1c"),
              "hang-up": (terminal, b"")}

    for name, (action, *more) in rounds.items():
        count = campaign.rounds // (6 if action is terminal else 3 if more else 1)
        if name == "SIGTERM, slow disk" and not has_faulty_disk():
            continue
        for number in range(count):
            shape = list(SHAPES)[number % len(SHAPES)]
            jobs = campaign.jobs[number // len(SHAPES) % len(campaign.jobs)]

            def play(scratch):
                scratch.component(GOALS, SHAPES[shape])
                last = duration(scratch, shape, jobs)
                delay = campaign.random.uniform(0, 1.05 * last)
                action(scratch, campaign, jobs, delay, *more)

            campaign.round(name, f"round {number}, {shape} tools, {jobs} jobs", play)

    for number in range(campaign.rounds):
        campaign.round("SIGTERM, first writers", f"round {number}", at_first_writers,
                       campaign.random.uniform(0, 0.03))
    for jobs in campaign.jobs:
        campaign.round("SIGTERM, output not read", f"{jobs} jobs", unread, jobs)
    if campaign.wants("SIGTERM"):
        print(f"slowest end after a SIGTERM: {campaign.slowest:.2f} s")
    campaign.exit()



if __name__ == "__main__":
    main()
