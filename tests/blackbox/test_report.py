"""The closing report, on POS files of every kind. The mechanism has no driver, so the report counts
the file as it was."""

import unittest

from harness import ABORTED, FILES, ReplayCase, element, goal, mech, po, report


class Report(ReplayCase):
    def setUp(self):
        super().setUp()
        self.write("m.xml", "<mechanism/>")

    def test_counts(self):
        every = [goal(status=s) for s in ("Unproved", "Unknown", "UnreliablyProved", "Proved",
                                          "Disproved", "Proved(Rapide)", "Proved(2)", None)]
        rows = {
            "every status, one twice by another name": (
                [po("T", *every)],
                dict(proved=3, unreliably=1, disproved=1, unproved=2)),
            "two mechanisms prove one goal": (
                [po("T", goal(mech("A", "Proved", a="Proved"), mech("B", "Proved"),
                              status="Proved"))], dict(proved=1, externally=1)),
            "a mechanism may prove what the goal does not say": (
                [po("T", goal(mech("B", "Unknown"), mech("A", "Proved(1)"), status="Disproved"))],
                dict(disproved=1, externally=1)),
            "statuses are counted as they stand": (
                [po("T", goal(state="Proved(1)"), goal(mech("A", "UnreliablyProved")))],
                dict(unproved=2)),
            "only goals in their place count": (
                [element("Other", po("T", goal())), goal(),
                 po("T", element("Other", goal()), goal(status="Proved"))], dict(proved=1)),
        }
        for name, (pos, counts) in rows.items():
            with self.subTest(name):
                self.pos(*pos)
                text = self.run_program("-m", "m.xml", *FILES).out.decode()
                # Before it stands what the replay said of the file.
                self.assertEqual(report(**counts), text[text.find("End of proof"):])

    def test_unknown_status_texts_end_the_run_abnormally(self):
        rows = {
            "goal": [po("T", goal(status="Valid"))],
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
