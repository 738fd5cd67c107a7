"""examples/smt replayed by the real program with the real provers: the verdict of every goal, of
every driver alone and of the whole, with one job and with four.

Environment: KELVARUNE is the program, KELVARUNE_EXAMPLES the folder examples/, Z3 and CVC5 the
provers; KELVARUNE_TEST_SLOWNESS (default 1) multiplies the time limits of the test.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ET

PROGRAM = os.environ["KELVARUNE"]
SMT = pathlib.Path(os.environ["KELVARUNE_EXAMPLES"]) / "smt"
PROVERS = {name: pathlib.Path(os.environ[name.upper()]) for name in ("z3", "cvc5")}
LIMIT_S = 240 * float(os.environ.get("KELVARUNE_TEST_SLOWNESS", "1"))

MARKS = {"Proved": "+", "UnreliablyProved": "*", "Disproved": "!", "Unknown": "-", "Unproved": "-"}


def goals(pos):
    """The goals of a status file by (obligation, goal)."""
    return {
        (po.findtext("Tag"), number): goal
        for po in ET.parse(pos).getroot().iter("Proof_Obligation")
        for number, goal in enumerate(po.findall("Simple_Goal"))
    }


def expected():
    """verdicts.txt: (obligation, goal) to a mark by column."""
    text = pathlib.Path(__file__).with_name("verdicts.txt").read_text()
    head, *rows = [line.split() for line in text.splitlines() if line and line[0] != "#"]
    marks = {at: "+" * len(head[2:]) for at in goals(SMT / "fresh.pos")}
    marks.update({(row[0], int(row[1])): row[2:] for row in rows})
    return {at: dict(zip(head[2:], row, strict=True)) for at, row in marks.items()}


EXPECTED = expected()
COLUMNS = list(next(iter(EXPECTED.values())))


class Example(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = pathlib.Path(directory.name)
        self.pos = self.dir / "ringbuffer.pos"
        self.work = self.dir / "work"
        self.work.mkdir()
        # Only the two provers, so that nothing else on this machine is found by accident.
        self.bin = self.dir / "bin"
        self.bin.mkdir()
        for name, path in PROVERS.items():
            (self.bin / name).symlink_to(path.resolve())

    def replay(self, *options):
        """Runs the program on self.pos; returns its standard output and standard error."""
        result = subprocess.run(
            [PROGRAM, *options, "-s", self.pos, "-p", SMT / "ringbuffer.pog", "-d", self.work,
             "-i", self.bin, "-i", SMT],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=LIMIT_S,
            env={**os.environ, "PATH": f"{self.bin}:/usr/bin:/bin"},
        )  # fmt: skip
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(list(self.work.iterdir()), [], "secondary files are left")
        return result.stdout, result.stderr

    def replay_all(self, *options):
        """Replays ringbuffer.pos with all mechanisms; returns the goals' marks."""
        shutil.copy(SMT / "ringbuffer.pos", self.pos)
        out, err = self.replay("-M", SMT / "mechanisms", *options)
        self.assertEqual(err, "")
        return out, {at: MARKS[goal.get("status")] for at, goal in goals(self.pos).items()}

    def register_only(self, mechanism, driver):
        """Makes a status file in which this driver is the only one that has something to replay,
        and it is every goal."""
        drivers = [c.split(".")[1] for c in COLUMNS if c.startswith(mechanism + ".")]
        document = ET.parse(SMT / "fresh.pos")
        for goal in document.getroot().iter("Simple_Goal"):
            element = ET.SubElement(goal, "Mechanism", name=mechanism, status="Unproved")
            for name in drivers:
                status = "Proved" if name == driver else "Unproved"
                ET.SubElement(element, "Driver", name=name, status=status)
        document.write(self.pos)

    def verdicts_of(self, mechanism, driver):
        path = f"Mechanism[@name='{mechanism}']/Driver[@name='{driver}']"
        return {at: MARKS[goal.find(path).get("status")] for at, goal in goals(self.pos).items()}


class Table(unittest.TestCase):

    def test_all_drivers_are_in_the_table(self):
        drivers = [
            f"{file.stem}.{driver.get('name')}"
            for file in SMT.glob("mechanisms/*.xml")
            for driver in ET.parse(file).getroot().findall("driver")
        ]
        self.assertEqual(sorted(drivers), sorted(c for c in COLUMNS if c != "replay"))


class Drivers(Example):
    def test_each_driver_alone(self):
        for column in COLUMNS[:-1]:
            mechanism, driver = column.split(".")
            for jobs in ("1", "4"):
                with self.subTest(driver=column, jobs=jobs):
                    self.register_only(mechanism, driver)
                    self.replay("-m", SMT / "mechanisms" / f"{mechanism}.xml", "-c", jobs)
                    self.assertEqual(self.verdicts_of(mechanism, driver),
                                     {at: row[column] for at, row in EXPECTED.items()})  # fmt: skip


class Replay(Example):
    def test_all_mechanisms(self):
        status = {at: row["replay"] for at, row in EXPECTED.items()}
        count = {mark: list(status.values()).count(mark) for mark in "+*!-"}
        for jobs in ("1", "4"):
            with self.subTest(jobs=jobs):
                out, marks = self.replay_all("-c", jobs)
                self.assertEqual(marks, status)
                totals = out.splitlines()[-1].split("\t")
                self.assertEqual(
                    [totals[n] for n in (0, 1, 3, 4, 5)],
                    ["TOTAL for ringbuffer", f" Proved {count['+']}",
                     f" Unreliably proved {count['*']}", f" Disproved {count['!']}",
                     f" Unproved {count['-']}"],
                )  # fmt: skip

    def test_low_priority_by_a_resource_file(self):
        _, marks = self.replay_all("-c", "2", "-r", SMT / "resources" / "polite.res")
        self.assertEqual(marks, {at: row["replay"] for at, row in EXPECTED.items()})

    def test_a_resource_file_points_a_tool_elsewhere(self):
        # A z3 that prints rubbish: no goal is proved or disproved by it, and none is lost.
        fake = self.dir / "fake-z3"
        fake.write_text("#!/bin/sh\nhead -c 100000 /dev/urandom\necho; echo unsat; echo sat\n")
        fake.chmod(0o755)
        resources = self.dir / "fake.res"
        resources.write_text(f"MVL*Proof*Z3_Path: {fake}\n")
        for driver in ("batch", "refute"):
            self.register_only("z3", driver)
            self.replay("-m", SMT / "mechanisms" / "z3.xml", "-r", resources)
            self.assertEqual(set(self.verdicts_of("z3", driver).values()), {"-"})


class Models(Example):
    def answer(self, prover, *goal):
        """Verdict and model of one goal, through the three tools by hand, as a driver does it."""
        file = self.work / "goal.smt2"
        subprocess.run([SMT / "smt-writer", "-a", *goal, "-i", SMT / "ringbuffer.pog", "-o", file, "-m"],
                       check=True)  # fmt: skip
        said = subprocess.run([*prover, file], capture_output=True, timeout=LIMIT_S).stdout
        read = subprocess.run([SMT / "smt-reader", "--file", file, "--sat=Disproved"], input=said,
                              capture_output=True, check=True)  # fmt: skip
        verdict, _, model = read.stdout.decode().partition("\n")
        return verdict, model

    def test_counterexample(self):
        for prover in ([PROVERS["z3"], "-smt2"], [PROVERS["cvc5"], "--lang=smt2"]):
            with self.subTest(prover[0].name):
                verdict, model = self.answer(prover, "5", "3")
                self.assertEqual(verdict, "Disproved")
                self.assertIn("(define-fun late () Int", model)
                self.assertEqual(self.answer(prover, "5", "0"), ("Proved", ""))


if __name__ == "__main__":
    unittest.main()
