"""What is recorded beside a status file, however a run ends, and that it never costs a proof."""

import contextlib
import os
import sqlite3
import time

import pytest
from conftest import candidate, driver_pass, goal, po, replayed, rows

PROGRAM = "kelvarune-play"
GOALS = 30


@pytest.fixture
def comp(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", goal()) for i in range(GOALS)])
    return case


def asked(case, question, path="comp.history"):
    with contextlib.closing(sqlite3.connect(case.path(path))) as database:
        return database.execute(question).fetchall()


def test_an_entry_is_recorded_with_all_that_is_known(comp):
    comp.script("prover", 'read -r i j; echo $i $j; echo why >&2; case $i in 0) exec sleep 0.3;; '
                          '1) exit 4;; 2) kill -SEGV $$;;\n'
                          '5) echo "kelvarune-limit: memory limit of 2G reached" >&2; exit 123;; esac\n')
    comp.answers({"d1.3.0": "Unknown", "*": "Proved"})
    comp.mechanism(comp.driver(prover=comp.tool("prover", timeout="2000")), trust="always")
    comp.run("-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog", "-c", 2, status=3, err=None)
    assert asked(comp, """
      SELECT tag, verdict, loss, prover_end, prover_number, output, errors, time_limit FROM entries
      JOIN verdicts ON entry = entries.id JOIN goals ON goals.id = goal
      WHERE tag IN ('T0', 'T1', 'T2', 'T3', 'T5') ORDER BY tag""") == [
        ("T0", "Proved", None, "normal", 0, None, None, 2.0),
        ("T1", "Proved", None, "status", 4, None, None, 2.0),
        ("T2", None, "crash", "signal", 11, "2 0", "why", 2.0),
        ("T3", "Unknown", None, "normal", 0, "3 0", "why", 2.0),
        ("T5", "Proved", None, "memory limit", 123, None, None, 2.0)]
    assert asked(comp, """
      SELECT jobs, runs.status, ended > runs.started, trust, length(digest), count(*),
      min(wall >= prover_wall), max(prover_wall) BETWEEN 0.3 AND 10, min(cpu >= prover_cpu),
      min(prover_peak > 100000), min(writer_end = 'normal' AND reader_end IN ('normal', 'abandoned'))
      FROM runs JOIN mechanisms ON mechanisms.run = runs.id JOIN entries ON entries.run = runs.id""") == [
        (2, 3, 1, "always", 64, GOALS, 1, 1, 1, 1, 1)]
    assert not [name for name in os.listdir(comp.root) if name.startswith("comp.history-")]


@rows("options, files", {
    "named": ("--history h", ["h"]), "not": ("--no-history", []), "dry": ("--dry-run", []),
    "one goal": ("--goal T0.1", []), "one goal, kept": ("--goal T0.1 --record", ["comp.history"]),
    "a part": ("--shard 1/2", ["comp.history"]), "replay": ("--replay", ["comp.history"])})
def test_what_is_recorded_where(comp, options, files):
    comp.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])
    comp.run("-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog", *options.split(), out=None, err=None)
    assert [name for name in ("h", "comp.history") if comp.path(name).exists()] == files


PROOFS = replayed(("d1", GOALS, [(f"T{i}", "+") for i in range(GOALS)]), proved=GOALS,
                  externally=GOALS)
LOST = "; not all of this run is in the history\n"


def sqlite(case, path, *statements):
    with contextlib.closing(sqlite3.connect(case.path(path))) as database:
        for statement in statements:
            database.execute(statement)


@rows("prepare, fault", {
    "newer": (lambda case: sqlite(case, "comp.history", "PRAGMA application_id = 0x6b656c76",
                                  "PRAGMA user_version = 2"),
              "was made by a newer version, which this one leaves alone"),
    "of somebody else": (lambda case: sqlite(case, "comp.history", "CREATE TABLE t (x)"),
                         "is no history"),
    "no database": (lambda case: case.write("comp.history", "old times\n" * 99), "is no history")})
def test_what_is_no_history_of_ours_is_left_alone(comp, prepare, fault):
    prepare(comp)
    before = comp.path("comp.history").read_bytes()
    comp.replay(out=PROOFS, err=f"kelvarune-play: comp.history: {fault}{LOST}")
    assert comp.path("comp.history").read_bytes() == before


@rows("under, fault", {
    "full": ("--inject=pwrite64:error=ENOSPC", "database or disk is full"),
    "broken": ("--inject=pwrite64:error=EIO", "disk I/O error"),
    "full later": ("--inject=pwrite64:error=ENOSPC:when=40+", "database or disk is full")})
def test_a_disk_without_room_costs_the_history_only(comp, under, fault):
    comp.script("prover", "sleep 0.1; exec cat\n")
    comp.replay(under=("strace", "-f", "-o", "calls", "-etrace=pwrite64", under), out=PROOFS,
                err=f"kelvarune-play: comp.history: {fault}{LOST}")
    assert comp.proved() == GOALS


@pytest.mark.rounds(3)
def test_several_runs_write_at_once_and_a_killed_one_leaves_it_readable(comp, rng):
    comp.script("prover", "sleep 0.05; exec cat\n")
    runs = []
    for i in range(3):
        path = comp.path(f"c{i}.pos")
        path.write_bytes(comp.path("comp.pos").read_bytes())
        runs.append(comp.start("-m", "m.xml", "-s", path, "-p", "comp.pog", "--history", "h"))
    time.sleep(rng.random() * 3)
    runs[0].kill()
    assert [run.wait(60) for run in runs] in ([-9, 0, 0], [0, 0, 0])
    assert asked(comp, "PRAGMA integrity_check", "h") == [("ok",)]
    comp.run("-m", "m.xml", "-s", "c0.pos", "-p", "comp.pog", "--history", "h", out=None)
    whole = asked(comp, "SELECT (SELECT count(*) FROM entries WHERE run = runs.id) FROM runs "
                        "WHERE ended ORDER BY id", "h")
    assert whole[-3:-1] == [(GOALS,)] * 2 and len(whole) >= 3


def test_a_run_that_is_stopped_has_an_end(comp):
    comp.script("prover", "read -r i j; [ $i = 5 ] && exec sleep 100; echo $i $j\n")
    run = comp.start("-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog")
    comp.wait_for(lambda: comp.proved() == 5)
    run.terminate()
    assert run.wait(20) == 143
    assert asked(comp, "SELECT status, count(entries.id) FROM runs JOIN entries ON run = runs.id") == [
        (143, 5)]
