"""What is recorded beside a status file, however a run ends, and that it never costs a proof."""

import contextlib
import hashlib
import json
import os
import platform
import sqlite3
import sys
import time

import pytest
from conftest import BIN, SLOWNESS, candidate, driver_pass, goal, param, po, replayed, rows

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
    assert comp.calls("prover").count(["--version"]) == len(files)


PROOFS = replayed(("d1", GOALS, [(f"T{i}", "+") for i in range(GOALS)]), proved=GOALS,
                  externally=GOALS)
LOST = "; not all of this run is in the history\n"


def sqlite(case, path, *statements):
    with contextlib.closing(sqlite3.connect(case.path(path))) as database:
        for statement in statements:
            database.execute(statement)


@rows("prepare, fault", {
    "newer": (lambda case: sqlite(case, "comp.history", "PRAGMA application_id = 0x6b656c76",
                                  "PRAGMA user_version = 3"),
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


# --- The versions of provers ----------------------------------------------------------------------

PLAY = ("-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog", "--retry")
ASKED = '[ "$1" = --version ] && {{ {}; }}\nexec cat\n'
CHANGED = "kelvarune-play: prover has changed since the last run: {} before, {} now\n"
DIGESTS = "SHA-256 {0[0]:.12}", "SHA-256 {0[1]:.12}"
WRAPPED = f"--time 9 {BIN}/kelvarune-cache --stdin --directory c -- tools/prover"


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


@rows("answer, told, params", {
    "number": ("echo Z3 version 4.{} - 64 bit; exit", ("4.1", "4.2"), None),
    "more lines": ("echo; echo E 2.{}-DEBUG by; echo 3.1; exit", ("2.1-DEBUG", "2.2-DEBUG"), None),
    "same number": ("echo x 1.5 {}; exit", ("x 1.5 1", "x 1.5 2"), None),
    "behind wrappers": ("echo v2.{}; exit", ("2.1", "2.2"), WRAPPED),
    "status": ("echo version 2.{}; exit 1", DIGESTS, None),
    "verdict": ("echo unsat in 0.{} s; exit", DIGESTS, None),
    "crash": ("echo 2.{}; kill -SEGV $$", DIGESTS, None),
    "no end": ("echo version {}; sleep 100 & exec sleep 100", DIGESTS, None),
    "no end of text": ("exec yes 2.{}", DIGESTS, None)})
def test_a_prover_that_has_changed_is_named(case, answer, told, params):
    case.mechanism(case.driver(prover=case.tool(
        "prover", None, *[param(value=word) for word in (params or "").split()], name="p",
        path=f"{BIN}/kelvarune-limit" if params else f"{case.root}/tools/prover")))
    case.pos(po("T0", goal()))
    digests = []
    for number in (1, 2):
        digests.append(digest(case.script("prover", ASKED.format(answer.format(number)))))
        changed = CHANGED.format(*[text.format(digests) for text in told]) if number == 2 else ""
        case.run(*PLAY, out=None, err=changed)
        case.run(*PLAY, out=None)  # and is then known
    noted = asked(case, "SELECT run, name, digest FROM provers")
    assert noted == [(run + 1, "prover", digests[run // 2] if told is DIGESTS else None)
                     for run in range(4)]


def test_a_program_that_stays_is_asked_once(case):
    # Of what is no script, and of a script that tells no version.
    program = case.tool("prover", None, param(value="-c"), param(value="print(input())"),
                        path=sys.executable, name="p", input="stdin")
    case.mechanism(case.driver(prover=program), case.driver("d2"))
    case.pos(po("T0", goal()))
    for count in (1, 0):
        run = case.run(*PLAY, out=None, under=("strace", "-f", "-o", "calls", "-etrace=execve"))
        assert case.path("calls").read_text().count(
            f'["{sys.executable}", "--version"]') == count, run
    assert case.calls("prover").count(["--version"]) == 1
    noted = asked(case, "SELECT version, digest, count(*) FROM provers GROUP BY path ORDER BY version")
    assert noted == [(None, digest(case.path("tools/prover")), 2),
                     (f"Python {platform.python_version()}", None, 2)]


def test_a_stop_waits_for_no_version(case):
    case.script("prover", ASKED.format(': >asked; sleep 100 & exec sleep 100'))
    case.mechanism()
    case.pos(po("T0", goal()))
    run = case.start(*PLAY)
    case.wait_for(case.path("asked").exists)
    start = time.monotonic()
    run.terminate()
    assert case.finish(run).status == 143 and time.monotonic() < start + 1.5 * SLOWNESS


def test_a_history_of_the_first_version_is_read_and_extended(comp):
    def provers():
        said = comp.run("history", "--json", "comp.pos", program="kelvarune-pos", out=None).out
        return [len(run["provers"]) for run in json.loads(said)["runs"]]
    comp.answers({})
    for _ in range(2):
        comp.run(*PLAY, out=None)
    sqlite(comp, "comp.history", "DROP TABLE provers", "PRAGMA user_version = 1")
    assert provers() == [0, 0]
    comp.run("prune", "comp.pos", "--keep", 1, program="kelvarune-pos", out=None)
    comp.run(*PLAY, out=None)
    assert provers() == [0, 1] and asked(comp, "PRAGMA user_version") == [(2,)]
