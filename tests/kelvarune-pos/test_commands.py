"""The subcommands as people and scripts use them."""

import csv
import io
import json
import os
import pathlib
import pty
import resource
import signal
import subprocess
import unittest
import xml.etree.ElementTree as ET

from support import (LIMIT_S, PROGRAM, SLOWNESS, PosCase, component, goal, large, mech, obligations,
                     po)

SCHEMA = json.loads((pathlib.Path(__file__).parents[2] /
                     "tools/kelvarune-pos/schema.json").read_text())
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None),
         "integer": int}


def complaints(value, schema, where="$"):
    """What of the schema language schema.json uses; unknown members are complaints here, so that
    every member stays documented."""
    if "$ref" in schema:
        schema = SCHEMA["$defs"][schema["$ref"].rpartition("/")[2]] | {
            k: v for k, v in schema.items() if k not in ("$ref", "description")}
    found = []
    if "const" in schema and value != schema["const"]:
        found.append(f"{where}: {value!r} is not {schema['const']!r}")
    if "enum" in schema and value not in schema["enum"]:
        found.append(f"{where}: {value!r} is none of {schema['enum']}")
    if "anyOf" in schema and all(complaints(value, s, where) for s in schema["anyOf"]):
        found.append(f"{where}: {value!r} fits nothing")
    if "type" in schema and type(value) is not TYPES[schema["type"]]:
        return found + [f"{where}: {value!r} is no {schema['type']}"]
    if isinstance(value, int) and value < schema.get("minimum", value):
        found.append(f"{where}: {value} is too small")
    if isinstance(value, list):
        for i, item in enumerate(value):
            found += complaints(item, schema["items"], f"{where}[{i}]")
    if isinstance(value, dict):
        parts = [schema] + [SCHEMA["$defs"][p["$ref"].rpartition("/")[2]]
                            for p in schema.get("allOf", [])]
        members = {k: v for part in parts for k, v in part["properties"].items()}
        required = [name for part in parts for name in part["required"]]
        found += [f"{where}: no {name}" for name in required if name not in value]
        for name, item in value.items():
            found += (complaints(item, members[name], f"{where}.{name}") if name in members
                      else [f"{where}: undocumented {name}"])
    return found


class Reading(PosCase):
    def setUp(self):
        super().setUp()
        self.write("comp.pos", component())

    def test_text_of_list_stats_and_goals(self):
        self.assertEqual("smt\n  z3\n  cvc5\nrules\n  fast\n", self.expect("list", "comp.pos"))
        self.assertEqual("""\
comp.pos: 6 goals
  Proved            3  50.0 %    own proof 1, mechanisms 2, one driver alone 1
  UnreliablyProved  1  16.6 %
  Unproved          1  16.6 %
  Unknown           0   0.0 %
  Disproved         1  16.6 %

Verdicts  Proved  Unreliably  Unproved  Unknown  Disproved  Alone
rules          0           1         0        1          0      -
  fast         0           -         0        1          0      0
smt            2           0         1        0          1      -
  cvc5         2           -         0        2          0      0
  z3           3           -         0        0          1      1
""", self.expect("stats", "comp.pos"))
        self.assertEqual("""\
init.1.1  Proved            own Proved(1)
init.1.2  Proved            smt/z3
open.2.1  Proved            smt/z3, smt/cvc5
open.2.2  UnreliablyProved  rules/fast, (not counted: smt/z3)
open.2.3  Disproved         (not counted: smt/cvc5)
open.2.4  Unproved
""", self.expect("goals", "comp.pos"))

    def test_selection_of_goals(self):
        for args, want in [
            (["--status", "disproved,unproved"], ["open.2.3", "open.2.4"]),
            (["--status", "Unreliably-Proved"], ["open.2.2"]),
            (["--tag", "in*"], ["init.1.1", "init.1.2"]),
            (["--tag", "open.?", "--status", "proved"], ["open.2.1"]),
            (["--tag", "[i]*.1"], ["init.1.1", "init.1.2"]),
            (["--tag", "OPEN*"], []),
            (["--tag", "open"], []),
        ]:
            with self.subTest(args):
                rows = self.expect("goals", *args, "comp.pos").splitlines()
                self.assertEqual(want, [row.split()[0] for row in rows])

    def test_json_is_as_documented(self):
        self.write("new.pos", obligations(po("init.1", goal(), goal(), goal())))
        self.write("bad.pos", obligations(po("t", goal(mech(status="Huh")))))
        documents = {}
        for args, status in [(["list", "comp.pos"], 0), (["stats", "comp.pos"], 0),
                             (["goals", "comp.pos"], 0), (["check", "bad.pos"], 1),
                             (["diff", "comp.pos", "new.pos"], 1)]:
            document = json.loads(self.expect(*args, "--json", status=status))
            kind = SCHEMA["$defs"][args[0]]
            merged = {"type": "object", "required": SCHEMA["required"] + kind["required"],
                      "properties": SCHEMA["properties"] | kind["properties"]}
            self.assertEqual([], complaints(document, merged))
            documents[args[0]] = document
        self.assertEqual("comp", documents["stats"]["component"])
        self.assertEqual((6, 1), (documents["stats"]["totals"]["total"],
                                  documents["stats"]["totals"]["provedByOneDriver"]))
        z3 = documents["stats"]["mechanisms"][1]["drivers"][1]
        self.assertEqual(("z3", 3, 1), (z3["name"], z3["proved"], z3["provedAlone"]))
        self.assertEqual([{"mechanism": "smt", "driver": "z3"}],
                         documents["goals"]["goals"][3]["uncountedProofs"])
        self.assertIn("Huh", documents["check"]["violations"][0]["message"])
        self.assertEqual([2, 0, 0, 4, 1], [len(documents["diff"][kind]) for kind in (
            "lost", "gained", "changed", "disappeared", "appeared")])

    def test_csv_by_rfc_4180(self):
        nasty = 'a "quoted", tag'
        self.write("odd.pos", obligations(po(nasty, goal(mech("m,1", "Proved", d="Proved"),
                                                         status="Proved"))))
        text = self.expect("goals", "--csv", "odd.pos")
        self.assertTrue(text.endswith("\r\n") and text.count("\r\n") == 2, repr(text))
        rows = list(csv.DictReader(io.StringIO(text, newline=""), strict=True))
        self.assertEqual([(nasty, "1", "Proved", "m,1/d", "1")],
                         [(r["tag"], r["number"], r["status"], r["proved_by"],
                           r["proved_by_one_driver"]) for r in rows])
        rows = list(csv.DictReader(io.StringIO(self.expect("stats", "--csv", "comp.pos"))))
        self.assertEqual([("total", "", "", "3"), ("mechanism", "rules", "", "0"),
                          ("driver", "rules", "fast", "0"), ("mechanism", "smt", "", "2"),
                          ("driver", "smt", "cvc5", "2"), ("driver", "smt", "z3", "3")],
                         [(r["level"], r["mechanism"], r["driver"], r["proved"]) for r in rows])

    def test_goals_that_hang_on_one_driver(self):
        one = mech("a", "Proved", d="Proved", e="Unknown")
        for name, parts, state, want in [
            ("one driver", [one], "Unproved", 1),
            ("own proof too", [one], "Proved(0)", 0),
            ("two drivers", [mech("a", "Proved", d="Proved", e="Proved")], "Unproved", 0),
            ("two mechanisms", [one, mech("b", "Proved", d="Proved")], "Unproved", 0),
            ("a mechanism whose driver is not known", [one, mech("b", "Proved")], "Unproved", 0),
            ("only such a mechanism", [mech("b", "Proved")], "Unproved", 0),
            ("a second proof that was reset", [one, mech("b", "Unproved", d="Proved")],
             "Unproved", 1),
            ("an unreliable one besides", [one, mech("b", "UnreliablyProved", d="Proved")],
             "Unproved", 1),
        ]:
            with self.subTest(name):
                self.write("x.pos", obligations(po("t", goal(*parts, status="Proved",
                                                             state=state))))
                stats = json.loads(self.expect("stats", "--json", "x.pos"))
                self.assertEqual(want, stats["totals"]["provedByOneDriver"])


class Checking(PosCase):
    def test_lists_every_violation_with_its_place(self):
        self.write("comp.pos", """<r>
<Proof_Obligation><Tag>t</Tag>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved(0)"/></Simple_Goal>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved"/></Simple_Goal>
</Proof_Obligation>
<Proof_Obligation><Tag>u</Tag>
  <Simple_Goal status="Unknown"/>
  <Simple_Goal><iapa><status value="Maybe"/></iapa><Mechanism name="m"/></Simple_Goal>
  <Simple_Goal status="proved"><Mechanism name="m" status="Proved(1)">
    <Driver name="d" status=""/></Mechanism></Simple_Goal>
</Proof_Obligation></r>""")
        self.assertEqual("""\
comp.pos:4:31: t.2: the goal has status "Proved", from its parts follows "Unproved"
comp.pos:7:32: u.1: the goal has status "Unknown", from its parts follows "Unproved"
comp.pos:8:43: u.2: iapa has the unknown value "Maybe"
comp.pos:8:71: u.2: mechanism "m" has no status
comp.pos:9:31: u.3: the goal has the unknown status "proved"
comp.pos:9:70: u.3: mechanism "m" has the unknown status "Proved(1)"
comp.pos:10:31: u.3: driver "d" of mechanism "m" has the unknown status ""
comp.pos: 5 goals, 7 violations
""", self.expect("check", "comp.pos", status=1))

    def test_nothing_to_find(self):
        self.write("comp.pos", component())
        self.assertEqual("comp.pos: 6 goals, 0 violations\n", self.expect("check", "comp.pos"))
        self.write("empty.pos", "<r/>")
        self.assertEqual("empty.pos: 0 goals, 0 violations\n", self.expect("check", "empty.pos"))


class Writing(PosCase):
    def statuses(self, name="comp.pos"):
        root = ET.parse(self.root / name).getroot()
        return [(g.get("status"), {m.get("name"): m.get("status") for m in g.iter("Mechanism")})
                for g in root.iter("Simple_Goal")]

    def test_unprove(self):
        before = self.write("comp.pos", component()).read_bytes()
        said = self.expect("unprove", "--dry-run", "comp.pos")
        self.assertEqual((before, ["comp.pos"]), ((self.root / "comp.pos").read_bytes(),
                                                  self.files()))
        lines = ("init.1.2: Proved -> Unproved\nopen.2.1: Proved -> Unproved\n"
                 "open.2.2: UnreliablyProved -> Unproved\nopen.2.3: Disproved -> Unproved\n"
                 "comp.pos: verdicts of mechanisms in 5 goals and the status of 4 goals ")
        self.assertEqual(lines + "would change\n", said)
        self.assertEqual(lines + "changed; as it was: comp.pos~\n",
                         self.expect("unprove", "comp.pos"))
        self.assertEqual(before, (self.root / "comp.pos~").read_bytes())
        self.assertEqual(["Proved"] + ["Unproved"] * 5, [s for s, _ in self.statuses()])
        self.assertEqual({"Unproved"}, {m for _, ms in self.statuses() for m in ms.values()})
        # Once more: nothing happens, and the saved copy is not overwritten.
        self.assertIn("nothing to change", self.expect("unprove", "comp.pos"))
        self.assertEqual(before, (self.root / "comp.pos~").read_bytes())

    def test_remove(self):
        tree = component()
        tree.find(".//Simple_Goal[2]").append(mech("smt", "Proved", z3="Proved"))  # twice
        self.write("comp.pos", tree)
        self.expect("remove", "smt", "comp.pos")
        self.assertEqual([("Proved", {}), ("Unproved", {}), ("Unproved", {}),
                          ("UnreliablyProved", {"rules": "UnreliablyProved"}), ("Unproved", {}),
                          ("Unproved", {"rules": "Unknown"})], self.statuses())
        self.assertIn('no mechanism "smt", choose among rules',
                      self.refused("remove", "smt", "comp.pos"))

    def test_saved_bytes_are_the_same_every_time_and_keep_the_encoding(self):
        text = ('<?xml version="1.0" encoding="ISO-8859-1"?>\n<!-- kept -->\n'
                '<r zeta="1" alpha="2"><Proof_Obligation><Tag>\u00e9t\u00e9</Tag>'
                '<Simple_Goal status="Proved" c="3" b="2" a="1"/></Proof_Obligation></r>')
        saved = set()
        for _ in range(3):
            self.write("l1.pos", text.encode("latin-1"))
            self.assertIn("\u00e9t\u00e9.1: Proved -> Unproved", self.expect("unprove", "l1.pos"))
            saved.add((self.root / "l1.pos").read_bytes())
        self.assertEqual(1, len(saved))
        self.assertIn("<Tag>\u00e9t\u00e9</Tag>".encode("latin-1"), saved.pop())

    def test_a_link_stays_one_and_the_mode_stays(self):
        self.write("comp.pos", component()).chmod(0o640)
        os.symlink("comp.pos", self.root / "link.pos")
        self.expect("unprove", "link.pos")
        self.assertTrue((self.root / "link.pos").is_symlink())
        self.assertEqual(0o100640, os.stat(self.root / "comp.pos").st_mode)
        self.assertEqual("Unproved", self.statuses()[1][0])

    def test_refuses_what_it_does_not_understand_and_touches_nothing(self):
        unknown = obligations(po("t", goal(), goal(mech("m", "Huh", d="What"))))
        for name, content, want in [
            ("not well-formed", "<r>\n  <a></b></r>", r"x.pos:2:\d+: not well-formed: .+; "),
            ("empty", "", r"x.pos:1:\d+: not well-formed: .+; "),
            ("unknown", unknown, r'x.pos:9:\d+: goal t.2: mechanism "m" has the unknown status '
             r'"Huh" \(and 1 place more\); .*kelvarune-pos check'),
        ]:
            before = self.write("x.pos", content).read_bytes()
            commands = [["unprove", "x.pos"], ["remove", "m", "x.pos"], ["stats", "x.pos"],
                        ["diff", "x.pos", "x.pos"], ["report", "--html", "x.pos"]]
            for args in commands:
                with self.subTest(name, args=args):
                    self.assertRegex(self.refused(*args), want)
                    self.assertEqual((before, ["x.pos"]),
                                     ((self.root / "x.pos").read_bytes(), self.files()))

    def test_a_full_disk_changes_nothing(self):
        before = self.write("comp.pos", component()).read_bytes()

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (200, 200))

        self.assertIn("File too large; nothing was changed",
                      self.refused("unprove", "comp.pos", preexec_fn=limit))
        self.assertEqual((before, ["comp.pos"]),
                         ((self.root / "comp.pos").read_bytes(), self.files()))


class Comparing(PosCase):
    def test_each_kind_of_difference(self):
        def proved(status):
            return goal(status=status)

        self.write("old.pos", obligations(
            po("a", *map(proved, ["Proved", "Unproved", "Proved", "Unproved", "Unknown"])),
            po("gone", proved("Proved")), po("twice", proved("Proved")),
            po("twice", proved("Unproved"))))
        self.write("new.pos", obligations(
            po("new", proved("Proved")), po("twice", proved("Proved")),
            po("twice", proved("Proved")),
            po("a", *map(proved, ["UnreliablyProved", "UnreliablyProved", "Proved", "Disproved",
                                  "Unknown", "Unproved"]))))
        self.assertEqual("""\
lost         a.1      Proved    ->  UnreliablyProved
gained       a.2      Unproved  ->  UnreliablyProved
gained       twice.1  Unproved  ->  Proved
changed      a.4      Unproved  ->  Disproved
disappeared  gone.1   Proved    ->
appeared     a.6                ->  Unproved
appeared     new.1              ->  Proved
1 lost, 2 gained, 1 changed, 1 disappeared, 2 appeared
""", self.expect("diff", "old.pos", "new.pos", status=1))
        # A goal that is no more is no proof lost.
        self.write("less.pos", obligations(po("a", proved("Proved"))))
        self.expect("diff", "old.pos", "less.pos")


class JUnit(PosCase):
    def outcomes(self, *args):
        root = ET.fromstring(self.expect("report", "--junit", *args, "comp.pos"))
        for node in [root, *root.iter("testsuite")]:
            cases = list(node.iter("testcase"))
            self.assertEqual(
                [len(cases), sum(c.find("failure") is not None for c in cases),
                 sum(c.find("skipped") is not None for c in cases)],
                [int(node.get(k)) for k in ("tests", "failures", "skipped")], node.attrib)
        return {c.get("name"): next((o.tag for o in c if o.tag != "system-out"), "passed")
                for c in root.iter("testcase")}

    def test_outcomes(self):
        self.write("comp.pos", component())
        want = {"init.1.1": "passed", "init.1.2": "passed", "open.2.1": "passed",
                "open.2.2": "skipped", "open.2.3": "failure", "open.2.4": "skipped"}
        self.assertEqual(want, self.outcomes())
        self.assertEqual(want, self.outcomes("--unproved", "skipped"))
        self.assertEqual({k: "failure" if v == "skipped" else v for k, v in want.items()},
                         self.outcomes("--unproved=failed"))

    def test_output_to_a_file(self):
        before = self.write("comp.pos", component()).read_bytes()
        want = self.expect("report", "--junit", "comp.pos")
        self.assertEqual("", self.expect("report", "--junit", "-o", "out.xml", "comp.pos"))
        self.assertEqual(want, (self.root / "out.xml").read_text())
        self.refused("report", "--junit", "-o", "./comp.pos", "comp.pos")
        self.assertEqual(before, (self.root / "comp.pos").read_bytes())
        self.assertIn("no/out.xml", self.refused("report", "--junit", "-o", "no/out.xml",
                                                 "comp.pos"))


class CommandLine(PosCase):
    def test_help_and_version(self):
        commands = ["list", "stats", "goals", "check", "unprove", "remove", "diff", "report"]
        text = self.expect("--help")
        for command in commands:
            self.assertIn(f"\n  {command} ", text)
            self.assertIn(command, self.expect(command, "--help"))
        self.assertRegex(self.expect("--version"), r"\Akelvarune-pos \d+\.\d+\.\d+\n\Z")

    def test_what_is_refused(self):
        self.write("comp.pos", component())
        os.mkdir(self.root / "dir.pos")
        os.mkfifo(self.root / "fifo.pos")
        self.write("deep.pos", "<a>" * 5000 + "</a>" * 5000)
        for args, want in [
            ([], "command is missing"),
            (["lits", "comp.pos"], 'Unknown command "lits"'),
            (["--nonsense"], "nonsense"),
            (["list"], "list takes FILE"),
            (["list", "comp.pos", "comp.pos"], "list takes FILE"),
            (["remove", "comp.pos"], "remove takes NAME FILE"),
            (["diff", "comp.pos"], "diff takes OLD NEW"),
            (["list", "--csv", "comp.pos"], "csv"),
            (["stats", "--json", "--csv", "comp.pos"], "either --json or --csv"),
            (["check", "--dry-run", "comp.pos"], "dry-run"),
            (["goals", "--status", "proved,nope", "comp.pos"], 'status "nope"'),
            (["goals", "--status", "comp.pos"], "comp.pos"),
            (["report", "comp.pos"], "--html or --junit"),
            (["report", "--html", "--junit", "comp.pos"], "--html or --junit"),
            (["report", "--junit", "--unproved", "what", "comp.pos"], "skipped or failed"),
            (["list", "-"], "not a file"),
            (["unprove", "-"], "not a file"),
            (["list", "no.pos"], "no.pos: no such file"),
            (["list", "dir.pos"], "dir.pos: not a regular file"),
            (["list", "fifo.pos"], "fifo.pos: not a regular file"),
            (["remove", "x", "comp.pos"], 'no mechanism "x", choose among smt, rules'),
        ]:
            with self.subTest(args):
                self.assertIn(want, self.refused(*args))
        run = self.run_pos("list", "deep.pos")
        self.assertEqual((2, b"", 1), (run.returncode, run.stdout, run.stderr.count(b"\n")))

    def test_colours_only_on_a_terminal_that_wants_them(self):
        self.write("comp.pos", component())
        for env, coloured in [({"TERM": "xterm", "NO_COLOR": ""}, True),
                              ({"TERM": "xterm", "NO_COLOR": "1"}, False),
                              ({"TERM": "dumb", "NO_COLOR": ""}, False)]:
            ours, theirs = pty.openpty()
            self.run_pos("goals", "comp.pos", env=env, stdout=theirs)
            os.close(theirs)
            self.assertEqual(coloured, b"\x1b[" in os.read(ours, 4096), env)
            os.close(ours)
        self.assertNotIn("\x1b", self.expect("goals", "comp.pos", env={"TERM": "xterm"}))

    def test_control_characters_of_a_file_do_not_reach_a_terminal(self):
        self.write("comp.pos", "<r><Proof_Obligation><Tag>a&#27;[2Jb\nc</Tag><Simple_Goal/>"
                               "</Proof_Obligation></r>")
        self.assertEqual("a\ufffd[2Jb\ufffdc.1  Unproved\n", self.expect("goals", "comp.pos"))
        ET.fromstring(self.expect("report", "--junit", "comp.pos"))

    def test_output_that_nobody_takes(self):
        self.write("comp.pos", large(2000))
        with open("/dev/full", "wb") as full:
            self.assertIn("cannot write standard output",
                          self.refused("goals", "comp.pos", stdout=full))
        reader, writer = os.pipe()
        os.close(reader)
        run = self.run_pos("goals", "comp.pos", stdout=writer)
        os.close(writer)
        self.assertEqual((-signal.SIGPIPE, b""), (run.returncode, run.stderr))
        # Without any standard output the file that is opened must not take its place.
        before = (self.root / "comp.pos").read_bytes()
        script = f'exec "{PROGRAM}" stats comp.pos >&-'
        subprocess.run(["sh", "-c", script], cwd=self.root, timeout=LIMIT_S, check=True)
        self.assertEqual(before, (self.root / "comp.pos").read_bytes())


class Size(PosCase):
    def test_ten_thousand_goals(self):
        """A guard against work that grows faster than the file; times are measured elsewhere."""
        self.write("big.pos", large(10000))
        for args in [["list"], ["stats"], ["goals"], ["goals", "--json"], ["check"],
                     ["report", "--html"], ["report", "--junit"], ["unprove", "--dry-run"],
                     ["remove", "smt"], ["unprove"]]:
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.expect(*args, "big.pos")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            used = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
            self.assertLess(used, 4 * SLOWNESS, args)


if __name__ == "__main__":
    unittest.main()
