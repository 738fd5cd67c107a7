"""The tools of examples/smt alone, without provers: what smt-writer refuses, how it keeps goals
apart, and that smt-reader gives one honest verdict per goal whatever a prover prints.

Environment: KELVARUNE_EXAMPLES is the folder examples/.
"""

import os
import pathlib
import subprocess
import tempfile
import unittest

SMT = pathlib.Path(os.environ["KELVARUNE_EXAMPLES"]) / "smt"

GOALS = "(= x 1) ; not a ) here"
POG = f"""<pog component="c" logic="QF_LIA">
<declarations>(declare-const x Int)</declarations>
<obligation tag="A"><hypotheses>(> x 2) (> x 3)</hypotheses>
  <goal><conclusion>{GOALS}</conclusion></goal>
  <goal><declarations>(declare-const |a ) b| Bool)</declarations>
        <conclusion>(or |a ) b| (= "a"") ;" "x"))</conclusion></goal>
</obligation>
<obligation tag="B"><goal><conclusion>false</conclusion></goal></obligation>
</pog>"""


def run(tool, *arguments, stdin=b""):
    return subprocess.run([SMT / tool, *arguments], input=stdin, capture_output=True, timeout=60)


class Scratch(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.dir = pathlib.Path(directory.name)

    def file(self, name, content):
        path = self.dir / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def write(self, *arguments, pog=POG):
        """Runs the writer; returns the run and the file, which may not be there."""
        out = self.dir / "out.smt2"
        out.unlink(missing_ok=True)
        return run("smt-writer", *arguments, "-i", self.file("c.pog", pog), "-o", out), out


class Writer(Scratch):
    def lines(self, *arguments):
        result, out = self.write(*arguments)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return [line for line in out.read_text().splitlines() if line]

    def test_one_goal(self):
        self.assertEqual(
            self.lines("-a", "0", "0"),
            [";; smt-writer goals 1 model no", ";; goal 0 0", "(set-logic QF_LIA)",
             '(echo "goal 0 0")', "(declare-const x Int)", "(assert (> x 2))", "(assert (> x 3))",
             "(assert (not (= x 1)))", "(check-sat)", '(echo "end 0 0")'],
        )  # fmt: skip

    def test_quotes_hide_parentheses(self):
        lines = self.lines("-a", "0", "1")
        self.assertIn("(declare-const |a ) b| Bool)", lines)
        self.assertIn('(assert (not (or |a ) b| (= "a"") ;" "x"))))', lines)

    def test_several_goals_are_kept_apart(self):
        goals = ("-a", "1", "0", "-a", "0", "0")
        reset = self.lines(*goals, "--option", ":random-seed 3", "--logic=ALL")
        self.assertEqual(reset[:3], [";; smt-writer goals 2 model no", ";; goal 1 0", ";; goal 0 0"])
        setup = ["(set-option :random-seed 3)", "(set-logic ALL)"]
        self.assertEqual(reset[3:5], setup)
        starts = [at for at, line in enumerate(reset) if line == "(reset)"]
        self.assertEqual([reset[at + 1 : at + 3] for at in starts], [setup, setup])

        push = self.lines(*goals, "--separate", "push")
        shape = [line for line in push if line.split()[0] in ("(push", "(echo", "(pop", "(reset)")]
        self.assertEqual(
            shape,
            ["(push 1)", '(echo "goal 1 0")', '(echo "end 1 0")', "(pop 1)",
             "(push 1)", '(echo "goal 0 0")', '(echo "end 0 0")', "(pop 1)"],
        )  # fmt: skip

    def test_model(self):
        lines = self.lines("-a", "1", "0", "-m")
        self.assertLess(lines.index("(set-option :produce-models true)"),
                        lines.index("(set-logic QF_LIA)"))  # fmt: skip
        self.assertEqual(lines[-3:],
                         ['(echo "model 1 0")', "(get-model)", '(echo "end-model 1 0")'])  # fmt: skip

    def test_no_goal(self):
        _, out = self.write()
        self.assertEqual(self.lines()[0], ";; smt-writer goals 0 model no")
        result = run("smt-reader", "--file", out, stdin=b"unsat\n")
        self.assertEqual((result.returncode, result.stdout), (0, b""))

    def test_refused(self):
        def pog(goal, top=""):
            return f"<pog>{top}\n<obligation><goal>{goal}</goal></obligation></pog>"

        conclusion = "<conclusion>true</conclusion>"
        one = ("-a", "0", "0")
        for name, arguments, text, words in [
            ("no such obligation", ("-a", "2", "0"), POG, "no obligation 2"),
            ("no such goal", ("-a", "0", "18446744073709551615"), POG, "no goal 18446744073709551615"),
            ("negative index", ("-a", "0", "-1"), POG, '"-1" is not an index'),
            ("half an address", ("-a", "0"), POG, "not an index"),
            ("goal asked twice", (*one, *one), POG, "0 0 is asked for twice"),
            ("unknown argument", ("--modle",), POG, "unknown argument --modle"),
            ("separate", ("--separate=pull",), POG, "--separate is reset or push"),
            ("option that escapes", ("--option", ":a b) (exit"), POG, "bad value for --option"),
            ("option cut off", ("--option", ':a "b'), POG, "bad value for --option"),
            ("not XML", one, "<pog>\n<obligation", "c.pog:2: not well-formed XML"),
            ("other root", one, "<gop/>", "<gop> is not allowed at the top"),
            ("misspelt element", one, pog("<hypothesis/>"), "c.pog:2: <hypothesis> is not allowed"),
            ("misspelt attribute", one, "<pog><obligation tga=''/></pog>", 'no attribute "tga"'),
            ("stray text", one, pog("true"), "text is not allowed directly in <goal>"),
            ("no conclusion", one, pog(""), "has one conclusion, this one has 0"),
            ("open", one, pog("<conclusion>(a</conclusion>"), "closing parenthesis is missing"),
            ("closed too often", one, pog("<conclusion>true)) (check-sat</conclusion>"),
             "closing parenthesis too many"),
            ("open string", one, pog('<conclusion>(a "b)</conclusion>'), 'closing " is missing'),
            ("open symbol", one, pog("<conclusion>(a |b)</conclusion>"), "closing | is missing"),
            ("command", one, pog(conclusion, "<declarations>(check-sat)</declarations>"),
             "c.pog:1: not a declaration: (check-sat)"),
        ]:  # fmt: skip
            with self.subTest(name):
                result, out = self.write(*arguments, pog=text)
                self.assertEqual((result.returncode, result.stdout), (1, b""))
                message = result.stderr.decode()
                self.assertTrue(message.startswith("smt-writer: "), message)
                self.assertEqual(message.count("\n"), 1)
                self.assertIn(words, message)
                self.assertFalse(out.exists())

    def test_unreadable_and_unwritable(self):
        pog = self.file("c.pog", POG)
        for arguments, words in [
            (("-i", self.dir / "none", "-o", self.dir / "o"), "cannot read"),
            (("-i", pog, "-o", self.dir / "none" / "o"), "cannot write"),
            (("-i", pog), "-o is missing"),
        ]:
            result = run("smt-writer", *arguments)
            self.assertEqual(result.returncode, 1)
            self.assertIn(words, result.stderr.decode())


def section(goal, *lines, end=True):
    return "\n".join([f"goal {goal}", *lines] + ([f"end {goal}"] if end else [])) + "\n"


class Reader(Scratch):
    """Goals 0 0, 0 1 and 2 0, in this order, unless a test says otherwise."""

    def setUp(self):
        super().setUp()
        _, self.asked = self.write("-a", "0", "0", "-a", "0", "1", "-a", "1", "0")

    def verdicts(self, output, *arguments):
        data = output if isinstance(output, bytes) else output.encode()
        result = run("smt-reader", "--file", self.asked, *arguments, stdin=data)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertTrue(result.stdout.endswith(b"\n"))
        return result.stdout.decode()[:-1].split("\n")

    def test_verdicts(self):
        a, b, c = (section(goal, "unsat") for goal in ("0 0", "0 1", "1 0"))
        sat = section("0 1", "sat")
        z3_error = section("0 1", '(error "line 13 column 17: unknown constant foo")', "sat")
        cvc5_error = 'goal 0 1\n(error "Parse Error: x.smt2:3.1\n\n  (a\n   ^\n")\n'
        rubbish = bytes(range(256)) * 40
        for name, output, expected in [
            ("all", a + b + c, "PPP"),
            ("quoted echoes, carriage returns", (a + b + c).replace("goal 0 1", '"goal 0 1"')
             .replace("end 0 1", '"end 0 1"').replace("\n", "\r\n"), "PPP"),
            ("other order", c + a + b, "PPP"),
            ("nothing", "", "UUU"),
            ("sat means nothing", a + sat + c, "PUP"),
            ("unknown, timeout", section("0 0", "unknown") + section("0 1", "timeout") + c, "UUP"),
            ("first missing", b + c, "UPP"),
            ("error, then an answer", a + z3_error + c, "PUP"),
            ("stopped at an error", a + cvc5_error, "PUU"),
            ("error outside goals", a + '(error "pop: no push")\n' + b + c, "UUU"),
            ("run ended by its time limit", a + "goal 0 1\ntimeout\n", "PUU"),
            ("killed within an answer", a + "goal 0 1\nuns", "PUU"),
            ("no end, goes on", section("0 0", "unsat", end=False) + b + c, "UPP"),
            ("end without a begin", "unsat\nend 0 0\n" + b + c, "UPP"),
            ("contradiction", section("0 0", "sat", "unsat") + b + c, "UPP"),
            ("no answer", section("0 0") + b + c, "UPP"),
            ("a goal twice", a + b + c + a, "UPP"),
            ("an end out of place", "goal 0 0\nunsat\n" + b + "end 0 0\n" + c, "UPP"),
            ("two begins", "goal 0 0\n" + a + b + c, "UPP"),
            ("a goal within a goal", "goal 0 0\n" + b + "unsat\nend 0 0\n" + c, "UPP"),
            ("a goal nobody asked for", a + section("7 7", "sat") + b + c, "PPP"),
            ("words around", section("0 0", "WARNING: odd", "unsat", "; done") + b + c, "PPP"),
            ("more than an answer", section("0 0", "unsat.") + b + section("1 0", "UNSAT"), "UPU"),
            ("NUL in an answer", section("0 0", "unsat\0") + b + c, "UPP"),
            ("rubbish between", a.encode() + rubbish + b"\n" + b.encode() + c.encode(), "PPP"),
            ("a long line", a + "x" * 5_000_000 + "\n" + b + c, "PPP"),
        ]:
            with self.subTest(name):
                words = {"P": "Proved", "U": "Unknown"}
                self.assertEqual(self.verdicts(output), [words[e] for e in expected])

    def test_sat_is_a_disproof_only_when_asked_for(self):
        output = section("0 0", "sat") + section("0 1", "(error x)", "sat") + section("1 0", "unsat")
        for option in (["--sat=Disproved"], ["--sat", "Disproved"]):
            self.assertEqual(self.verdicts(output, *option), ["Disproved", "Unknown", "Proved"])
        self.assertEqual(self.verdicts(output)[0], "Unknown")

    def test_model_after_the_verdict(self):
        model = "(\n  (define-fun x () Int\n    0)\n)\n"

        def output(answer, text):
            return section("0 0", answer) + "model 0 0\n" + text + "end-model 0 0\n"

        self.assertEqual(self.verdicts(output("sat", model)), ["Unknown"] * 3, "not asked for")
        _, self.asked = self.write("-a", "0", "0", "-m")
        lines = model.splitlines()
        self.assertEqual(self.verdicts(output("sat", model), "--sat=Disproved"),
                         ["Disproved", *lines])  # fmt: skip
        self.assertEqual(self.verdicts(output("unknown", model)), ["Unknown", *lines])
        # z3 complains and goes on, cvc5 complains and stops.
        complaint = '(error "no model")\n'
        self.assertEqual(self.verdicts(output("unsat", complaint)), ["Proved"])
        self.assertEqual(self.verdicts(section("0 0", "unsat") + "model 0 0\n" + complaint), ["Proved"])

    def test_refused(self):
        asked = self.asked.read_bytes()
        for name, arguments, words in [
            ("no file named", [], "--file is missing"),
            ("no file", ["--file", self.dir / "none"], "cannot read"),
            ("empty", ["--file", self.file("empty", b"")], "not written by smt-writer"),
            ("rubbish", ["--file", self.file("bad", bytes(range(256)))], "not written by"),
            ("cut off", ["--file", self.file("cut", asked[: asked.index(b";; goal 1 0")])], "cut off"),
            ("bad --sat", ["--file", self.asked, "--sat=Proved"], "--sat is Unknown or Disproved"),
            ("unknown argument", ["--file", self.asked, "-x"], "unknown argument -x"),
        ]:
            with self.subTest(name):
                result = run("smt-reader", *arguments, stdin=section("0 0", "unsat").encode())
                self.assertEqual((result.returncode, result.stdout), (1, b""))
                self.assertTrue(result.stderr.startswith(b"smt-reader: "), result.stderr)
                self.assertIn(words, result.stderr.decode())


class Pos(Scratch):
    def test_committed_files_are_those_that_the_pog_and_the_history_make(self):
        for name, history in [
            ("fresh.pos", ()),
            ("ringbuffer.pos", ("--history", SMT / "ringbuffer.history")),
        ]:
            made = self.dir / name
            result = run("smt-pos", "-i", SMT / "ringbuffer.pog", "-o", made, *history)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertEqual(made.read_text(), (SMT / name).read_text(), name)

    def test_refused(self):
        pog = self.file("c.pog", POG)
        for line in ["A 2 process Proved(0)", "C 0 process Proved(0)", "A 0 m d=Proved", "A", "A x p q"]:
            history = self.file("h", f"mechanism m other\n{line}\n")
            result = run("smt-pos", "-i", pog, "-o", self.dir / "o", "--history", history)
            self.assertEqual(result.returncode, 1, line)
            self.assertIn("h:2: ", result.stderr.decode())
            self.assertFalse((self.dir / "o").exists())


if __name__ == "__main__":
    unittest.main()
