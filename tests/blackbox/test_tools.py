"""Tools that fail or misbehave, and many at once. Nothing that a tool does stops a replay, costs
another goal its verdict, makes the program wait for ever, or lets its memory grow."""

import pytest

from conftest import (CRASH, ONE_PROOF, PROVER, SLOWNESS, UNSTARTABLE, WRITER, candidate, concluded,
                      param, po, replayed, report, rows)

# Whatever the program does, it gets along with this; sanitizers need several times the memory.
BOUNDED = ("prlimit", "--data=270000000") if SLOWNESS == 1 else ()

QUICK_READER = "while read -r l; do echo Proved; done\n"
LOUD = "yes 0123456789 | head -c {}000000"
ROLES = ("writer", "prover", "reader")
SAY = "cat >/dev/null; echo Proved\n"
FAILED = "Driver {} crashed.\n"
WRITER_ERR = "-- ProofDirector -- Writer crashed.\n"
NOT_FOUND = "-- ProofDirector -- Secondary po work/comp_m_d1_1_0.po2 not found.\n"
COUNT = "Unexpected number of results. Expected: 1 Found: {}\n"

# What the tools do for the second of three goals, its mark (empty: none; None: any), and what
# stands on standard error. $7 is the writer's file; the others have it as $1.
MISBEHAVIOUR = {
    "writer crashes": ({"writer": CRASH}, "-", WRITER_ERR),
    "writer writes no file": ({"writer": "exit"}, "-", NOT_FOUND),
    "file is a FIFO": ({"writer": 'mkfifo "$7"; exit'}, "-", ""),
    "64 MB on standard error": (dict.fromkeys(ROLES, LOUD.format(64) + " >&2"), "+", ""),
    "prover crashes": ({"prover": CRASH}, "", FAILED.format("prover")),
    "prover crashes, reader never ends": ({"prover": CRASH, "reader": "exec sleep 1000"}, "",
                                          FAILED.format("prover")),
    "prover writes without end": ({"prover": "exec yes", "reader": "echo Proved; exit"}, "",
                                  FAILED.format("prover")),
    "both repeat 50 MB": ({"prover": LOUD.format(50) + "; exit", "reader": "exec cat\n"}, "",
                          COUNT.format(4545455)),
    "reader crashes": ({"reader": SAY + CRASH}, "", FAILED.format("reader")),
    "reader exits at once": ({"prover": LOUD.format(5) + "; exit", "reader": "exit"}, "-", ""),
    "reader writes before it reads": ({"prover": LOUD.format(3) + "; exit",
                                       "reader": f"yes '' | head -c 3000000; {SAY} exit"}, "+", ""),
    "reader writes 300 MB": ({"reader": "head -c 300000000 /dev/zero; exit"}, "-", ""),
    "a child keeps the chain": ({"prover": "sleep 300 & cat; exit"}, "+", ""),
    "a child fills the chain": ({"prover": "yes & exit", "reader": SAY + "exit"}, "+", ""),
    "a child keeps the results": ({"reader": "setsid sleep 300 & echo Proved; exit"}, "+", ""),
    "a child fills the results": ({"reader": "yes & exit"}, None, None),
}


@rows("tools, mark, err", MISBEHAVIOUR)
def test_misbehaviour_costs_its_own_goal_at_most(case, tools, mark, err):
    for role, body in {"writer": WRITER, "prover": "cat\n", "reader": QUICK_READER}.items():
        hostile = f'case "$*" in *_d1_1_0.po2*)\n{tools[role]}\n;; esac\n' if role in tools else ""
        case.script(role, hostile + body)
    file = param(value="${file}")
    case.mechanism(case.driver(prover=case.tool("prover", None, file),
                               reader=case.tool("reader", None, file)), trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(3)])
    run = case.replay("-c", "1", err=err, under=BOUNDED, orphans=True)
    if mark is None:
        mark = "+" if b"T1\n\t\t\t+" in run.out else "-" if b"T1\n\t\t\t-" in run.out else ""
    proved = 2 + (mark == "+")
    assert run.out.decode() == replayed(("d1", 3, [("T0", "+"), ("T1", mark), ("T2", "+")]),
                                        proved=proved, externally=proved, unproved=3 - proved)
    case.pos_is(*[po(f"T{i}", concluded() if i != 1 or mark == "+" else candidate())
                  for i in range(3)])


@rows("role, prover, mark, err", {
    "writer": ("writer", PROVER, "-", "-- ProofDirector -- Writer had an error.\n"),
    "prover": ("prover", UNSTARTABLE, "-", ""),
    "reader": ("reader", "", "-", ""),
    "reader of an endless prover": ("reader", "exec yes", "", FAILED.format("prover")),
})
def test_tools_that_cannot_be_started(case, role, prover, mark, err):
    case.script("prover", prover)
    case.script(role, UNSTARTABLE)
    case.mechanism()
    case.pos(po("T0", candidate()))
    case.replay(out=replayed(("d1", 1, [("T0", mark)] if mark else []), unproved=1), err=err)


def test_tools_get_the_environment_and_the_working_directory(case):
    look = 'echo "$PROBE|${EMPTY-unset}|$LD_BIND_NOW|$(pwd)" >"$0.seen"\n'
    for role, body in {"writer": WRITER, "prover": PROVER, "reader": QUICK_READER}.items():
        case.script(role, look + body)
    case.mechanism(trust="always")
    case.pos(po("T0", candidate()))
    case.replay(out=ONE_PROOF, env={"PROBE": "a b\tc", "EMPTY": "", "LD_BIND_NOW": "1"})
    for role in ROLES:
        assert case.path(f"tools/{role}.seen").read_text() == f"a b\tc||1|{case.root}\n"


# --- Many at once ---------------------------------------------------------------------------------


@pytest.mark.parametrize("jobs", [1, 8, 64])
def test_many_entries_lose_no_goal_and_no_descriptor(case, jobs):
    """Some tools go wrong. A dozen descriptors do for the program, a dozen for each job's entry."""
    bound = ("prlimit", f"--nofile={12 + 12 * jobs}") if SLOWNESS == 1 else ()
    case.script("writer", 'case $2 in *6) exit ;; *7) kill -SEGV $$ ;; esac\n' + WRITER)
    case.script("prover", 'read -r i j || exit\ncase $i in *8) kill -SEGV $$ ;; '
                          '1) sleep 300 >/dev/null & ;; *9) exec >&- ;; esac\necho $i $j\n')
    case.script("reader", 'read -r i j || exit\n[ $j = 2 ] && kill -SEGV $$\necho Proved\n')
    case.script("broken", UNSTARTABLE)
    case.mechanism(case.driver("broken", writer="broken", prover="broken", reader="broken"),
                   case.driver(), trust="always")
    case.pos(*[po(f"T{i}", *[candidate("broken", "d1")] * 4) for i in range(40)])
    run = case.replay("-c", jobs, under=bound, err=None, orphans=True)
    good = 24 * 3  # Four of ten obligations have a bad tool, and each has a goal with a bad reader.
    assert run.out.count(b"+") == case.proved() == good
    assert run.out.decode().endswith(report(proved=good, externally=good, unproved=160 - good))
