"""The closing report, on POS files of every kind. The mechanism has no driver, so the report counts
the file as it was."""

import unittest
import xml.etree.ElementTree as ET

from harness import ABORTED, FILES, ReplayCase, element, goal, mech, obligations, po, report

class Report(ReplayCase):
    def setUp(self):
        super().setUp()
        self.write("m.xml", "<mechanism/>")

    def assertReport(self, pos, expected, **options):
        if not isinstance(pos, bytes):
            pos = ET.tostring(obligations(*pos))
        self.write("comp.pos", pos)
        run = self.run_program("-m", "m.xml", *FILES, **options)
        text = run.out.decode()
        # Before it stands what the replay said of the file.
        self.assertEqual((0, expected), (run.status, text[text.find("End of proof"):]), str(run))

    def test_counts(self):
        every = [goal(status=s) for s in ("Unproved", "Unknown", "UnreliablyProved", "Proved",
                                          "Disproved", "Proved(Rapide)", "Proved(2)", None)]
        proved = mech("A", "Proved", a="Proved")
        rows = {
            "one of ours, one open": (
                [po("T", goal(mech("A", "Proved"), status="Proved"), goal())],
                dict(proved=1, externally=1, unproved=1)),
            "every status, one twice by another name": (
                [po("T", *every)],
                dict(proved=3, unreliably=1, disproved=1, unproved=2)),
            "two mechanisms prove one goal": (
                [po("T", goal(proved, mech("B", "Proved"), status="Proved"))],
                dict(proved=1, externally=1)),
            "a mechanism may prove what the goal does not say": (
                [po("T", goal(mech("B", "Unknown"), mech("A", "Proved(1)"), status="Disproved"))],
                dict(disproved=1, externally=1)),
            "statuses are counted as they stand": (
                [po("T", goal(state="Proved(1)"), goal(mech("A", "UnreliablyProved")))],
                dict(unproved=2)),
            "a mechanism without status": (
                [po("T", goal(mech("A", None, d=None), status="Proved"))], dict(proved=1)),
            "only goals in their place count": (
                [element("Other", po("T", goal())), goal(),
                 po("T", element("Other", goal()), goal(status="Proved"))], dict(proved=1)),
            "no obligation": ([], {}),
            "obligations without goals": ([po("T"), po("U")], {}),
            "empty file": (b"", {}),
            "not XML": (b"hello", {}),
            "another root": (
                ET.tostring(element("Root", po("T", goal()))), dict(unproved=1)),
        }
        for name, (pos, counts) in rows.items():
            with self.subTest(name):
                self.assertReport(pos, report(**counts))

    def test_unknown_status_texts_end_the_run_abnormally(self):
        rows = {
            "goal": [po("T", goal(status="Valid"))],
            "goal, empty": [po("T", goal(status=""))],
            "goal, lower case": [po("T", goal(status="proved"))],
            "mechanism": [po("T", goal(mech("A", "Invalid")))],
            "driver": [po("T", goal(mech("A", d="bogus")))],
        }
        for name, pos in rows.items():
            with self.subTest(name):
                self.pos(*pos)
                run = self.run_program("-m", "m.xml", *FILES)
                self.assertEqual(ABORTED, run.status, str(run))
                self.assertIn(b"map::at", run.err)
                self.assertNotIn(b"TOTAL", run.out)

    def test_a_corrupt_goal_is_refused_before_any_registered_mechanism_runs(self):
        self.pos(po("T", goal(mech("m", d1="Proved"), status="bogus")))
        run = self.run_program("-M", ".", *FILES)
        self.assertEqual((ABORTED, b""), (run.status, run.out), str(run))
        self.assertIn(b"map::at", run.err)


if __name__ == "__main__":
    unittest.main()
