"""The installed mechanisms with the real provers: each driver proves what its prover knows and
nothing that does not hold; and a script that is taken apart gets the answers that it got as a whole."""

import re
import shutil
import xml.etree.ElementTree as ET

import pytest
from conftest import BIN, PROJECT, SLOWNESS, rows

MECHANISMS = sorted((PROJECT / "mechanisms").glob("*.xml"))
DRIVERS = {f"{file.stem} {driver.get('name')}": (file, driver.get("name"),
                                                 driver.find("prover").get("path"))
           for file in MECHANISMS for driver in ET.parse(file).getroot().findall("driver")}

BITS = """(set-option :auto_config false)(set-option :smt.mbqi true)(set-logic QF_BV)
(declare-const x (_ BitVec 8))(push)(assert (= x (bvadd x #x01)))(check-sat)(pop)
(assert (bvult x #x01))(check-sat)"""
QUANTIFIED = """(declare-sort S 0)(declare-fun p (S) Bool)(declare-fun q (S) Bool)(declare-const c S)
(assert (forall ((x S)) (=> (p x) (q x))))(assert (p c))(assert (not (q c)))(check-sat)"""
PROBLEM = "fof(a,axiom,! [X] : (p(X) => q(X))).fof(b,axiom,p(c))."
FILES = {"bits.smt2": BITS, "logic.smt2": QUANTIFIED,
         "problem.p": PROBLEM + "fof(yes,conjecture,q(c)).fof(no,conjecture,q(d))."}
# Of the goals bits.1, bits.2, which does not hold, logic.1, problem.1 and problem.2, which does not.
PROVED = {"boolector": "+----", "eprover": "---+-", "SPASS": "---+-"}


def import_goals(case, files):
    for name, text in files.items():
        case.write("src/" + name, text)
    case.run("import", "-o", "c", "src", program=BIN / "kelvarune-goals", err=None)


@rows("file, driver, prover", DRIVERS)
def test_each_driver(case, file, driver, prover):
    if not shutil.which(prover):
        pytest.skip(f"not installed: {prover}")
    import_goals(case, FILES)
    case.run("-m", file, "-i", BIN, "-i", "/usr/bin", "-s", "c.pos", "-p", "c.pog", "-d", "work",
             "--driver", driver, program=BIN / "kelvarune-play", err=None, limit_s=60 * SLOWNESS)
    goals = ET.parse(case.path("c.pos")).getroot().iter("Simple_Goal")
    marks = "".join("-+"[goal.find("Mechanism/Driver[@status='Proved']") is not None]
                    for goal in goals)
    assert marks == PROVED.get(prover, "+-+--")


def test_descriptions(case):
    for prover in {prover for _, _, prover in DRIVERS.values()}:
        case.script(prover, "")
    case.run("check", PROJECT / "mechanisms", "-i", BIN, "-i", "tools", program="kelvarune-mech",
             out=None)


CORPUS = {
    "stack": """(declare-datatypes ((L 0)) (((nil) (cons (head Int) (tail L)))))(declare-const l L)
(push 2)(assert (! ((_ is nil) l) :named empty))(check-sat)(push)(assert (= l (cons 1 nil)))
(check-sat)(pop 2)(check-sat)(pop)(assert (= (head l) 1))(check-sat-assuming (((_ is nil) l)))
(declare-const b Bool)(assert (=> b (= (head l) 2)))(check-sat-assuming (b))(check-sat)""",
    "strings": """(declare-const |a;b"| String)(assert (= |a;b"| "c""(" ; no )
))(push)(assert (= (str.len |a;b"|) 3))(check-sat)(get-value (|a;b"|))(pop)
(assert (= (str.len |a;b"|) 4))(check-sat)""",
    "resets": """(set-logic QF_LIA)(declare-const x Int)(assert (> x 0))(push)(assert (< x 0))
(check-sat)(reset-assertions)(declare-const y Int)(check-sat)(assert (distinct y y))(check-sat)
(reset)(set-logic QF_LIA)(declare-const x Bool)(assert x)(check-sat)(echo "x")(exit)(check-sat)""",
    "global": """(set-option :global-declarations true)(push)(declare-const x Real)
(define-fun twice ((y Real)) Real (* 2.0 y))(assert (= (twice x) 3.0))(check-sat)(pop)
(assert (> x 0.0))(push)(assert (< (twice x) x))(check-sat)(pop)(check-sat)""",
}


@pytest.mark.skipif(not shutil.which("z3"), reason="not installed: z3")
@pytest.mark.parametrize("separate", ["alone", "reset", "push"])
def test_a_script_taken_apart_gets_the_same_answers(case, separate):
    rings = (PROJECT / "examples/smt/ringbuffer").glob("[CFGIPW]*.smt2")
    corpus = CORPUS | {file.stem: file.read_text() for file in rings}
    import_goals(case, {f"{name}.smt2": text for name, text in corpus.items()})

    def answers(file):
        out = case.run("-smt2", "rlimit=200000", file, program=shutil.which("z3")).out.decode()
        return re.findall("^(?:un)?sat$|^unknown$", out, re.MULTILINE)

    for obligation, name in enumerate(sorted(corpus)):
        whole = answers(f"src/{name}.smt2")
        goals = [["-a", str(obligation), str(goal)] for goal in range(len(whole))]
        if separate != "alone":
            goals = [sum(goals, ["--separate", separate])]
        apart = []
        for goal in goals:
            case.run(*goal, "-i", "c.pog", "-o", "out", program=BIN / "kelvarune-smt-writer")
            apart += answers("out")
        assert apart == whole, name
