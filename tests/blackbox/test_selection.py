"""Which goals a driver is given, how they are grouped into files, and how the files are named."""

import unittest

from harness import (FILES, ReplayCase, candidate, driver_pass, goal, mech, param, po, proving,
                     report)


class Selection(ReplayCase):
    def addresses(self):
        """Per writer call, the -a triples and the file."""
        result = []
        for call in self.calls("writer"):
            end = call.index("-i")
            self.assertEqual(["-i", "comp.pog", "-o"], call[end:end + 3])
            self.assertEqual([], call[end + 4:])
            result.append((" ".join(call[:end]), call[end + 3]))
        return result

    def test_which_goals_are_candidates(self):
        rows = {
            "proved before": (goal(mech(d1="Proved")), "+"),
            "disproved before": (goal(mech(d1="Disproved")), "+"),
            "absent statuses count as unproved": (goal(mech("m", None, d1="Proved"),
                                                       status=None), "+"),
            "own proof state does not matter": (goal(mech(d1="Proved"), state="Proved(1)"), "+"),
            "driver unproved": (goal(mech(d1="Unproved")), ""),
            "driver unknown": (goal(mech(d1="Unknown")), ""),
            "driver unreliable": (goal(mech(d1="UnreliablyProved")), ""),
            "driver without status": (goal(mech(d1=None)), ""),
            "another driver": (goal(mech(d2="Proved")), ""),
            "another case": (goal(mech(D1="Proved")), ""),
            "no driver": (goal(mech()), ""),
            "goal unknown": (goal(mech(d1="Proved"), status="Unknown"), ""),
            "goal unreliable": (goal(mech(d1="Proved"), status="UnreliablyProved"), ""),
            "goal proved": (goal(mech(d1="Proved"), status="Proved"), ""),
            "goal disproved": (goal(mech(d1="Proved"), status="Disproved"), ""),
            "mechanism unknown": (goal(mech("m", "Unknown", d1="Proved")), ""),
            "mechanism unreliable": (goal(mech("m", "UnreliablyProved", d1="Proved")), ""),
            "first of two mechanisms counts": (goal(mech(d1="Unknown"), mech(d1="Proved")), ""),
            "other mechanisms do not": (goal(mech("n", "Proved", d1="Unknown"),
                                             mech(d1="Proved")), "+"),
        }
        self.answers({"*": "Proved"})
        self.mechanism(trust="always")
        self.pos(*[po(name, part) for name, (part, _) in rows.items()])
        last = max(i for i, (_, marks) in enumerate(rows.values()) if marks)
        shown = [(name, marks) for name, (_, marks) in rows.items()][:last + 1]
        unproved = sum(part.get("status") in ("Unproved", None) for part, _ in rows.values())
        proofs = sum(marks == "+" for _, marks in rows.values())
        self.replay(out=proving() + driver_pass("d1", unproved, shown) + report(
            proved=proofs + 1, externally=proofs, unreliably=1, disproved=1,
            unproved=unproved - proofs))

    def test_groups(self):
        self.pos(po("T0", candidate(), candidate("d2"), candidate()),
                 po("T1"),
                 po("T2", candidate("d2")),
                 po("T3", candidate("d2"), candidate()))
        none = [("-a 0 0", "d1_0_0"), ("-a 0 2", "d1_0_2"), ("-a 3 1", "d1_3_1")]
        rows = {
            None: none,
            "none": none,
            "related": [("-a 0 0 -a 0 2", "d1_0"), ("-a 3 1", "d1_3")],
            "full": [("-a 0 0 -a 0 2 -a 3 1", "d1")],
        }
        before = self.path("comp.pos").read_bytes()
        for group, expected in rows.items():
            with self.subTest(group=group):
                self.write("comp.pos", before)
                self.path("tools/writer.log").unlink(missing_ok=True)
                self.mechanism(self.driver(group=group))
                self.replay(out=proving() + driver_pass("d1", 6, [
                    ("T0", "--"), ("T1", ""), ("T2", ""), ("T3", "-")]) + report(unproved=6))
                self.assertEqual([(words, f"work/comp_m_{stem}.po2") for words, stem in expected],
                                 self.addresses())

    def test_a_driver_that_no_candidate_names(self):
        self.pos(po("T0", candidate("d2")))
        for group, writers, err in [
                ("none", [], ""), ("related", [], ""),
                ("full", [("", "work/comp_m_d1.po2")],
                 "Unexpected number of results. Expected: 0 Found: 1\n")]:
            with self.subTest(group):
                self.mechanism(self.driver("d1", group=group))
                self.replay(out=proving() + driver_pass("d1", 1, []) + report(unproved=1),
                            err=err)
                self.assertEqual(writers, self.addresses())

    def test_a_driver_without_candidates_does_nothing(self):
        self.pos(po("T0", goal(mech("m", "Unknown", d1="Proved"))))
        self.mechanism(self.driver(group="full"), self.driver("d2"))
        self.replay(out=proving() + driver_pass("d1", 1) + driver_pass("d2", 1)
                    + report(unproved=1))
        self.assertEqual([], self.calls("writer"))


class Names(ReplayCase):
    """File names are composed literally and passed to the writer, the prover and the reader."""

    def assertNames(self, expected, *options, mechanism="m", driver="d1", ext=None, env=None):
        self.path("tools/writer.log").unlink(missing_ok=True)
        self.answers({"*": "Proved"})
        self.mechanism(self.driver(driver, stdin=False, ext=ext), name=mechanism, trust="always")
        self.pos(po("T0", goal(mech(mechanism, **{driver: "Proved"}))))
        self.expect("-m", f"{mechanism}.xml", *FILES, *options, env=env, out=(
            proving(mechanism) + driver_pass(driver, 1, [("T0", "+")])
            + report(proved=1, externally=1)))
        self.assertEqual([expected], [call[6] for call in self.calls("writer")])
        self.assertFalse(self.path(expected).exists(), "the secondary file stays")

    def test_base_names(self):
        for pog, base in {"dir/comp.pog": "comp", "x.y/comp": "comp", "x.y/a.b.pog": "a.b",
                          "x/.pog": ""}.items():
            with self.subTest(pog):
                self.assertNames(f"work/{base}_m_d1_0_0.po2", "-p", pog)
                self.assertEqual(pog, self.calls("writer")[0][4])

    def test_directories(self):
        self.path("a/b c").mkdir(parents=True)
        for directory, prefix in {"a/b c": "a/b c/", "work/": "work/", ".": "./",
                                  f"{self.root}/work": f"{self.root}/work/"}.items():
            with self.subTest(directory):
                self.assertNames(f"{prefix}comp_m_d1_0_0.po2", "-d", directory)

    def test_marks_of_text_templates_stay_literal(self):
        self.assertNames("work/c%2_%3_%4_%1_0_0.%L5", "-p", "c%2.pog", mechanism="%3",
                         driver="%4_%1", ext="%L5")
        self.assertNames("work/comp_m_d1_0_0.", ext="")

    def test_names_are_utf_8_in_any_locale(self):
        for locale in ("C.UTF-8", "C"):
            with self.subTest(locale):
                self.path("d\u00e9").mkdir(exist_ok=True)
                self.assertNames("d\u00e9/\u00e9_\u00fc_\u2200_0_0.\u00f1", "-d", "d\u00e9",
                                 "-p", "\u00e9.pog", mechanism="\u00fc", driver="\u2200",
                                 ext="\u00f1", env={"LC_ALL": locale})


class Inputs(ReplayCase):
    def test_how_the_prover_gets_its_file(self):
        # The prover tells its arguments and whether its input stays open without a byte, then
        # hands the file on.
        self.script("prover", r"""
[ -p /dev/stdin ] && echo pipe >>"$0.seen" || echo file >>"$0.seen"
if [ "$1" ]; then
  timeout 0.2 cat >>"$0.seen"; echo "status $?" >>"$0.seen"
  exec cat "$1"
fi
exec cat
""")
        self.answers({"*": "Proved"})
        rows = {"stdin": ("stdin", "file\n"), "default": (None, "file\n"),
                "file": ("file", "pipe\nstatus 124\n"), "any other": ("STDIN",
                                                                      "pipe\nstatus 124\n"),
                "empty": ("", "pipe\nstatus 124\n")}
        for name, (given, seen) in rows.items():
            with self.subTest(name):
                self.path("tools/prover.seen").unlink(missing_ok=True)
                file = [] if seen == "file\n" else [param(value="${file}")]
                self.mechanism(self.driver(prover=self.tool("prover", None, *file, input=given)),
                               trust="always")
                self.pos(po("T0", candidate()))
                self.replay(out=proving() + driver_pass("d1", 1, [("T0", "+")])
                            + report(proved=1, externally=1))
                self.assertEqual(seen, self.path("tools/prover.seen").read_text())


if __name__ == "__main__":
    unittest.main()
