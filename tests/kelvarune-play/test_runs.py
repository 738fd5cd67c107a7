"""First proofs: what is registered, played, printed and recorded, and the exit status."""

import os
import unittest
import xml.etree.ElementTree as ET

from harness import CRASH, FILES, driver_pass, goal, mech, parsed, po, proving, report
from playcase import PlayCase

REPLAY = os.environ.get("KELVARUNE_REPLAY", "kelvarune")


class FirstProofs(PlayCase):
    """Two drivers, an untouched status file: d1 proves T0.1, d2 proves T0.2 and disproves T1.1."""

    def setUp(self):
        super().setUp()
        self.answers({"d1.0.0": "Proved", "d2.0.1": "Proved", "d2.1.0": "Disproved"})
        self.mechanism(self.driver("d1"), self.driver("d2", fast="true"), trust="always")
        self.pos(po("T0", goal(), goal()), po("T1", goal()))

    PROVED = (po("T0", goal(mech("m", "Proved", d1="Proved", d2="Unproved"), status="Proved"),
                 goal(mech("m", "Proved", d1="Unknown", d2="Proved"), status="Proved")),
              po("T1", goal(mech("m", "Disproved", d1="Unknown", d2="Disproved"),
                            status="Disproved")))

    def test_an_untouched_file_gets_its_mechanism_and_its_proofs(self):
        untouched = self.path("comp.pos").read_bytes()
        for xml in (False, True):
            text = ("<proof>\n" * xml + proving(xml=xml)
                    + driver_pass("d1", 3, [("T0", "+-"), ("T1", "-")], xml=xml)
                    + driver_pass("d2", 2, [("T0", "+"), ("T1", "!")], xml=xml)
                    + report(proved=2, externally=2, disproved=1, xml=xml))
            for jobs in ("1", "4"):
                with self.subTest(xml=xml, jobs=jobs):
                    self.write("comp.pos", untouched)
                    run = self.replay("-c" + jobs, *["-x"] * xml, out=text if jobs == "1" else None)
                    # With several jobs the marks come in any order.
                    self.assertEqual(sorted(text), sorted(run.out.decode()), str(run))
                    self.assertPos(*self.PROVED)

    def test_kelvarune_replays_what_was_played(self):
        self.replay()
        files = ("-m", "m.xml", *FILES)
        self.expect(*files, program=REPLAY, out=proving() + driver_pass("d1", 0)
                    + driver_pass("d2", 0) + report(proved=2, externally=2, disproved=1))
        played = self.path("comp.pos").read_bytes()
        document = parsed(played)
        for element in [*document.iter("Simple_Goal"), *document.iter("Mechanism")]:
            element.set("status", "Unproved")
        self.write("comp.pos", ET.tostring(document))
        self.expect(*files, program=REPLAY, out=proving() + driver_pass("d1", 3, [("T0", "+")])
                    + driver_pass("d2", 2, [("T0", "+"), ("T1", "!")])
                    + report(proved=2, externally=2, disproved=1))
        self.assertPos(*self.PROVED)

    def test_mechanisms_are_played_in_order(self):
        # No driver proves anything, so that each mechanism has all the work.
        self.answers({})
        for name in ("c", "B", "a"):
            self.mechanism(self.driver("d1"), name=name, folder="several")
        self.write("several/z.XML", "no description, by its name")
        self.write("several/notes.txt", "nor this")
        rows = {"given one by one": (["-m", "several/c.xml", "--mechanism=several/a.xml"], "ca"),
                "a directory, by name": (["-M", "several"], "Bac")}
        for name, (args, order) in rows.items():
            with self.subTest(name):
                self.pos(po("T0", goal()))
                self.expect(*args, *FILES, err="", out="".join(
                    proving(mechanism=m) + driver_pass("d1", 1, [("T0", "-")]) for m in order)
                    + report(unproved=1))
                self.assertPos(po("T0", goal(*[mech(m, "Unknown", d1="Unknown") for m in order])))

    def test_filters(self):
        d1 = driver_pass("d1", 3, [("T0", "+-"), ("T1", "-")])
        d2 = driver_pass("d2", 3, [("T0", "-+"), ("T1", "!")])
        rows = {"one driver": (["--driver", "d1"], d1, dict(proved=1, externally=1, unproved=2)),
                "fast drivers": (["--fast"], d2,
                                 dict(proved=1, externally=1, disproved=1, unproved=1)),
                "both filters": (["--fast", "--driver=d1"], "", dict(unproved=3))}
        untouched = self.path("comp.pos").read_bytes()
        for name, (args, passes, counts) in rows.items():
            with self.subTest(name):
                self.write("comp.pos", untouched)
                self.replay(*args, out=proving() + passes + report(**counts))

    def test_one_goal_with_its_model(self):
        self.answers({"d1.0.1": b"Unknown\nx = 1\ny = 2\n", "d2.0.1": b"Disproved\nx = 3\n"})

        def model(driver, *lines):
            return (f"\tProof driver {driver}, still 3 unproved PO\n\t\tT0\n\t\t\t-model:\n"
                    + "".join(line + "\n" for line in lines) + "\n\n\n")
        d2 = model("d2", "x = 3")
        rows = {"every driver": ([], model("d1", "x = 1", "y = 2") + d2), "fast": (["--fast"], d2),
                "named, several jobs": (["--driver", "d2", "-c", "4"], d2)}
        untouched = self.path("comp.pos").read_bytes()
        for name, (args, passes) in rows.items():
            with self.subTest(name):
                self.write("comp.pos", untouched)
                self.path("tools/writer.log").unlink(missing_ok=True)
                self.replay("--goal", "T0.2", *args, out=proving() + passes + report(unproved=3))
                registered = mech("m", d1="Unproved", d2="Unproved")
                self.assertPos(po("T0", goal(registered), goal(registered)),
                               po("T1", goal(registered)))
                for call in self.calls("writer"):
                    self.assertEqual(["-a", "0", "1", "-m"], call[:3] + call[7:])

    def test_a_driver_that_cannot_single_out_the_goal_is_named(self):
        self.mechanism(self.driver("d1", group="related"), self.driver("d2"))
        note = ("kelvarune-play: m.xml: driver d1 groups related goals, so its writer is asked for "
                "that goal of the first obligation, T0, and its model is not one of T1.1.\n")
        rows = [("T1.1", [], note), ("T0.1", [], ""), ("T1.1", ["--driver", "d2"], ""),
                ("T1.1", ["--fast"], "")]
        for designated, args, err in rows:
            with self.subTest(goal=designated, args=args):
                self.replay("--goal", designated, *args, err=err)


class ExitStatus(PlayCase):
    def test_strict(self):
        rows = [("Proved", "always", [], 0), ("Proved", "always", ["--strict"], 0),
                ("Unknown", "always", [], 0), ("Unknown", "always", ["--strict"], 1),
                ("Disproved", "always", ["--strict"], 1), ("Proved", "never", ["--strict"], 1)]
        for verdict, trust, args, status in rows:
            with self.subTest(verdict=verdict, trust=trust, args=args):
                self.answers({"*": verdict})
                self.mechanism(trust=trust)
                self.pos(po("T0", goal()))
                run = self.run_program("-m", "m.xml", *FILES, *args)
                self.assertEqual((status, b""), (run.status, run.err), str(run))

    def test_failures_are_listed_at_the_end(self):
        self.script("crash", "cat >/dev/null\n" + CRASH)
        self.mechanism(self.driver("d1", prover="crash"), self.driver("d2", reader="crash"))
        self.pos(po("T0", goal(), goal()))
        told = "Driver prover crashed.\n" * 2 + "Driver reader crashed.\n" * 2
        listed = "".join(f"kelvarune-play: Driver {role} crashed. (2 times)\n"
                         for role in ("d1 prover", "d2 reader"))
        for strict in ([], ["--strict"]):
            self.replay(*strict, status=3, err=told + listed,
                        out=proving() + driver_pass("d1", 2, []) + driver_pass("d2", 2, [])
                        + report(unproved=2))

    def test_help_and_version(self):
        for args, text in ((["--help"], b"--driver"), (["-h"], b"Exit status"),
                           (["--version"], b"kelvarune-play ")):
            run = self.run_program(*args)
            self.assertEqual((0, b""), (run.status, run.err), str(run))
            self.assertIn(text, run.out)


if __name__ == "__main__":
    unittest.main()
