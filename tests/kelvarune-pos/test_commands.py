"""The subcommands as people and scripts use them."""

import csv
import fcntl
import io
import json
import os
import pathlib
import re
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


def test_show(comp):
    comp.run("show", "comp.pos", "open.2.2", "open.2.3", "init.1.1", "init.1.2", out="""\
open.2.2: UnreliablyProved
  own proof  Unproved
  smt        Unproved
    z3       Proved            not counted
    cvc5     Unknown
  rules      UnreliablyProved
    fast     UnreliablyProved  proves it, unreliably

open.2.3: Disproved
  own proof  Unproved
  smt        Disproved
    z3       Disproved  disproves it
    cvc5     Proved     not counted

init.1.1: Proved
  own proof  Proved(1)  proves it

init.1.2: Proved
  own proof  Unproved
  smt        Proved
    z3       Proved    proves it, alone
    cvc5     Unknown
""")
    comp.pos(po("t", goal(element("iapa", element("status", value="Invalid")),
                          mech("m", "Proved", d="Unknown"), status="Disproved")), po("t", goal()))
    comp.run("show", "comp.pos", "t.1", out="""\
t.1: Disproved
  own proof  Unproved
  iapa       Invalid   disproves it
  m          Proved    proves it
    d        Unknown

t.1: Unproved
  own proof  Unproved
""")


@rows("counts, text", {
    "the last is missing": ((2999, 1), ["99.9 %", "0.1 %"]), "to the nearest": (
        (59, 1), ["98.3 %", "1.7 %"]), "all": ((7, 0), ["100.0 %", "0.0 %"])})
def test_stats_of_one_and_of_several_files(case, counts, text):
    goals = [goal(status=status) for status, n in zip(("Proved", "Unproved"), counts)
             for _ in range(n)]
    case.pos(po("t", *goals))
    lines = case.run("stats", "comp.pos").out.decode().splitlines()
    assert [line.split(maxsplit=2)[2] for line in (lines[1], lines[3])] == [
        f"{text[0]}    own proof 0, mechanisms 0, one driver alone 0", text[1]]
    smt = mech("smt", "Proved", z3="Proved")
    case.write("b.pos", ET.tostring(obligations(po("u", goal(smt, status="Proved")))))
    out = case.run("stats", "comp.pos", "b.pos").out.decode()
    assert out.splitlines()[3].split()[:3] == ["Total", str(sum(counts) + 1), str(counts[0] + 1)]
    csv = case.run("stats", "--csv", "b.pos", "b.pos").out.decode().splitlines()
    assert [line.rsplit(",", 1)[1] for line in csv] == ["file"] + ["b.pos"] * 6 + [""] * 3
    assert csv[-1] == "driver,smt,z3,2,,0,0,0,2,,,,"


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


def documented():
    schema = json.loads(SCHEMA.read_text(), object_hook=closed)
    parts = {part["$ref"].split("/")[-1] for part in schema["oneOf"]}
    for name in parts | {"place", "goal", "counts", "driverName", "goalName", "timesOf"}:
        del schema["$defs"][name]["unevaluatedProperties"]  # parts of others
    return schema


def test_json_is_as_documented(comp):
    schema = documented()
    comp.write("new.pos", ET.tostring(obligations(po("init.1", goal(), goal(), goal()))))
    comp.write("bad.pos", ET.tostring(obligations(po("t", goal(mech(status="Huh"))))))
    seen = {}
    for command in ("list comp.pos", "stats comp.pos new.pos", "stats comp.pos", "goals comp.pos",
                    "show comp.pos open.2.3", "check --proved bad.pos", "diff comp.pos new.pos"):
        kind, *args = command.split()
        seen[kind] = json.loads(comp.run(kind, *args, "--json", status=None).out)
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


def test_check_of_a_component_that_must_be_proved(comp):
    out = comp.run("check", "--proved", "comp.pos", status=1).out.decode().splitlines()
    assert [line.split(": ", 1)[1] for line in out] == [
        "open.2.2: not proved: UnreliablyProved", "open.2.3: not proved: Disproved",
        "open.2.4: not proved: Unproved", "6 goals, 0 violations, 3 not proved"]
    comp.pos(po("t", goal(status="Proved", state="Proved(1)")))
    comp.run("check", "--proved", "comp.pos", out="comp.pos: 1 goal, 0 violations, 0 not proved\n")
    comp.pos(po("t", goal(status="proved")))
    assert "t.1: not proved: proved" in comp.run("check", "--proved", "comp.pos",
                                                 status=1).out.decode()


def statuses(case):
    root = ET.parse(case.path("comp.pos")).getroot()
    return [[g.get("status")] + [m.get("status") for m in g.iter("Mechanism")]
            for g in root.iter("Simple_Goal")]


def test_unprove(comp):
    before = comp.path("comp.pos").read_bytes()
    lines = ("init.1.2: Proved -> Unproved\nopen.2.1: Proved -> Unproved\n"
             "open.2.2: UnreliablyProved -> Unproved\nopen.2.3: Disproved -> Unproved\n"
             "comp.pos: verdicts in 5 goals and the status of 4 goals ")
    comp.run("unprove", "--dry-run", "comp.pos", out=lines + "would change\n")
    assert comp.path("comp.pos").read_bytes() == before and not list(comp.root.glob("*~"))
    comp.run("unprove", "comp.pos", out=lines + "changed; as it was: comp.pos.~1~\n")
    assert [goal[0] for goal in statuses(comp)] == ["Proved"] + ["Unproved"] * 5
    assert {verdict for goal in statuses(comp) for verdict in goal[1:]} == {"Unproved"}
    # Once more: nothing happens, and there is no second copy.
    comp.run("unprove", "comp.pos", out="comp.pos: nothing to change\n")
    assert [path.read_bytes() for path in comp.root.glob("*~")] == [before]


LETTERS = {"Unproved": "U", "Unknown": "K", "UnreliablyProved": "R", "Proved": "P",
           "Disproved": "D"}
WORDS = {letter: word for word, letter in LETTERS.items()}


def brief(one):
    """A goal as "P m:P(a:P b:K)", its statuses by their letters."""
    def drivers(m):
        return " ".join(f"{d.get('name')}:{LETTERS[d.get('status')]}" for d in m.iter("Driver"))
    return " ".join([LETTERS[one.get("status")]] + [
        f"{m.get('name')}:{LETTERS[m.get('status')]}({drivers(m)})" for m in one.iter("Mechanism")])


def briefs(case, name="comp.pos"):
    """The goals of a file by their names."""
    return {f"{o.findtext('Tag')}.{n}": brief(g)
            for o in ET.parse(case.path(name)).getroot().iter("Proof_Obligation")
            for n, g in enumerate(o.iter("Simple_Goal"), 1)}


def of_brief(text, state="Unproved", iapa=None):
    """The goal that brief would write like this."""
    status, *mechanisms = text.replace(" (", "(").split(") ") if "(" in text else [text]
    status, _, first = status.partition(" ")
    made = [element("iapa", element("status", value=iapa))] if iapa else []
    for name, verdict, inner in (
            (m[0], m[2], m[4:].rstrip(")")) for m in ([first] if first else []) + mechanisms):
        made.append(mech(name, WORDS[verdict],
                         **{d[0]: WORDS[d[2]] for d in inner.split()}))
    return goal(*made, status=WORDS[status], state=state)


@rows("args, changed", {args: (args.split(), changed) for args, changed in {
    "unprove --status unknown": {"open.2.4": "U rules:U(fast:K)"},
    "unprove --mechanism smt --status disproved": {"open.2.3": "U smt:U(z3:D cvc5:P)"},
    "unprove --tag i* --status proved,unknown": {"init.1.2": "U smt:U(z3:P cvc5:K)"},
    "unprove --goal open.2.1 --goal open.2.4": {
        "open.2.1": "U smt:U(z3:P cvc5:P)", "open.2.4": "U rules:U(fast:K)"},
    "unprove --driver fast": {"open.2.2": "U smt:U(z3:P cvc5:K) rules:U(fast:U)",
                              "open.2.4": "U rules:U(fast:U)"},
    "unprove --driver z3": {  # a verdict that another driver gives as well stays
        "init.1.2": "U smt:U(z3:U cvc5:K)", "open.2.1": "P smt:P(z3:U cvc5:P)",
        "open.2.2": "R smt:U(z3:U cvc5:K) rules:R(fast:R)", "open.2.3": "U smt:U(z3:U cvc5:P)"},
    "unprove --driver cvc5 --status proved --tag open.2": {
        "open.2.1": "P smt:P(z3:P cvc5:U)", "open.2.3": "D smt:D(z3:D cvc5:U)"},
    "remove smt --driver z3": {
        "init.1.2": "U smt:U(cvc5:K)", "open.2.1": "P smt:P(cvc5:P)",
        "open.2.2": "R smt:U(cvc5:K) rules:R(fast:R)", "open.2.3": "U smt:U(cvc5:P)"},
    "remove smt": {"init.1.2": "U", "open.2.1": "U", "open.2.2": "R rules:R(fast:R)",
                   "open.2.3": "U"}}.items()})
def test_what_is_reset_and_removed(comp, args, changed):
    before = briefs(comp)
    comp.run(*args, "comp.pos")
    assert briefs(comp) == before | changed


@rows("args, before, after, more", {
    "own proof stays": ("unprove --status proved", "P m:P(a:P)", "P m:U(a:P)",
                        {"state": "Proved(2)"}),
    "iapa stays": ("unprove --driver a", "P m:P(a:P)", "R m:U(a:U)", {"iapa": "Valid"}),
    "no match, wrong status": ("unprove --status disproved", "P m:U(a:P)", "P m:U(a:P)", {}),
    "still something to try": ("unprove --driver a", "U m:K(a:K b:K)", "U m:U(a:U b:K)", {}),
    "the rest is unknown": ("remove m --driver a", "U m:K(a:K b:K)", "U m:K(b:K)", {}),
    "nobody is left who says so": ("remove m --driver a", "D m:D(a:D b:U)", "U m:U(b:U)", {})})
def test_reset_and_removed_in_one_goal(case, args, before, after, more):
    case.pos(po("t", of_brief(before, **more)))
    case.run(*args.split(), "comp.pos")
    assert briefs(case) == {"t.1": after}


def test_changes_are_taken_back(comp):
    def restored(*args, **lines):
        comp.run("restore", *args, "comp.pos", **lines)
        return briefs(comp)
    (first := comp.path("comp.pos")).chmod(0o640)
    original = briefs(comp)
    comp.write("comp.pos~", "of an older release, or of another program")
    comp.run("remove", "rules", "comp.pos")
    comp.write("comp.pos.~9~", first.read_bytes())
    second = briefs(comp)
    comp.run("unprove", "comp.pos", out=None)
    third = briefs(comp)
    line = "comp.pos: restored from comp.pos.~{}~; as it was: comp.pos.~{}~\n"
    assert restored("--dry-run", out="comp.pos: would become as comp.pos.~10~\n") == third
    assert restored(out=line.format(10, 11)) == second
    assert restored(out=line.format(11, 12)) == third
    assert restored("--backup", "1", out=line.format(1, 13)) == original
    assert restored("--backup", "1", out="comp.pos: is as comp.pos.~1~, nothing to change\n") \
        == original
    assert {path.name for path in comp.root.glob("*~")} == {"comp.pos~"} | {
        f"comp.pos.~{n}~" for n in (1, 9, 10, 11, 12, 13)}
    assert comp.path("comp.pos.~13~").stat().st_mode & 0o777 == 0o640
    comp.write("comp.pos.~14~", "<pog/>")
    assert "comp.pos.~14~:1:5: no status file" in refused(comp, "restore", "comp.pos")


SAYS = "t.1: {}Proved in a.pos, Disproved in b.pos\n"


@rows("a, b, c, contradictions", {
    "mechanisms of both": ("P m:P(a:P)", "U n:K(a:K)", "P m:P(a:P) n:K(a:K)", ""),
    "drivers of both": ("U m:K(a:K)", "P m:P(b:P)", "P m:P(a:K b:P)", ""),
    "the better verdict": ("U m:K(a:K b:U)", "R m:R(a:P b:K)", "R m:R(a:P b:K)", ""),
    "a status that never followed": ("K m:K(a:K)", "U m:U(a:U)", "U m:K(a:K)", ""),
    "a proof to replay": ("U m:U(a:P b:U)", "U m:K(a:K b:K)", "U m:U(a:P b:K)", ""),
    "a driver against itself": ("P m:P(a:P)", "D m:D(a:D)", "D m:D(a:D)", SAYS.format("m/a: ")),
    "a refuted proof of a driver": ("P m:P(a:P)", "U m:U(a:D)", "U m:U(a:D)", SAYS.format("m/a: ")),
    "drivers of one mechanism": ("P m:P(a:P)", "D m:D(b:D)", "D m:D(a:P b:D)", SAYS.format("m: ")),
    "two mechanisms": ("P m:P(a:P)", "D n:D(a:D)", "D m:P(a:P) n:D(a:D)", SAYS.format(""))})
def test_merge(case, a, b, c, contradictions):
    for name, text in (("a.pos", a), ("b.pos", b)):
        case.write(name, ET.tostring(obligations(po("none"), po("t", of_brief(text)))))
    before = [case.path(name).read_bytes() for name in ("a.pos", "b.pos")]
    count = 1 if contradictions else 0
    summary = f"c.pos: 1 goal, {count} contradiction{'s' * (1 - count)}\n"
    case.run("merge", "a.pos", "b.pos", "-o", "c.pos", out=contradictions + summary, status=count)
    assert briefs(case, "c.pos") == {"t.1": c}
    assert [case.path(name).read_bytes() for name in ("a.pos", "b.pos")] == before


def test_where_a_merge_goes(comp):
    for name, content in (("b.pos", comp.path("comp.pos").read_bytes()), ("c.pos", "precious")):
        comp.write(name, content)
    merge = ("merge", "comp.pos", "b.pos", "-o")
    assert "c.pos: is there already, give another path or --force" in refused(comp, *merge, "c.pos")
    assert "is one of the files to merge" in refused(comp, *merge, "./b.pos", "--force")
    comp.run(*merge, "c.pos", "--force",
             out="c.pos: 6 goals, 0 contradictions; as it was: c.pos.~1~\n")
    assert briefs(comp, "c.pos") == briefs(comp) and comp.path("c.pos.~1~").read_text() == "precious"


def test_merge_of_shards(case):
    def write(name, statuses):
        goals = [of_brief(f"{letter} m:{letter} (d:{letter})") for letter in statuses]
        case.write(name, ET.tostring(obligations(po("t", *goals))))
    for name, statuses in {"a.pos": "PUU", "b.pos": "URU", "c.pos": "UUD", "d.pos": "P"}.items():
        write(name, statuses)
    case.run("merge", "a.pos", "b.pos", "c.pos", "-o", "all.pos",
             out="all.pos: 3 goals, 0 contradictions\n")
    assert [text[0] for text in briefs(case, "all.pos").values()] == ["P", "R", "D"]
    assert "3 goals in a.pos and t with 1 goal in d.pos" in refused(
        case, "merge", "a.pos", "b.pos", "d.pos", "-o", "none.pos")


@rows("args", {"unprove": ["unprove", "comp.pos"], "remove": ["remove", "smt", "comp.pos"],
               "restore": ["restore", "comp.pos"],
               "merge": ["merge", "comp.pos", "b.pos", "-o", "c.pos"],
               "merge to": ["merge", "b.pos", "b.pos", "-o", "comp.pos", "--force"]})
def test_gives_up_while_a_run_uses_the_file(comp, args):
    for name in ("b.pos", "comp.pos.~1~"):
        comp.path(name).write_bytes(comp.path("comp.pos").read_bytes())
    lock = comp.write(".comp.pos.kelvarune-lock", "4711 there kelvarune\n")
    with open(lock, "rb") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        assert refused(comp, *args) == ("kelvarune-pos: comp.pos: process 4711 on there "
                                        "(kelvarune) uses it; --wait waits for its end\n")
        waiting = comp.start(*args, "--wait")
        comp.wait_for(lambda: comp.path("stderr").read_text().startswith("Waiting for process"))
        assert waiting.poll() is None
    assert waiting.wait(5) == 0
    assert not lock.exists()


def test_merge_takes_the_own_proof_and_iapa_of_either(case):
    case.write("a.pos", ET.tostring(obligations(po("t", of_brief("R", iapa="Valid"),
                                                   of_brief("P", state="Proved(1)")))))
    case.write("b.pos", ET.tostring(obligations(po("t", of_brief("P", state="Proved(0)"),
                                                   of_brief("D", iapa="Invalid")))))
    case.run("merge", "a.pos", "b.pos", "-o", "c.pos", status=1,
             out="t.2: Proved in a.pos, Disproved in b.pos\nc.pos: 2 goals, 1 contradiction\n")
    assert briefs(case, "c.pos") == {"t.1": "P", "t.2": "D"}
    case.run("check", "c.pos")


@rows("other, line", {
    "tag": (po("u", goal()), "obligation 1 is t with 1 goal in a.pos and u with 1 goal in b.pos"),
    "number": (po("t"), "obligation 1 is t with 1 goal in a.pos and t with 0 goals in b.pos"),
    "missing": (None, "obligation 1 is t with 1 goal in a.pos and missing in b.pos"),
    "text": (po("t", goal(digest="e")), "the digest of t.1 is another one in a.pos than in b.pos")})
def test_merge_of_different_goals(case, other, line):
    case.write("a.pos", ET.tostring(obligations(po("t", goal(digest="d")))))
    case.write("b.pos", ET.tostring(obligations(*([] if other is None else [other]))))
    assert line in refused(case, "merge", "a.pos", "b.pos", "-o", "c.pos")
    assert not case.path("c.pos").exists()


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
    out = case.run("diff", "--missing-is-lost", "old.pos", "less.pos", status=1).out.decode()
    assert out.startswith("lost         a.3      Proved") and "\n2 lost, 0 gained" in out


@rows("args, line", {line: (args.split(), line) for args, line in {
    "": "command is missing",
    "stats --json --csv comp.pos": "either --json or --csv",
    "report --junit -o ./comp.pos comp.pos": "comp.pos",
    "remove x comp.pos": 'no mechanism "x", choose among smt, rules',
    "remove rules --driver fast comp.pos": "is the only driver of rules, remove the mechanism",
    "remove smt --driver fast comp.pos": 'no driver "fast", choose among z3, cvc5',
    "unprove --mechanism smtt comp.pos": 'no mechanism "smtt" (did you mean smt?)',
    "unprove --tag o* --driver z4 comp.pos": 'no driver "z4" (did you mean z3?)',
    "unprove --tag x* comp.pos": 'no obligation has a tag like "x*"',
    "unprove --tag= comp.pos": "--tag needs a pattern that is not empty",
    "unprove --goal open.2.5 comp.pos": "no goal open.2.5: obligation open.2 has 4 goals",
    "show comp.pos opne.2.1": "no obligation with goals is called opne.2 (did you mean open.2?)",
    "show comp.pos 3": '"3" is no goal: give TAG.N',
    "restore --backup x comp.pos": "--backup takes the number",
    "restore comp.pos": "comp.pos.~1~: no such copy",
    "merge comp.pos comp.pos": "Give the file of the result with --output",
    "gaols comp.pos": 'Unknown command "gaols" (did you mean goals?)',
    "help gaols": 'Unknown command "gaols" (did you mean goals?)',
    "goals --stauts x comp.pos": "Unknown option --stauts (did you mean --status?)",
    "goals --status provd comp.pos": 'Unknown status "provd" (did you mean proved?)',
    "goals --color blue comp.pos": "--color takes auto, always or never",
    "show comp.pos": "show takes FILE TAG.N..."}.items()})
def test_what_is_refused(comp, args, line):
    assert line in refused(comp, *args)


def test_help_tells_every_command_and_option(case):
    text = case.run("help").out.decode()
    assert text == case.run("--help").out.decode()
    page = (SCHEMA.parents[2] / "docs/man/kelvarune-pos.1.md").read_text()
    commands = [line.split()[0] for line in text.splitlines() if line.startswith("  ")][:-3]
    assert len(commands) == 18
    for command in commands:
        one = case.run("help", command).out.decode()
        assert one == case.run(command, "--help").out.decode() and f"**{command}" in page
        for word in re.findall(r"--[a-z-]+", one):
            assert f"**{word}**" in page, word


@rows("args, environment, coloured", {
    "no terminal": ([], {}, False), "always": (["--color=always"], {"NO_COLOR": "1"}, True),
    "never": (["--color", "never"], {}, False)})
def test_colours(comp, args, environment, coloured):
    under = ("env", *[f"{name}={value}" for name, value in environment.items()])
    assert (b"\x1b[32m" in comp.run("goals", *args, "comp.pos", under=under).out) == coloured


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
                 ["report", "--junit"], ["merge", "comp.pos", "-o", "c.pos"],
                 ["unprove", "--driver", "z3"], ["remove", "smt"], ["unprove"]):
        case.run(*args, "comp.pos", limit_s=20 * LIMIT_S,
                 under=("prlimit", f"--cpu={int(20 * SLOWNESS)}"))
