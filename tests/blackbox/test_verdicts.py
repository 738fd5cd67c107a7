"""From the reader's output to the statuses in the POS file: the grammar of verdicts, the rules of
trust over several drivers, and the progress marks."""

import unittest

from harness import (ReplayCase, candidate, driver_pass, goal, mech, po, proving, report)


def mismatch(expected, found):
    return f"Unexpected number of results. Expected: {expected} Found: {found}\n"


class Grammar(ReplayCase):
    """Under trust always a recognised verdict shows as its mark; None marks a refused output."""

    ONE = [
        ("line", b"Proved\n", "+"),
        ("no line feed", b"Proved", "+"),
        ("disproved", b"Disproved\n", "!"),
        ("unknown", b"Unknown\n", "-"),
        ("white space at both ends", b"\n\t Proved \v\f\r\n\n", "+"),
        ("carriage return at the end", b"Proved\r\n", "+"),
        ("nothing", b"", "-"),
        ("only white space", b" \r\n\n \n", "-"),
        ("lower case", b"proved\n", "-"),
        ("unreliable is no verdict", b"UnreliablyProved\n", "-"),
        ("a word more", b"Proved it\n", "-"),
        ("NUL after", b"Proved\0\n", "-"),
        ("not UTF-8", b"\xff\xfe\x80\n", "-"),
        ("byte order mark", b"\xef\xbb\xbfProved\n", "-"),
        ("two verdicts", b"Proved\nProved\n", None),
        ("the last one closes the list", b"Proved\n", "+"),
    ]
    TWO = [
        ("both", b"Proved\nDisproved\n", "+!"),
        ("inner carriage return", b"Proved\r\nProved\r\n", "-+"),
        ("inner trailing blank", b"Proved \nProved\n", "-+"),
        ("inner leading blank", b"Proved\n Proved\n", "+-"),
        ("one unrecognised", b"(error)\nProved\n", "-+"),
        ("nothing", b"", None),
        ("an empty line first is no line", b"\nProved\n", None),
        ("an empty line between", b"Proved\n\nProved\n", None),
        ("blank line between counts", b"Unknown\n\n", None),
        ("last", b"Unknown\nDisproved", "-!"),
    ]
    STATUS = {"+": "Proved", "!": "Disproved"}

    def assertGrammar(self, rows, size, group, xml):
        self.answers({f"d1.{i}.0": answer for i, (_, answer, _) in enumerate(rows)}
                     | {"d1.*.1": b""})
        self.mechanism(self.driver(group=group), trust="always")
        self.pos(*[po(name, *[candidate() for _ in range(size)]) for name, _, _ in rows])
        counts = [answer.strip(b" \t\r\n\v\f").count(b"\n") + 1 for _, answer, _ in rows]
        marks = "".join(m or "" for _, _, m in rows)
        total = len(rows) * size
        self.replay(
            *(["-x"] if xml else []),
            err="".join(mismatch(size, n) for n, row in zip(counts, rows) if row[2] is None),
            out=("<proof>\n" if xml else "") + proving(xml=xml)
            + driver_pass("d1", total, [(name, m or "") for name, _, m in rows], xml)
            + report(proved=marks.count("+"), externally=marks.count("+"),
                     disproved=marks.count("!"), xml=xml,
                     unproved=total - marks.count("+") - marks.count("!")))

    def assertSaved(self, rows, size):
        """Recognised verdicts stand in the file, everything else is as it was."""
        def after(mark, line):
            if mark in self.STATUS:
                status = self.STATUS[mark]
                return goal(mech("m", status, d1=status), status=status)
            if line.strip() == b"Unknown":
                return goal(mech("m", "Unknown", d1="Unknown"))
            return candidate()

        def goals(answer, marks):
            lines = answer.strip().split(b"\n") if marks else [b""] * size
            return [after(*pair) for pair in zip(marks or " " * size, lines)]

        self.assertPos(*[po(name, *goals(answer, marks)) for name, answer, marks in rows])

    def test_verdicts(self):
        for rows, size, group in ((self.ONE, 1, "none"), (self.TWO, 2, "related")):
            for xml in (False, True):
                with self.subTest(size=size, xml=xml):
                    self.assertGrammar(rows, size, group, xml)
                    self.assertSaved(rows, size)

    def test_without_a_recognised_verdict_the_file_is_not_written(self):
        before = b"<Proof_Obligations><Proof_Obligation>\n<Tag>T</Tag></Proof_Obligation>" \
                 b"<Proof_Obligation><Tag>U</Tag><Simple_Goal><Mechanism name='m'>" \
                 b"<Driver name='d1' status='Proved'/></Mechanism></Simple_Goal>" \
                 b"</Proof_Obligation></Proof_Obligations>"
        self.write("comp.pos", before)
        self.answers({"*": "no"})
        self.mechanism()
        self.replay(out=proving() + driver_pass("d1", 1, [("T", ""), ("U", "-")])
                    + report(unproved=1))
        self.assertEqual(before, self.path("comp.pos").read_bytes())


class Trust(ReplayCase):
    """Three drivers replay each goal; a row tells their verdicts (P, U, D, or none recognised), the
    mark of each pass (blank: not selected), and the statuses at the end."""

    P, U, D, R = "Proved", "Unknown", "Disproved", "UnreliablyProved"
    ROWS = {
        "never": [
            ("P..", "*  ", R, R),
            ("UUP", "--*", R, R),
            ("UUU", "---", "Unknown", "Unproved"),
            ("UDP", "-! ", D, D),
            ("DPP", "!  ", D, D),
            ("???", "---", "Unproved", "Unproved"),
        ],
        "always": [
            ("PPP", "+  ", P, P),
            ("UUP", "--+", P, P),
            ("?P?", "-+ ", P, P),
            ("U?D", "--!", D, D),
        ],
        "redundancy": [
            ("PPP", "*+ ", P, P),
            ("PUP", "**+", P, P),
            ("UPP", "-*+", P, P),
            ("UUP", "--*", R, R),
            ("PUU", "**-", "Unknown", R),
            ("PUD", "**!", D, D),
            ("D..", "!  ", D, D),
            ("P??", "*--", R, R),
            ("UPU", "-*-", "Unknown", R),
            ("UUU", "---", "Unknown", "Unproved"),
        ],
    }
    VERDICT = {"P": P, "U": U, "D": D, "?": "what", ".": "not asked"}

    def test_next_statuses(self):
        for trust, rows in self.ROWS.items():
            for group in ("none", "full"):
                with self.subTest(trust=trust, group=group):
                    self.assertTrust(trust, group, rows)

    def assertTrust(self, trust, group, rows):
        drivers = ("d1", "d2", "d3")
        self.answers({f"{d}.{i}.0": self.VERDICT[verdicts[k]]
                      for i, (verdicts, *_) in enumerate(rows) for k, d in enumerate(drivers)})
        self.mechanism(*[self.driver(d, group=group) for d in drivers],
                       trust=None if trust == "never" else trust)
        self.pos(*[po(verdicts, candidate(*drivers)) for verdicts, *_ in rows])

        # Every goal that leaves unproved or unreliably proved behind is subtracted once more.
        passes, unproved = "", len(rows)
        for k, driver in enumerate(drivers):
            asked = [i for i, row in enumerate(rows) if row[1][k] != " "]
            shown = [(row[0], row[1][k].strip()) for row in rows[:asked[-1] + 1]] if asked else None
            passes += driver_pass(driver, unproved % 2**32, shown)
            unproved -= sum(self.advances(row, k) for row in rows)
        ends = [status for *_, status in rows]
        self.replay(out=proving() + passes + report(
            proved=ends.count(self.P), externally=sum(row[2] == self.P for row in rows),
            unreliably=ends.count(self.R), disproved=ends.count(self.D),
            unproved=ends.count("Unproved")))

        def last_word(verdicts, marks, k):
            said = self.VERDICT[verdicts[k]]
            return said if marks[k] != " " and said in (self.P, self.U, self.D) else "Proved"

        self.assertPos(*[
            po(verdicts, goal(mech("m", m, **{d: last_word(verdicts, marks, k)
                                              for k, d in enumerate(drivers)}), status=status))
            for verdicts, marks, m, status in rows])

    @staticmethod
    def advances(row, k):
        """Whether pass k changes the goal's own status: each of its proofs and disproofs does."""
        return row[1][k] != " " and row[0][k] in "PD"

    def test_the_count_of_unproved_goals_wraps(self):
        self.answers({"*": "Proved"})
        self.mechanism(*[self.driver(d) for d in ("d1", "d2", "d3")], trust="redundancy")
        self.pos(po("T", candidate("d1", "d2")))
        self.replay(out=proving() + driver_pass("d1", 1, [("T", "*")])
                    + driver_pass("d2", 0, [("T", "+")]) + driver_pass("d3", 4294967295)
                    + report(proved=1, externally=1))

    def test_the_last_driver_is_the_last_in_the_file(self):
        # Only its "Unknown" reaches the mechanism, whatever order the description has.
        self.mechanism(self.driver("d2"), self.driver("d1"))
        self.pos(po("T", candidate("d1", "d2"), candidate("d2", "d1")))
        self.replay(out=proving() + driver_pass("d2", 2, [("T", "--")])
                    + driver_pass("d1", 2, [("T", "--")]) + report(unproved=2))
        self.assertPos(po("T", goal(mech("m", "Unknown", d1="Unknown", d2="Unknown")),
                          goal(mech("m", "Unknown", d2="Unknown", d1="Unknown"))))

    def test_only_the_first_driver_of_a_name_is_updated(self):
        def goal_with(first, status="Unproved", m="Unproved"):
            part = mech("m", m, d1=first)
            part.extend(mech(d1="Proved"))
            return goal(part, status=status)

        self.answers({"*": "Disproved"})
        self.mechanism()
        self.pos(po("T", goal_with("Proved")))
        self.replay(out=proving() + driver_pass("d1", 1, [("T", "!")]) + report(disproved=1))
        self.assertPos(po("T", goal_with("Disproved", "Disproved", "Disproved")))


if __name__ == "__main__":
    unittest.main()
