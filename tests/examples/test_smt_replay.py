"""examples/smt replayed by the real program with the real provers: the verdict of every goal, of
every driver alone and of the whole, with one job and with four."""

import os
import pathlib
import shutil
import xml.etree.ElementTree as ET

import pytest
from conftest import BIN, SLOWNESS, needs, rows

pytestmark = needs("z3", "cvc5")

SMT = pathlib.Path(__file__).parents[2] / "examples/smt"
MARKS = {"Proved": "+", "UnreliablyProved": "*", "Disproved": "!", "Unknown": "-", "Unproved": "-"}
TABLE = pathlib.Path(__file__).with_name("verdicts.txt").read_text().splitlines()
HEAD, *LISTED = [line.split() for line in TABLE if line and line[0] != "#"]


def marks(document, path="."):
    """The mark of each goal, or of that part of it, by (obligation, goal)."""
    return {(po.findtext("Tag"), number): MARKS[goal.find(path).get("status")]
            for po in document.getroot().iter("Proof_Obligation")
            for number, goal in enumerate(po.findall("Simple_Goal"), 1)}


def expected(column):
    listed = {(row[0], int(row[1])): row[HEAD.index(column)] for row in LISTED}
    return {at: listed.get(at, "+") for at in marks(ET.parse(SMT / "fresh.pos"))}


@pytest.fixture
def replay(case):
    """Replays comp.pos, of which it returns what became."""
    # Only the two provers, so that nothing else on this machine is found by accident, and nothing
    # that they complain about.
    case.path("bin").mkdir()
    for prover in ("z3", "cvc5"):
        program = case.write(f"bin/{prover}", f"""#!/bin/sh
            {shutil.which(prover)} "$@" || echo "{prover} $*" >>{case.path("failed")}\n""")
        program.chmod(0o755)

    def replay(*args, program="kelvarune"):
        path = {"PATH": f"{case.path('bin')}:/usr/bin:/bin"}
        run = case.run(*args, "-s", "comp.pos", "-p", SMT / "ringbuffer.pog", "-d", "work",
                       "-i", "bin", "-i", BIN, "-i", SMT, program=BIN / program, env=path,
                       limit_s=240 * SLOWNESS)
        assert not case.path("failed").exists(), case.path("failed").read_text()
        assert os.listdir(case.path("work")) == []
        return ET.parse(case.path("comp.pos")), run.out.decode()
    return replay


@pytest.fixture
def replay_alone(case, replay):
    """Replays a status file in which only this driver has something to replay: every goal."""
    def replay_alone(column, *args):
        mechanism, driver = column.split(".")
        document = ET.parse(SMT / "fresh.pos")
        for goal in document.getroot().iter("Simple_Goal"):
            element = ET.SubElement(goal, "Mechanism", name=mechanism, status="Unproved")
            for name in [name.split(".")[1] for name in HEAD if name.startswith(mechanism + ".")]:
                ET.SubElement(element, "Driver", name=name,
                              status="Proved" if name == driver else "Unproved")
        document.write(case.path("comp.pos"))
        after, _ = replay("-m", SMT / f"mechanisms/{mechanism}.xml", *args)
        return marks(after, f"Mechanism[@name='{mechanism}']/Driver[@name='{driver}']")
    return replay_alone


@pytest.mark.parametrize("column", [
    f"{file.stem}.{driver.get('name')}" for file in sorted(SMT.glob("mechanisms/*.xml"))
    for driver in ET.parse(file).getroot().findall("driver")])
def test_each_driver_alone(replay_alone, column):
    assert replay_alone(column, "-c", "2") == expected(column)


@rows("args", {"one job": ["-c", "1"],
               "polite, several jobs": ["-c", "4", "-r", SMT / "resources/polite.res"]})
def test_all_mechanisms(case, replay, args):
    shutil.copy(SMT / "ringbuffer.pos", case.path("comp.pos"))
    after, out = replay("-M", SMT / "mechanisms", *args)
    want = expected("replay")
    assert marks(after) == want
    count = [list(want.values()).count(mark) for mark in "+*!-"]
    totals = [text.split()[-1] for text in out.splitlines()[-1].split("\t")]
    assert totals[1:2] + totals[3:] == list(map(str, count))


def test_a_replay_gives_back_all_first_proofs(case, replay):
    shutil.copy(SMT / "fresh.pos", case.path("comp.pos"))
    first, _ = replay("-M", SMT / "mechanisms", "-c", "2", program="kelvarune-play")
    assert list(marks(first).values()).count("+") == 54
    case.run("unprove", "comp.pos", program=BIN / "kelvarune-pos")
    after, _ = replay("-M", SMT / "mechanisms", "-c", "2")
    assert marks(after) == marks(first)


@rows("prover", {"z3": "z3 -smt2", "cvc5": "cvc5 --lang=smt2"})
def test_a_counterexample_by_hand(case, prover):
    def answer(obligation, goal):
        tools = (f"'{BIN}/kelvarune-smt-writer' -a {obligation} {goal} -m -o f "
                 f"-i '{SMT}/ringbuffer.pog' && {{ {prover} f || :; }} | "
                 f"'{BIN}/kelvarune-smt-reader' --file f --sat=Disproved")
        return case.run("-c", tools, program="/bin/sh").out.decode()
    assert answer(11, 0) == "Proved\n"
    assert answer(11, 3).startswith("Disproved\n") and "(define-fun late () Int" in answer(11, 3)


@pytest.mark.parametrize("name", ["fresh", "ringbuffer"])
def test_the_committed_files_are_in_step(case, name):
    shutil.copytree(SMT, case.path("smt"))
    shutil.copy(SMT / f"{name}.pos", case.path("smt/ringbuffer.pos"))
    case.run("sync", "--check", "smt/ringbuffer.pog", program=BIN / "kelvarune-goals", out=None)
