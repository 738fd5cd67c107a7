"""The subcommands as people and scripts use them."""

import csv
import io
import json
import os
import pathlib
import signal
import xml.etree.ElementTree as ET

import jsonschema
import pytest
from conftest import LIMIT_S, SLOWNESS, element, goal, mech, obligations, po, rows

PROGRAM = "kelvarune-pos"
SCHEMA = pathlib.Path(__file__).parents[2] / "tools/kelvarune-pos/schema.json"


def component():
    """Every kind of goal once; consistent."""
    return obligations(
        po("init.1",
           goal(state="Proved(1)", status="Proved"),
           goal(mech("smt", "Proved", z3="Proved", cvc5="Unknown"), status="Proved")),
        po("open.2",
           goal(mech("smt", "Proved", z3="Proved", cvc5="Proved"), status="Proved"),
           goal(mech("smt", "Unproved", z3="Proved", cvc5="Unknown"),
                mech("rules", "UnreliablyProved", fast="UnreliablyProved"),
                status="UnreliablyProved"),
           goal(mech("smt", "Disproved", z3="Disproved", cvc5="Proved"), status="Disproved"),
           goal(mech("rules", "Unknown", fast="Unknown"))))


def large(count):
    """`count` goals in obligations of ten, as a component of that size has them."""
    def one(verdict, status):
        return goal(mech("smt", status, z3=verdict, cvc5="Unknown"), mech("rules", fast="Unknown"),
                    element("Hypotheses", text="h1 h2 h3 h4 " * 20), status=status)
    made = [one("Proved", "Proved") if i % 7 else one("Unknown", "Unproved") for i in range(count)]
    return obligations(*[po(f"op{i % 9}.{i // 10}", *made[i:i + 10]) for i in range(0, count, 10)])


@pytest.fixture
def comp(case):
    case.write("comp.pos", ET.tostring(component()))
    return case


def refused(case, *args, **options):
    """The one line of a run that printed nothing else, and changed nothing."""
    def files():
        return {path.name: path.read_bytes() for path in case.root.glob("*.pos*")}
    before = files()
    line = case.run(*args, status=2, out="", err=None, **options).err.decode()
    assert line.startswith("kelvarune-pos: ") and line.count("\n") == 1 and files() == before, line
    return line


@rows("command, text", {
    "list": ("list", "smt\n  z3\n  cvc5\nrules\n  fast\n"),
    "goals": ("goals", """\
init.1.1  Proved            own Proved(1)
init.1.2  Proved            smt/z3
open.2.1  Proved            smt/z3, smt/cvc5
open.2.2  UnreliablyProved  rules/fast, (not counted: smt/z3)
open.2.3  Disproved         disproved by smt/z3, (not counted: smt/cvc5)
open.2.4  Unproved
"""),
    "check": ("check", "comp.pos: 6 goals, 0 violations\n")})
def test_text(comp, command, text):
    comp.run(command, "comp.pos", out=text)


@rows("args, goals", {
    "status": (["--status", "disproved,unproved"], ["open.2.3", "open.2.4"]),
    "both": (["--tag", "open.?", "--status", "proved"], ["open.2.1"]),
    "set": (["--tag", "[i]*.1"], ["init.1.1", "init.1.2"]), "case": (["--tag", "OPEN*"], [])})
def test_selection_of_goals(comp, args, goals):
    lines = comp.run("goals", *args, "comp.pos").out.decode().splitlines()
    assert [line.split()[0] for line in lines] == goals


def closed(part):
    """This part of the schema, without room for members that it does not document."""
    return part | ({"unevaluatedProperties": False} if "properties" in part else {})


def test_json_is_as_documented(comp):
    schema = json.loads(SCHEMA.read_text(), object_hook=closed)
    for name in ("list", "stats", "goals", "check", "diff", "place"):  # parts of others
        del schema["$defs"][name]["unevaluatedProperties"]
    comp.write("new.pos", ET.tostring(obligations(po("init.1", goal(), goal(), goal()))))
    comp.write("bad.pos", ET.tostring(obligations(po("t", goal(mech(status="Huh"))))))
    seen = {}
    for command in ("list comp.pos", "stats comp.pos", "goals comp.pos", "check bad.pos",
                    "diff comp.pos new.pos"):
        kind, *files = command.split()
        seen[kind] = json.loads(comp.run(kind, *files, "--json", status=None).out)
        jsonschema.Draft202012Validator(schema).validate(seen[kind])
    z3 = seen["stats"]["mechanisms"][1]["drivers"][1]
    assert (z3["name"], z3["proved"], z3["provedAlone"]) == ("z3", 3, 1)
    assert seen["goals"]["goals"][3]["uncountedProofs"] == [{"mechanism": "smt", "driver": "z3"}]
    assert seen["goals"]["goals"][4]["disprovedBy"] == [{"mechanism": "smt", "driver": "z3"}]
    assert "Huh" in seen["check"]["violations"][0]["message"]
    assert [len(seen["diff"][kind]) for kind in (
        "lost", "gained", "changed", "disappeared", "appeared")] == [2, 0, 0, 4, 1]


def test_csv_by_rfc_4180(comp):
    def read(*args):
        text = comp.run(*args, "--csv", "comp.pos").out.decode()
        assert text.endswith("\r\n") and text.count("\r\n") == text.count("\n"), repr(text)
        return list(csv.DictReader(io.StringIO(text, newline=""), strict=True))
    assert [r["proved"] for r in read("stats")] == list("300223")
    nasty = 'a "quoted", tag'
    comp.pos(po(nasty, goal(mech("m,1", "Proved", d="Proved"), status="Proved")))
    assert [(r["tag"], r["number"], r["proved_by"], r["proved_by_one_driver"])
            for r in read("goals")] == [(nasty, "1", "m,1/d", "1")]


ONE = mech("a", "Proved", d="Proved", e="Unknown")


@rows("parts, state, count", {
    "one driver": ([ONE], "Unproved", 1), "own proof too": ([ONE], "Proved(0)", 0),
    "a second proof that was reset": ([ONE, mech("b", d="Proved")], "Unproved", 1),
    "an unreliable one besides": ([ONE, mech("b", "UnreliablyProved", d="Proved")], "Unproved", 1)})
def test_goals_that_hang_on_one_driver(case, parts, state, count):
    case.pos(po("t", goal(*parts, status="Proved", state=state)))
    stats = json.loads(case.run("stats", "--json", "comp.pos").out)
    assert stats["totals"]["provedByOneDriver"] == count


def test_check_lists_every_violation_with_its_place(case):
    case.write("comp.pos", """<Proof_Obligations><Proof_Obligation><Tag>t</Tag>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved(0)"/></Simple_Goal>
  <Simple_Goal status="Proved"><Proof_State proofState="Proved"/></Simple_Goal>
</Proof_Obligation><Proof_Obligation><Tag>u</Tag>
  <Simple_Goal><iapa><status value="Maybe"/></iapa><Mechanism name="m"/></Simple_Goal>
  <Simple_Goal status="proved"><Mechanism name="m" status="Proved(1)">
    <Driver name="d" status=""/></Mechanism></Simple_Goal></Proof_Obligation></Proof_Obligations>""")
    case.run("check", "comp.pos", status=1, out="""\
comp.pos:3:31: t.2: the goal has status "Proved", from its parts follows "Unproved"
comp.pos:5:43: u.1: iapa has the unknown value "Maybe"
comp.pos:5:71: u.1: mechanism "m" has no status
comp.pos:6:31: u.2: the goal has the unknown status "proved"
comp.pos:6:70: u.2: mechanism "m" has the unknown status "Proved(1)"
comp.pos:7:31: u.2: driver "d" of mechanism "m" has the unknown status ""
comp.pos: 4 goals, 6 violations
""")


def statuses(case):
    root = ET.parse(case.path("comp.pos")).getroot()
    return [[g.get("status")] + [m.get("status") for m in g.iter("Mechanism")]
            for g in root.iter("Simple_Goal")]


def test_unprove(comp):
    before = comp.path("comp.pos").read_bytes()
    lines = ("init.1.2: Proved -> Unproved\nopen.2.1: Proved -> Unproved\n"
             "open.2.2: UnreliablyProved -> Unproved\nopen.2.3: Disproved -> Unproved\n"
             "comp.pos: verdicts of mechanisms in 5 goals and the status of 4 goals ")
    comp.run("unprove", "--dry-run", "comp.pos", out=lines + "would change\n")
    assert comp.path("comp.pos").read_bytes() == before and not comp.path("comp.pos~").exists()
    comp.run("unprove", "comp.pos", out=lines + "changed; as it was: comp.pos~\n")
    assert [goal[0] for goal in statuses(comp)] == ["Proved"] + ["Unproved"] * 5
    assert {verdict for goal in statuses(comp) for verdict in goal[1:]} == {"Unproved"}
    # Once more: nothing happens, and the saved copy is not overwritten.
    comp.run("unprove", "comp.pos", out="comp.pos: nothing to change\n")
    assert comp.path("comp.pos~").read_bytes() == before


def test_remove(comp):
    comp.run("remove", "smt", "comp.pos")
    assert statuses(comp) == [["Proved"], ["Unproved"], ["Unproved"], ["UnreliablyProved"] * 2,
                              ["Unproved"], ["Unproved", "Unknown"]]


@rows("content, line", {
    "not well-formed": ("<r>\n  <a></b></r>", "comp.pos:2:9: not well-formed: tag mismatch; "),
    "another document": ("<pog/>", "comp.pos:1:5: no status file: its root element is pog, not "),
    "unknown": (ET.tostring(obligations(po("t", goal(), goal(mech("m", "Huh", d="What"))))),
                'goal t.2: mechanism "m" has the unknown status "Huh" (and 1 place more); ')})
def test_refuses_what_it_does_not_understand(case, content, line):
    case.write("comp.pos", content)
    for args in ("unprove", "remove m", "stats", "diff comp.pos", "report --html"):
        assert line in refused(case, *args.split(), "comp.pos")


def test_a_full_disk_changes_nothing(comp):
    assert "File too large; nothing was changed" in refused(
        comp, "unprove", "comp.pos",
        under=("env", "--ignore-signal=XFSZ", "prlimit", "--fsize=200"))


def test_each_kind_of_difference(case):
    def write(name, *tags):
        case.write(name, ET.tostring(obligations(*[
            po(tag, *[goal(status=status) for status in statuses]) for tag, *statuses in tags])))
    p, r, u, d, k = "Proved", "UnreliablyProved", "Unproved", "Disproved", "Unknown"
    write("old.pos", ("a", p, u, p, u, k), ("gone", p), ("twice", u), ("twice", u))
    write("new.pos", ("new", p), ("twice", p), ("twice", u), ("a", r, r, p, d, k, u))
    case.run("diff", "old.pos", "new.pos", status=1, out="""\
lost         a.1      Proved    ->  UnreliablyProved
gained       a.2      Unproved  ->  UnreliablyProved
gained       twice.1  Unproved  ->  Proved
changed      a.4      Unproved  ->  Disproved
disappeared  gone.1   Proved    ->
appeared     a.6                ->  Unproved
appeared     new.1              ->  Proved
1 lost, 2 gained, 1 changed, 1 disappeared, 2 appeared
""")
    write("less.pos", ("a", p))
    case.run("diff", "old.pos", "less.pos")  # a goal that is no more is no proof lost


@rows("args, line", {line: (args.split(), line) for args, line in {
    "": "command is missing",
    "stats --json --csv comp.pos": "either --json or --csv",
    "report --junit -o ./comp.pos comp.pos": "comp.pos",
    "remove x comp.pos": 'no mechanism "x", choose among smt, rules'}.items()})
def test_what_is_refused(comp, args, line):
    assert line in refused(comp, *args)


def test_control_characters_of_a_file_do_not_reach_a_terminal(case):
    case.pos(po("a&#27;[2Jb\nc", goal()))
    comp = case.path("comp.pos")
    comp.write_text(comp.read_text().replace("&amp;", "&"))
    case.run("goals", "comp.pos", out="a\ufffd[2Jb\ufffdc.1  Unproved\n")


def test_output_that_nobody_takes(case):
    case.write("comp.pos", ET.tostring(large(2000)))
    with open("/dev/full", "wb") as full:
        assert "cannot write standard output" in refused(case, "goals", "comp.pos", stdout=full)
    reader, writer = os.pipe()
    os.close(reader)
    case.run("goals", "comp.pos", stdout=writer, status=-signal.SIGPIPE,
             under=("env", "--ignore-signal=PIPE"))
    os.close(writer)
    # Without any standard output the file that is opened must not take its place.
    before = case.path("comp.pos").read_bytes()
    case.run("stats", "comp.pos", under=("sh", "-c", 'exec "$@" >&-', "sh"))
    assert case.path("comp.pos").read_bytes() == before


def test_a_large_file(case):
    """Work that grows faster than the file does not come to its end within the processor time."""
    thousand = ET.tostring(large(1000)).decode()[len("<Proof_Obligations>"):]
    case.write("comp.pos", "<Proof_Obligations>" + 30 * thousand.replace("</Proof_Obligations>", "")
               + "</Proof_Obligations>")
    for args in (["list"], ["goals", "--json"], ["check"], ["report", "--html"],
                 ["report", "--junit"], ["remove", "smt"], ["unprove"]):
        case.run(*args, "comp.pos", limit_s=20 * LIMIT_S,
                 under=("prlimit", f"--cpu={int(20 * SLOWNESS)}"))
