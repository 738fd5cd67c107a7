"""What went wrong with the tools: grouped at the end of a run, told for a goal by --explain and in
the files of --log, with commands that repeat it."""

import os
import re
import subprocess

import pytest
from conftest import FILES, RECORD, REPLAY, UNSTARTABLE, goal, po, rows

PROGRAM = "kelvarune-play"

OPTION = "cvc5: unknown option --tlimt"
SAYS = f"echo reading >&2; echo '{OPTION}' >&2; echo >&2; exit 1"


@pytest.fixture
def faulty(case):
    """Runs four goals of two drivers; the second's tool of this role has this body."""
    def run(role, body, *args, **options):
        case.script("faulty", body)
        case.mechanism(case.driver("d1"), case.driver("d2", **{role: "faulty"}))
        case.pos(po("T0", goal(), goal()), po("T1", goal(), goal()))
        return case.run("-m", "m.xml", *FILES, *args, **options)
    return run


CAUSES = {
    "wrong option": ("prover", SAYS, 3, f"prover exited with status 1: '{OPTION}'"),
    # A reader that answers all the same: many provers end so.
    "says why": ("prover", f"cat; {SAYS}", 0, f"prover exited with status 1: '{OPTION}'"),
    "error after much": ("prover", "cat; seq 9999 >&2; echo '(Error \"x\")' >&2; echo e >&2; exit 2",
                         0, "prover exited with status 2: '(Error \"x\")'"),
    "error among results": ("prover", 'cat >/dev/null; echo "9 9 (error x)"; exit 1', 0,
                            "prover exited with status 1: '9 9 (error x)'"),
    "file of each goal": ("prover", 'echo "line $PPID: cannot lock /tmp/$$" >&2; cat; exit 1', 0,
                          "prover exited with status 1: 'line N: cannot lock /tmp/N'"),
    "no program": ("prover", UNSTARTABLE, 3,
                   "prover could not be started: No such file or directory"),
    "killed": ("prover", "kill -9 $$", 3, "prover was ended by signal 9 (SIGKILL)"),
    "no verdict": ("reader", "cat >/dev/null; echo Proven", 3,
                   "reader printed 'Proven', which is no verdict"),
    "nothing": ("reader", "cat >/dev/null", 3, "reader printed nothing"),
    "status 3": ("reader", "cat >/dev/null; echo Unknown; exit 3", 0, "reader exited with status 3"),
    "too many": ("reader", "cat >/dev/null; echo Unknown; echo Proved", 3,
                 "reader printed 2 lines for 1 goal"),
    "no reader": ("reader", UNSTARTABLE, 3,
                  "reader could not be started: No such file or directory"),
    "says why in a file": ("writer", "echo cannot parse POG at line 3 >&2; exit 1", 3,
                           "writer exited with status 1 and made no file: "
                           "'cannot parse POG at line 3'"),
    "dies": ("writer", "kill $$", 3, "writer was ended by signal 15 (SIGTERM)"),
    "no file": ("writer", "exit", 3, "writer made no file")}


@rows("role, body, status, cause", CAUSES)
def test_causes(case, faulty, role, body, status, cause):
    run = faulty(role, body, "-c", "2", "--log", "log", status=status, err=None)
    assert (re.sub("[0-9]+: cannot lock /tmp/[0-9]+", "N: cannot lock /tmp/N", run.err.decode())
            == f"kelvarune-play: m/d2: 4 of 4 entries: {cause}\n")
    assert len(list(case.path("log").glob("m_d2_T?.?.txt"))) == 4
    assert os.listdir(case.path("work")) == []
    run = faulty(role, body, "--goal", "T1.2", "--explain", status=None, err=None)
    verdict = "no verdict of m/d2: " if run.status else "Unknown: m/d2 in 0."
    assert f"T1.2: {verdict}" in run.out.decode(), run
    # More lines are the model of a goal that is played alone.
    assert cause.split(" '")[0] in run.out.decode() or "2 lines" in cause, run


def test_what_is_not_told(case):
    """Causes that do not matter, and more of a kind than anybody reads."""
    case.script("odd", "cat; exit 1")
    case.script("talks", 'read -r i j; echo $i $j; echo $i $j | tr 0-9 a-j >&2; exit 1')
    case.answers({"d1.0.*": "Proved"})
    case.mechanism(case.driver("d1", prover="odd"), case.driver("d2", prover="talks"))
    case.pos(*[po(f"T{i}", goal(), goal()) for i in range(4)])
    failed = "of 6 entries: prover exited with status 1"
    case.replay(err="".join(f"kelvarune-play: {line}\n" for line in [
        "m/d1: 6 of 8 entries: prover exited with status 1",
        *[f"m/d2: 1 {failed}: '{goal_said}'" for goal_said in ("b a", "b b", "c a")],
        f"m/d2: 3 {failed}: something else"]))


@rows("options", {"stdin": {}, "file": {"stdin": False}})
def test_pasted_commands_repeat_it(case, options):
    """What --explain prints of every tool, on names that a shell would take apart."""
    case.script("wr iter's", 'exec "${0%wr*}writer" "$@"')
    case.script("prover", '[ $# -eq 0 ] || exec <"$1"\ncat; seq 9000; echo no licence >&2; exit 3')
    case.script("reader", "wc -c")
    case.mechanism(case.driver("d $1", writer="wr iter's", **options))
    case.pos(po("T&", goal()))
    run = case.run("-m", "m.xml", *FILES, "--goal", "T&.1", "--explain", status=3, err=None)
    text = run.out.decode()
    for part in ("T&.1: no verdict of m/d $1: prover exited with status 3: 'no licence', and "
                 "reader printed no verdict\n", "its standard error (11 bytes):\n    no licence\n",
                 "the reader's input (43,897 bytes):\n    0 0\n    1\n", "    9000\n",
                 "[35,705 bytes are left out here]", "the reader's output (6 bytes):\n    43897\n",
                 "  writer: exited with status 0; 0."):
        assert part in text, run
    place = run.err.decode().splitlines()[-1].partition(" kept in ")[2]
    assert place.startswith("work/") and len(os.listdir(case.path(place))) == 1
    writer, chain = text.partition(f"to repeat it in {case.root}:\n")[2].splitlines()[:2]
    for file in case.path(place).iterdir():
        file.unlink()
    run = subprocess.run(["sh", "-c", f"{writer}; {chain}"], cwd=case.root, capture_output=True,
                         stdin=subprocess.DEVNULL, text=True)
    assert (run.stdout, run.stderr) == ("43897\n", "no licence\n")


def test_logs_of_what_is_not_proved(case):
    case.answers({"*.0.1": "Proved", "*.1.*": "Proved"})
    case.mechanism(case.driver("a", group="related"), case.driver("b "))
    case.pos(po("T/0", goal(), goal()), po("T_0", goal(), goal()), po("T 0", goal()))
    case.replay("--log", "logs/today")
    names = sorted(path.name for path in case.path("logs/today").glob("*.txt"))
    assert names == ["m_a_T_0.1.txt", "m_a_T_0.1_again2.txt", "m_b__T_0.1.txt",
                     "m_b__T_0.1_again2.txt"]
    text = case.path("logs/today/m_a_T_0.1.txt").read_text()
    assert text.startswith("T/0.1: Unknown: m/a in 0.") and "\nT/0.2: Proved by m/a in" in text


@pytest.mark.parametrize("stdin", [False, True])
def test_cache(case, stdin):
    """A definite answer is not asked for again, whatever the limits and names of files; others are."""
    case.script("prover", RECORD + '[ $# -eq 0 ] || exec <"$1"\nread -r i j\n'
                'case $j in 0) echo unsat ;; 1) echo "% SZS status Theorem for $1" ;; *) echo unknown ;; esac')
    case.script("reader", "case $(cat) in unsat | *Theorem*) echo Proved ;; *) echo Unknown ;; esac")
    case.mechanism(case.driver(stdin=stdin), trust="always")
    asked = []
    for args in ([], [], ["--time-limit", "15"], ["--time-limit", "14", "--memory-limit", "1G"]):
        case.pos(po("T0", goal(), goal(), goal()))
        case.run(*REPLAY, *args, "--cache", "new/cache", out=None)
        assert case.proved() == 2
        calls = [call for call in case.calls("prover") if call != ["--version"]]
        asked.append(len(calls) - sum(asked))
    assert asked == [3, 1, 1, 1]
