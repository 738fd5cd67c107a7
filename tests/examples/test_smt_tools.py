"""The tools of examples/smt alone, without provers: what smt-writer refuses, how it keeps goals
apart, and that smt-reader gives one honest verdict per goal whatever a prover prints."""

import pathlib
import re

import pytest
from conftest import rows

SMT = pathlib.Path(__file__).parents[2] / "examples/smt"

POG = """<pog component="c" logic="QF_LIA">
<declarations>(declare-const x Int)</declarations>
<obligation tag="A"><hypotheses>(> x 2) (> x 3)</hypotheses>
  <goal><conclusion>(= x 1) ; not a ) here</conclusion></goal>
  <goal><declarations>(declare-const |a ) b| Bool)</declarations>
        <conclusion>(or |a ) b| (= "a"") ;" "x"))</conclusion></goal>
</obligation>
<obligation tag="B"><goal><conclusion>false</conclusion></goal></obligation>
</pog>"""


@pytest.fixture
def tool(case):
    """Runs a tool; its standard output, or its one line where it must fail."""
    def run(name, *args, stdin="", fails=False):
        with open(case.write("stdin", stdin.encode("latin-1")), "rb") as file:
            run = case.run(*args, program=SMT / name, stdin=file, status=int(fails),
                           err=None if fails else "")
        assert not fails or (run.out == b"" and not case.path("out").exists()
                             and re.fullmatch(name + ": .*\n", run.err.decode()))
        return (run.err if fails else run.out).decode()
    case.write("c.pog", POG)
    return run


@pytest.fixture
def write(case, tool):
    """Runs smt-writer; the lines of its file, or its one line where it must fail."""
    def write(*args, fails=False):
        out = tool("smt-writer", *args, "-i", "c.pog", "-o", "out", fails=fails)
        return out or list(filter(None, case.path("out").read_text().splitlines()))
    return write


def test_one_goal(write):
    assert write("-a", "0", "0") == [
        ";; smt-writer goals 1 model no", ";; goal 0 0 A.1", "(set-logic QF_LIA)",
        '(echo "goal 0 0")', "(declare-const x Int)", "(assert (> x 2))", "(assert (> x 3))",
        "(assert (not (= x 1)))", "(check-sat)", '(echo "end 0 0")']
    # Quotes hide parentheses.
    quoted = ["(declare-const |a ) b| Bool)", '(assert (not (or |a ) b| (= "a"") ;" "x"))))']
    assert set(quoted) < set(write("-a", "0", "1"))
    model = write("-a", "1", "0", "-m")
    assert model[2:4] == ["(set-option :produce-models true)", "(set-logic QF_LIA)"]
    assert model[-3:] == ['(echo "model 1 0")', "(get-model)", '(echo "end-model 1 0")']


def test_several_goals_are_kept_apart(write):
    goals = ("-a", "1", "0", "-a", "0", "0")
    reset = write(*goals, "--option", ":random-seed 3", "--logic=ALL")
    setup = ["(set-option :random-seed 3)", "(set-logic ALL)"]
    names = [";; goal 1 0 B.1", ";; goal 0 0 A.1"]
    assert reset[:5] == [";; smt-writer goals 2 model no", *names, *setup]
    starts = [at for at, line in enumerate(reset) if line == "(reset)"]
    assert [reset[at + 1:at + 3] for at in starts] == [setup, setup]
    push = write(*goals, "--separate", "push")
    assert [line for line in push if line.split()[0] in ("(push", "(echo", "(pop", "(reset)")] == [
        "(push 1)", '(echo "goal 1 0")', '(echo "end 1 0")', "(pop 1)",
        "(push 1)", '(echo "goal 0 0")', '(echo "end 0 0")', "(pop 1)"]


def test_what_the_prover_does_not_know_is_not_asked(write, tool):
    lines = write("-a", "0", "0", "-a", "0", "1", "--skip", "foo,|a ) b|")
    assert "; A.2 is skipped: it uses |a ) b|" in lines and '(echo "goal 0 1")' not in lines
    assert tool("smt-reader", "--file", "out", stdin=A) == "Proved\nUnknown\n"


def conclude(text):
    return f"<pog>\n<obligation><goal><conclusion>{text}</conclusion></goal></obligation></pog>"


@rows("pog, line", {
    "misspelt element": ("<pog>\n<hypothesis/></pog>", "c.pog:2: <hypothesis> is not allowed"),
    "no conclusion": (conclude(""), "has one conclusion, this one has 0"),
    "closed too often": (conclude("true)) (check-sat"), "closing parenthesis too many"),
    "command": (conclude("a").replace(">", "><declarations>(check-sat)</declarations>", 1),
                "c.pog:1: not a declaration: (check-sat)")})
def test_obligations_that_smt_writer_refuses(case, write, pog, line):
    case.write("c.pog", pog)
    assert line in write("-a", "0", "0", fails=True)


@rows("args, line", {
    "no such obligation": (["-a", "2", "0"], "c.pog has only 2 obligations"),
    "negative": (["-a", "0", "-1"], '"-1" is not an index'),
    "no such goal": (["-a", "0", "2"], "no goal A.3 in c.pog: A has 2 goals"),
    "goal asked twice": (["-a", "0", "0"] * 2, "-a 0 0 is given twice")})
def test_arguments_that_smt_writer_refuses(write, args, line):
    assert line in write(*args, fails=True)


def section(goal, *lines):
    return "\n".join([f"goal {goal}", *lines, f"end {goal}\n"])


A, B, C = (section(goal, "unsat") for goal in ("0 0", "0 1", "1 0"))


# One letter for each of the goals 0 0, 0 1 and 1 0: proved or unknown.
@rows("output, verdicts", {
    "all": (A + B + C, "PPP"),
    "quoted echoes, carriage returns": (
        A + B.replace("goal 0 1", '"goal 0 1"').replace("\n", "\r\n") + C, "PPP"),
    "sat means nothing": (A + section("0 1", "sat") + C, "PUP"),
    "unknown, timeout": (section("0 0", "unknown") + section("0 1", "timeout") + C, "UUP"),
    "error, then an answer": (A + section("0 1", '(error "line 1: unknown")', "unsat") + C, "PUP"),
    "error outside goals": (A + '(error "pop: no push")\n' + B + C, "UUU"),
    "killed after an answer": (A + "goal 0 1\nunsat\n", "PUU"),
    "contradiction": (section("0 0", "unsat", "sat") + B + C, "UPP"),
    "a goal twice": (A + B + C + A, "UPP"),
    "an end out of place": ("goal 0 0\nunsat\n" + B + "end 0 0\n" + C, "UPP"),
    "more than an answer": (section("0 0", "unsat.") + B + section("1 0", "UNSAT"), "UPU"),
    "rubbish between": (A + "".join(map(chr, range(256))) * 40 + "\n" + B + C, "PPP")})
def test_smt_reader(write, tool, output, verdicts):
    write("-a", "0", "0", "-a", "0", "1", "-a", "1", "0")
    assert tool("smt-reader", "--file", "out", stdin=output).split() == [
        {"P": "Proved", "U": "Unknown"}[verdict] for verdict in verdicts]


MODEL = "(\n  (define-fun x () Int\n    0)\n)\n"


@rows("answer, args, text, said", {
    "disproof": ("sat", ["--sat=Disproved"], MODEL, "Disproved\n" + MODEL),
    "complaint": ("unsat", [], '(error "no model")\n', "Proved\n")})
def test_model_after_the_verdict(write, tool, answer, args, text, said):
    write("-a", "0", "0", "-m")
    output = f"{section('0 0', answer)}model 0 0\n{text}"
    for end in ("end-model 0 0\n", ""):  # some provers stop at an error
        assert tool("smt-reader", "--file", "out", *args, stdin=output + end) == said
    write("-a", "0", "0")
    assert MODEL not in tool("smt-reader", "--file", "out", *args, stdin=output)  # not asked for


@rows("args, line", {
    "no file": (["--file", "none"], "cannot read"), "cut off": (["--file", "cut"], "cut off"),
    "rubbish": (["--file", "c.pog"], "not written by smt-writer")})
def test_what_smt_reader_refuses(case, tool, args, line):
    case.write("cut", ";; smt-writer goals 2 model no\n;; goal 0 0\n")
    assert line in tool("smt-reader", *args, stdin=A, fails=True)


@rows("goals, missing", {"from 0": ("0,1", "A.0"), "too many": ("2,3", "A.3")})
def test_goals_of_a_history_are_counted_from_1(case, tool, goals, missing):
    case.write("h", f"mechanism m d\nA {goals} m d=Proved\n")
    line = tool("smt-pos", "-i", "c.pog", "-o", "out", "--history", "h", fails=True)
    assert f"h:2: there is no goal {missing}: A has 2 goals, from 1: A" in line


@rows("name, history", {"fresh": ("fresh.pos", []),
                        "played": ("ringbuffer.pos", ["--history", SMT / "ringbuffer.past"])})
def test_committed_files_are_those_that_the_pog_and_the_history_make(case, tool, name, history):
    tool("smt-pos", "-i", SMT / "ringbuffer.pog", "-o", "made", *history)
    assert case.path("made").read_text() == (SMT / name).read_text()
