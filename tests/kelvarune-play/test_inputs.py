"""Unusable command lines and inputs: lines that name the file, the place and the remedy, status 2,
and not a byte changed on the disk."""

import ctypes
import unittest

from harness import FILES, goal, po
from playcase import PlayCase

PR_CAPBSET_DROP = 24
CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH = 1, 2


def respect_permissions():
    """For preexec_fn: takes from root what lets it read and write everything."""
    for capability in (CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH):
        ctypes.CDLL(None).prctl(PR_CAPBSET_DROP, capability, 0, 0, 0)


class Inputs(PlayCase):
    def setUp(self):
        super().setUp()
        self.mechanism()
        self.pos(po("T0", goal(), goal()))

    def files(self):
        """Everything of the scratch directory but what the runner itself writes."""
        return {path: (path.is_file() and path.read_bytes(), path.stat().st_mtime_ns)
                for path in self.root.rglob("*") if path.name not in ("stdout", "stderr")}

    def assertRefused(self, lines, *more):
        before = self.files()
        self.expect("-m", "m.xml", *FILES, *more, status=2, out="",
                    err="".join(f"kelvarune-play: {line}\n" for line in lines))
        self.assertEqual(before, self.files())
        self.assertEqual([], self.calls("writer"))

    def test_command_line(self):
        rows = {
            "nothing": ([], "The options --pos, --pog and --directory are needed."),
            "no mechanism": (FILES, "Either --mechanism or --mechanism-directory is needed, and "
                                    "not both."),
            "both": (["-m", "m.xml", "-M", ".", *FILES],
                     "Either --mechanism or --mechanism-directory is needed, and not both."),
            "nothing in there": (["-M", "work", *FILES],
                                 "No mechanism description (*.xml) in work."),
            "jobs": (["-m", "m.xml", *FILES, "-c", "0"],
                     "The concurrency must be a number from 1."),
            "many jobs": (["-m", "m.xml", *FILES, "-c", "many"],
                          "The concurrency must be a number from 1."),
            "trace": (["-m", "m.xml", *FILES, "-t", "x"], "The trace level must be a number."),
            "unknown": (["--slow"], "Unknown option 'slow'."),
            "incomplete": (["-m"], "Missing value after '-m'."),
            "stray": (["-m", "m.xml", *FILES, "extra"], "Unexpected argument 'extra'."),
            # As of an unset variable: it must not play everything.
            "empty": (["-m", "m.xml", *FILES, "--goal", ""],
                      "The options --driver and --goal need a value that is not empty."),
        }
        before = self.files()
        for name, (args, line) in rows.items():
            with self.subTest(name):
                self.expect(*args, status=2, out="", err=f"kelvarune-play: {line} Try --help.\n")
                self.assertEqual(before, self.files())

    def test_files_that_are_not_there(self):
        rows = {
            "-s no.pos": ["no.pos: no such file; --pos names the status file."],
            "-p no.pog": ["no.pog: no readable file; --pog names the obligations."],
            "-m no.xml": ["no.xml: cannot be read; --mechanism names a description file."],
            "-d no": ["no: no such directory; create it or change --directory."],
            "-d m.xml": ["m.xml: no such directory; create it or change --directory."],
            "-r no.res": ["no.res: no readable file; --resources names resource files."],
            "-i no": ["no: no such directory; --installdir names directories of tools."],
            "-s no.pos -d no": ["no.pos: no such file; --pos names the status file.",
                                "no: no such directory; create it or change --directory."],
        }
        for words, lines in rows.items():
            with self.subTest(words):
                self.assertRefused(lines, *words.split())

    def test_permissions(self):
        rows = [("comp.pos", 0o444, "not writable, results could not be saved; allow writing."),
                ("comp.pos", 0o222, "cannot be read; allow reading."),
                ("comp.pog", 0o222, "no readable file; --pog names the obligations."),
                ("m.xml", 0o222, "cannot be read; --mechanism names a description file."),
                ("work", 0o555, "not writable; --directory takes temporary files."),
                ("work", 0o666, "not writable; --directory takes temporary files.")]
        before = self.files()
        for name, mode, fault in rows:
            with self.subTest(name=name, mode=oct(mode)):
                usual = self.path(name).stat().st_mode
                self.addCleanup(self.path(name).chmod, usual)
                self.path(name).chmod(mode)
                run = self.run_program("-m", "m.xml", *FILES, preexec_fn=respect_permissions)
                self.path(name).chmod(usual)
                self.check(run, status=2, out="", err=f"kelvarune-play: {name}: {fault}\n")
                self.assertEqual(before, self.files())

    def test_status_files(self):
        def malformed(place, fault):
            return [f"comp.pos:{place}: not well-formed XML ({fault}); restore the file, perhaps "
                    "from comp.pos~."]

        # A place is that of the end of a tag.
        def unknown(place, text):
            return (f"comp.pos:{place}: unknown status '{text}' in goal 2 of obligation T0; "
                    "correct it.")
        rows = {
            "truncated": ("<Proof_Obligations>\n <Proof_Obligation>\n",
                          malformed("3:1", "unexpected end of file")),
            "wrong end": ("<Proof_Obligations>\n <a></b>\n</Proof_Obligations>",
                          malformed("2:8", "tag mismatch")),
            "empty": ("", malformed("1:1", "unexpected end of file")),
            "every level": (
                b"<Proof_Obligations>\n<Proof_Obligation><Tag>T0</Tag><Simple_Goal/>\n"
                b'<Simple_Goal status="a">\n<Mechanism name="m" status="b">\n'
                b'<Driver name="d1" status="c"/></Mechanism>'
                b"</Simple_Goal></Proof_Obligation></Proof_Obligations>",
                [unknown("3:24", "a"), unknown("4:31", "b"), unknown("5:29", "c")]),
        }
        for name, (content, lines) in rows.items():
            with self.subTest(name):
                self.write("comp.pos", content)
                self.assertRefused(lines)

    def test_filters_that_match_nothing(self):
        self.mechanism(self.driver("d1"), self.driver("d2"))
        rows = {
            "--driver d3": "no such driver; there are d1, d2.",
            "--goal T1.1": "no obligation of comp.pos has the tag T1.",
            "--goal T0.3": "obligation T0 of comp.pos has 2 goal(s).",
        }
        for text in ("T0", "T0.", "T0.0", "T0.-1", "T0.x", "T0.1.1"):
            rows["--goal " + text] = "must be TAG.N, with N counted from 1 and one dot only."
        for words, fault in rows.items():
            with self.subTest(words):
                self.assertRefused([f"{words}: {fault}"], *words.split())

    def test_mechanisms(self):
        tools = '<writer path="/bin/sh"/><prover path="/bin/sh">{}</prover><reader path="/bin/sh"/>'
        rows = {
            "truncated": ("<mechanism>\n", ["bad.xml:2:1: not well-formed XML (unexpected end of "
                                            "file); correct it."]),
            "something else": ("<html/>", ["bad.xml: has no element 'mechanism'; it is no "
                                           "mechanism description."]),
            "words": ('<mechanism trust="often">\n<driver name="d" group="all">'
                      + tools.format("") + "</driver></mechanism>",
                      ["bad.xml:1:25: trust 'often' does not exist; there are always, never, "
                       "redundancy.",
                       "bad.xml:2:29: group 'all' does not exist; there are full, none, related."]),
            "definition": ("<mechanism><driver>" + tools.format('<expand name="x"/>')
                           + "</driver></mechanism>",
                           ["bad.xml: an 'expand' names a definition that does not exist; only "
                            "the first 'definition' counts."]),
            "no tools": ('<mechanism>\n<driver name="d"/></mechanism>',
                         [f"bad.xml:2:17: {role} of driver d is missing; describe it."
                          for role in ("writer", "prover", "reader")]),
        }
        for name, (content, lines) in rows.items():
            with self.subTest(name):
                self.write("bad.xml", content)
                # A good one before it must not be played either.
                self.assertRefused(lines, "-m", "bad.xml")

    def test_all_missing_tools_and_where_they_were_looked_for(self):
        self.path("here").mkdir()
        self.path("there").mkdir()
        self.write("site.res", "MVL*Proof*Reader: /opt/reader\n")
        self.write("bad.xml", """<mechanism>
<driver name="d1">
<writer path="writer"/>
<prover path="/opt/prover"/>
<reader path="reader" resource="Reader"/>
</driver>
<driver name="d2">
<writer path="/bin/sh"/>
<prover path="m.xml"/>
<reader path="/bin/sh"/>
</driver>
</mechanism>""")
        remedy = "; install it, or name its place with --installdir or a resource file."

        def missing(place, role, looked):
            return f"bad.xml:{place}: {role} not found; looked for the executable {looked}{remedy}"
        self.assertRefused([
            missing("3:22", "writer of driver d1", f"writer in here, there, {self.root}"),
            missing("4:27", "prover of driver d1", "/opt/prover"),
            missing("5:40", "reader of driver d1", "/opt/reader"),
            missing("9:21", "prover of driver d2", f"m.xml in here, there, {self.root}"),
        ], "-m", "bad.xml", "-i", "here", "-i", "there", "-r", "site.res")


if __name__ == "__main__":
    unittest.main()
