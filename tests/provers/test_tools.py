"""The tools that mechanisms name for provers, alone: what the writers write and refuse, and that the
readers give one honest verdict per goal whatever a prover prints."""

import re

import pytest
from conftest import BIN, rows

A = """(set-option :timeout 9)(set-option :produce-proofs true)(set-option :o 1)
(set-option :MODEL.V2 true)(set-option :model_compress true)(set-logic QF_LIA)(declare-const |x ) y| Int)(assert (> |x ) y| 2))
(push)(assert (= |x ) y| 1)) ; not a ) here
(check-sat)(get-model)(pop)(check-sat-assuming ((= |x ) y| 3) true))"""
FILES = {"a.smt2": A, "b.smt2": "(assert false)(check-sat)",
         "c.p": "fof(a,axiom,p).fof(c,conjecture,p).fof(d,conjecture,q)."}
SETUP = ["(set-option :o 1)", "(set-logic QF_LIA)"]
X = ["(declare-const |x ) y| Int)", "(assert (> |x ) y| 2))"]


@pytest.fixture
def tool(case):
    """Runs a tool; its standard output, or its one line where it must fail."""
    def run(name, *args, stdin="", fails=0):
        name = "kelvarune-" + name
        with open(case.write("stdin", stdin.encode("latin-1")), "rb") as file:
            run = case.run(*args, program=BIN / name, stdin=file, status=fails,
                           err=None if fails else "")
            assert fails == 2 or not stdin or not file.read(), "not read to its end"
        assert not fails or (run.out == b"" and not case.path("out").exists()
                             and re.fullmatch(name + ": .*\n", run.err.decode()))
        return (run.err if fails else run.out).decode()
    for name, text in FILES.items():
        case.write("src/" + name, text)
    case.run("import", "-o", "c", "src", program=BIN / "kelvarune-goals", err=None)
    return run


@pytest.fixture
def write(case, tool):
    """Runs a writer; the lines of its file, or its one line where it must fail."""
    def write(*args, kind="smt", fails=0):
        out = tool(kind + "-writer", *args, "-i", "c.pog", "-o", "out", fails=fails)
        return out or list(filter(None, case.path("out").read_text().splitlines()))
    return write


def test_one_goal(write):
    assert write("-a", "0", "0") == [
        ";; kelvarune-smt-writer goals 1 model no", ";; goal 0 0 a.1", '(echo "goal 0 0")', *SETUP,
        *X, "(assert (= |x ) y| 1))", "(check-sat)", '(echo "end 0 0")']
    model = write("-a", "0", "1", "-m", "--options", "none", "--option=:p 1", "--logic", "ALL")
    assert model[3:6] == ["(set-option :p 1)", "(set-option :produce-models true)",
                          "(set-logic ALL)"]
    assert model[8:] == ["(assert (= |x ) y| 3))", "(assert true)", "(check-sat)",
                         '(echo "end 0 1")', '(echo "model 0 1")', "(get-model)",
                         '(echo "end-model 0 1")']
    assert write("-a", "0", "0", "--plain")[2:] == [
        *SETUP, "(declare-fun |x ) y| () Int)", *X[1:], "(assert (= |x ) y| 1))", "(check-sat)",
        "(exit)"]


def test_several_goals_are_kept_apart(write):
    goals = ("-a", "0", "1", "-a", "1", "0", "-a", "0", "0", "-a", "2", "0")
    reset = write(*goals, "--default-logic", "L")
    assert reset[:5] == [
        ";; kelvarune-smt-writer goals 4 model no", ";; goal 0 1 a.2", ";; goal 1 0 b.1",
        ";; goal 0 0 a.1", ";; skipped 2 0 c.1: it is no SMT-LIB script"]
    starts = [at for at, line in enumerate(reset) if line == "(reset)"]
    assert [reset[at + 2:at + 4] for at in starts] == [SETUP, ["(set-logic L)", "(assert false)"],
                                                       SETUP]
    push = write(*goals, "--separate", "push")
    assert push[2] == ";; skipped 1 0 b.1: its options or its logic are not those of the first"
    assert [line for line in push[5:] if not line.startswith(("(decl", "(assert", "(check"))] == [
        *SETUP, "(push 1)", '(echo "goal 0 1")', '(echo "end 0 1")', "(pop 1)",
        "(push 1)", '(echo "goal 0 0")', '(echo "end 0 0")', "(pop 1)"]


@rows("args, reason", {"symbol": (["--skip", "foo,x ) y"], "it uses |x ) y|"),
                       "command": (["--skip=declare-const"], "it uses declare-const"),
                       "logic": (["--logics=LRA,QF_BV"], "its logic is QF_LIA")})
def test_what_the_prover_does_not_know_is_not_asked(write, tool, args, reason):
    assert write("-a", "0", "0", *args) == [";; kelvarune-smt-writer goals 1 model no",
                                            f";; skipped 0 0 a.1: {reason}"]
    assert tool("smt-reader", "--file", "out", stdin=section("0 0", "unsat")) == "Unknown\n"


def test_a_tptp_goal(write, tool):
    assert write("-a", "2", "1", kind="tptp") == [
        "% kelvarune-tptp-writer goal 2 1 c.2", "fof(a,axiom,p).", "fof(d,conjecture,q)."]
    write("-a", "0", "0", kind="tptp")
    assert tool("szs-reader", "--file=out", stdin="% SZS status Theorem") == "Unknown\n"


@rows("kind, args, status, line", {
    "no such obligation": ("smt", "-a 3 0", 1, "no obligation 3"),
    "no such goal": ("smt", "-a 0 2", 1, "no goal 2"),
    "negative": ("smt", "-a 0 -1", 2, '"-1" is not an index'),
    "twice": ("smt", "-a 0 0 -a 0 0", 2, "-a 0 0 is given twice"),
    "option that ends its command": ("smt", "-a 0 0 --logic A)(exit", 2, "bad value for --logic"),
    "plain": ("smt", "-a 0 0 -a 0 1 --plain", 1, "one goal per file"),
    "two problems": ("tptp", "-a 2 0 -a 2 1", 1, "one goal per file")})
def test_orders_that_writers_refuse(write, kind, args, status, line):
    assert line in write(*args.split(), kind=kind, fails=status)


@rows("kind, goal, name, text, line", {
    "gone": ("smt", "0 1", "a.smt2", None, "cannot read src/a.smt2: No such file or directory"),
    "changed": ("smt", "0 1", "a.smt2", A.replace("2", "4"), "src/a.smt2 has changed since the"),
    "broken": ("smt", "0 1", "a.smt2", A.replace("(get", ")"), "src/a.smt2 has changed since the"),
    "fewer": ("tptp", "2 1", "c.p", "fof(a,axiom,p).", "src/c.p has changed since the POG")})
def test_sources_that_are_not_what_they_were(case, write, kind, goal, name, text, line):
    case.path("src/" + name).unlink()
    if text:
        case.write("src/" + name, text)
    tag = name.split(".")[0]
    assert line in (said := write("-a", *goal.split(), kind=kind, fails=1))
    assert f" (goal {tag}.2)" in said
    write("-a", "1", "0")  # whose file is as it was


def section(goal, *lines):
    return "\n".join([f"goal {goal}", *lines, f"end {goal}\n"])


G, H, I = (section(goal, "unsat") for goal in ("0 0", "0 1", "1 0"))


# One letter for each of the goals 0 0, 0 1 and 1 0: proved, disproved or unknown.
@rows("output, verdicts", {
    "all": (G + H + I, "PPP"),
    "quoted echoes, carriage returns": (
        G + H.replace("goal 0 1", '"goal 0 1"').replace("\n", "\r\n") + I, "PPP"),
    "unknown, sat": (section("0 0", "unknown") + section("0 1", "sat") + I, "UDP"),
    "error, then an answer": (G + section("0 1", '(error "line 1: unknown")', "unsat") + I, "PUP"),
    "error outside goals": (G + '(error "pop: no push")\n' + H + I, "UUU"),
    "not supported": (section("0 0", "unsupported", "sat") + section("0 1", "unsupported", "unsat")
                      + I, "UPP"),
    "not supported, outside goals": ("unsupported\n" + G + H + I, "UUU"),
    "contradiction": (section("0 0", "unsat", "sat") + H + I, "UPP"),
    "a goal twice": (G + H + I + G, "UPP"),
    "an end out of place": ("goal 0 0\nunsat\n" + H + "end 0 0\n" + I, "UPP"),
    "more than an answer": (section("0 0", "unsat.") + H + section("1 0", "UNSAT"), "UPU"),
    "rubbish between": (G + "".join(map(chr, range(256))) * 9999 + "\n" + H + I, "PPP"),
    # What z3 4.8.12, cvc5 1.0.3 and cvc4 1.8 print.
    "z3: limits of time and steps": (section("0 0", "unknown") + G, "UUU"),
    "z3 -T": (G + "goal 0 1\ntimeout\n", "PUU"),
    "z3: memory": (G + 'goal 0 1\n(error "out of memory")\n', "PUU"),
    "z3: wrong term": (G + section("0 1", '(error "line 3 column 9: unknown constant y")', "sat")
                       + I, "PUP"),
    "cvc5: limits of time and steps": (G.replace("goal 0 0", '"goal 0 0"')
                                       + section("0 1", "unknown") + I, "PUP"),
    "cvc5 --tlimit": (G + '"goal 0 1"\ncvc5 interrupted by timeout.\n', "PUU"),
    "cvc5, cvc4: wrong command": (
        G + '"goal 0 1"\n(error "Parse Error: <stdin>:14.4: expected SMT-LIBv2 command, got `f\'.\n'
        '\n  (foo)\n   ^\n")\n', "PUU")})
def test_smt_reader(write, tool, output, verdicts):
    write("-a", "0", "0", "-a", "0", "1", "-a", "1", "0")
    assert tool("smt-reader", "--file", "out", "--sat=Disproved", stdin=output).split() == [
        {"P": "Proved", "D": "Disproved", "U": "Unknown"}[verdict] for verdict in verdicts]
    assert "Disproved" not in tool("smt-reader", "--file", "out", stdin=output)


# What Boolector 1.5, E 2.6 and SPASS 3.9 print.
@rows("output, verdict", {
    "boolector": ("unsat", "Proved"), "boolector -t": ("unknown", "Unknown"),
    "boolector: wrong command": ("<stdin>:1: unsupported command 'f'", "Unknown"),
    "boolector: twice": ("unsat\nunsat", "Unknown"),
    "E": ("# Proof found!\n# SZS status Theorem", "Proved"),
    "E: refutation": ("# SZS status Unsatisfiable", "Proved"),
    "E: none": ("# No proof found!\n# SZS status CounterSatisfiable", "Disproved"),
    "E: limits": ("# Failure: User resource limit exceeded!\n# SZS status ResourceOut", "Unknown"),
    "E: gave up": ("# SZS status GaveUp", "Unknown"),
    "E: wrong formula": ("", "Unknown"),
    "two statuses": ("# SZS status Theorem\n# SZS status CounterSatisfiable", "Unknown"),
    "SPASS": ("SPASS V 3.9 \nSPASS beiseite: Proof found.\nProblem: p ", "Proved"),
    "SPASS: none": ("SPASS beiseite: Completion found.", "Disproved"),
    "SPASS -TimeLimit": ("SPASS beiseite: Ran out of time. SPASS was killed.", "Unknown"),
    "SPASS -Loops": ("SPASS beiseite: Maximal number of loops exceeded.", "Unknown"),
    "SPASS: wrong formula": ('syntax error on line 1 at item "=>".', "Unknown")})
def test_answers_without_echoes(write, tool, request, output, verdict):
    if "boolector" in request.node.name:
        write("-a", "0", "0", "--plain")
        said = tool("smt-reader", "--file=out", stdin=output)
    else:
        write("-a", "2", "0", kind="tptp")
        said = tool("szs-reader", "--file=out", "--countersat=Disproved", stdin=output)
        assert "Disproved" not in tool("szs-reader", "--file=out", stdin=output)
    assert said == verdict + "\n"


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


@rows("reader, args, status, line", {
    "no file": ("smt", "--file none", 1, "cannot read"), "usage": ("szs", "", 2, "--file is miss"),
    "cut off": ("smt", "--file cut", 1, "cut off"), "rubbish": ("szs", "--file c.pog", 1, "not wri"),
    "verdict": ("smt", "--sat=Proved", 2, "--sat is Unknown or Disproved, not Proved")})
def test_what_readers_refuse(case, tool, reader, args, status, line):
    case.write("cut", ";; kelvarune-smt-writer goals 2 model no\n;; goal 0 0 a.1\n")
    assert line in tool(reader + "-reader", *args.split(), stdin=G, fails=status)
