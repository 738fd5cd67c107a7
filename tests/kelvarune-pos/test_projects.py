"""Reports, differences and counts of several components."""

import csv
import io
import json
import re
import subprocess
import xml.etree.ElementTree as ET

import jsonschema
import pytest
from conftest import goal, mech, needs, obligations, po, rows
from test_commands import component, documented, refused
from test_junit import SCHEMA as JUNIT

PROGRAM = "kelvarune-pos"
pytestmark = needs("git", "xmllint", "cmark-gfm")

PROJECT = 'name = "drive"\ncomponents = ["*.pos", "sub/*.pos"]\nreports = "out"\n'
DOCUMENTED = documented()
BAD = "kelvarune-pos: bad.pos:1:10: not well-formed: tag mismatch; correct it or restore a saved copy\n"
NASTY = "a|b`c``d\\|e*_<i>@me #1 [x](y)&amp;"
PROVED, OPEN = goal(status="Proved", state="Proved(1)"), goal()


def git(directory, *args):
    subprocess.run(["git", "-c", "user.name=x", "-c", "user.email=x@localhost", *args], check=True,
                   cwd=directory, capture_output=True)


@pytest.fixture
def project(case):
    """A project whose earlier state is in the directory before and in the revision HEAD."""
    def write(name, *children):
        case.write(name, ET.tostring(obligations(*children)))
    case.write("kelvarune.toml", PROJECT)
    before = ET.tostring(component()).replace(b'Simple_Goal status="Disproved"',
                                              b'Simple_Goal status="Proved"')
    case.write("comp.pos", before)
    case.write("same.pos", ET.tostring(component()))
    write("sub/queue.pos", po("push", OPEN, PROVED, PROVED))
    write("sub/gone.pos", po("gone", PROVED, OPEN))
    git(case.root, "init", "-q")
    git(case.root, "add", "*.pos")
    git(case.root, "commit", "-qm", "as it was")
    for path in list(case.root.rglob("*.pos")):
        case.write(f"before/{path.relative_to(case.root)}", path.read_bytes())
    case.path("sub/gone.pos").unlink()
    case.write("bad.pos", "<r><a></r>")
    case.write("comp.pos", ET.tostring(component()))
    write("sub/queue.pos", po("push", PROVED, PROVED))
    write("new.pos", po("n", OPEN))
    return case


CHANGES = """\
lost         comp   open.2.3  Proved    ->  Disproved
gained       queue  push.1    Unproved  ->  Proved
disappeared  queue  push.3    Proved    ->
disappeared  gone   gone.1    Proved    ->
disappeared  gone   gone.2    Unproved  ->
appeared     new    n.1                 ->  Unproved

Component  Lost  Gained  Changed  Disappeared  Appeared
bad           0       0        0            0         0  unreadable
comp          1       0        0            0         0
new           0       0        0            0         1  appeared
queue         0       1        0            1         0
gone          0       0        0            2         0  disappeared
Total         1       1        0            3         1
1 lost, 1 gained, 0 changed, 3 disappeared, 1 appeared
"""


@rows("state", {"directory": "before", "revision": "HEAD"})
def test_what_changed(project, state):
    project.run("diff", "--against", state, out=CHANGES, err=BAD, status=2)
    project.path("bad.pos").unlink()
    run = project.run("diff", "--against", state, "--json", status=1).out
    seen = json.loads(run)
    jsonschema.Draft202012Validator(DOCUMENTED).validate(seen)
    assert [(g["component"], g["tag"]) for g in seen["disappeared"]] == [
        ("queue", "push"), ("gone", "gone"), ("gone", "gone")]
    assert {c["component"]: c["state"] for c in seen["components"]} == {
        "comp": "compared", "new": "appeared", "same": "compared", "queue": "compared",
        "gone": "disappeared"}
    lost = project.run("diff", "--against", state, "--missing-is-lost", status=1).out.decode()
    assert lost.endswith("\n3 lost, 1 gained, 0 changed, 1 disappeared, 1 appeared\n")
    # Of files those that are named; from anywhere.
    only = ["--against", state, "same.pos"]
    project.run("diff", *only, out="0 lost, 0 gained, 0 changed, 0 disappeared, 0 appeared\n")
    queue = project.run("diff", "--against", "../" * (state == "before") + state, status=1,
                        cwd=project.path("sub")).out.decode()
    assert "gained       queue  push.1" in queue


def test_two_directories(project):
    now = project.path("now")
    now.mkdir()
    for name in ("comp.pos", "new.pos", "same.pos", "sub"):
        project.path(name).rename(now / name)
    without_bad = re.sub(r"^bad .*\n", "", CHANGES, flags=re.M)
    project.run("diff", "before", "now", status=1, out=without_bad)


@rows("args", {"project": [], "files": ["comp.pos", "bad.pos", "new.pos", "same.pos", "sub/queue.pos"]})
def test_all_reports_have_the_numbers_of_stats(project, args):
    """What cannot be read is named by each of them."""
    def run(*command):
        return project.run(*command, *args, err=BAD, status=2).out.decode()
    stats = json.loads(run("stats", "--json"))
    jsonschema.Draft202012Validator(DOCUMENTED).validate(stats)
    totals = stats["totals"]
    assert totals["total"] == 15 and [f["file"] for f in stats["unreadable"]] == ["bad.pos"]
    table = list(csv.DictReader(io.StringIO(run("stats", "--csv"), newline="")))
    assert table[-1]["file"] == "" and [r["proved"] for r in table if r["level"] == "total"] == [
        "3", "0", "3", "2", "8"]
    assert run("stats").splitlines()[5].split()[:3] == ["Total", "15", "8"]

    run("report", "--html", "-o", "out/")
    text = project.path("out/index.html").read_text()
    page = json.loads(text.split('id="data">')[1].split("</script>")[0])
    assert page["totals"] == totals and page["mechanisms"] == stats["mechanisms"]
    assert {c["file"]: c["totals"] for c in page["components"] if c["state"] == "read"} == {
        f["file"]: f["totals"] for f in stats["files"]}
    assert [c["name"] for c in page["components"] if c["faults"]] == ["bad"]
    assert {p.name for p in project.path("out/components").iterdir()} == {
        "comp.html", "new.html", "same.html", "queue.html"}

    markdown = run("report", "--markdown")
    assert "8 of 15 goals proved (53.3 %)" in markdown and "- `bad`: `bad.pos:1:10: " in markdown
    assert "| 15 | 8 (53.3 %) | 2 | 3 | 0 | 2 |" in markdown
    image = ET.fromstring(run("report", "--badge"))
    assert image.find("{*}title").text == image.get("aria-label") == "proved 8/15, 1 unreadable"

    junit = junit_of(project, *args, err=BAD, status=2)
    assert (junit.get("tests"), junit.get("failures"), junit.get("errors")) == ("16", "2", "1")
    assert [s.get("name") for s in junit if s.find("testcase/error") is not None] == ["bad"]
    assert [(s.get("name"), len(s)) for s in junit if s.get("name") != "bad"] == [
        ("comp", 6), ("new", 1), ("same", 6), ("queue", 2)]


def junit_of(case, *args, **options):
    case.run("report", "--junit", "-o", "junit.xml", *args, **options)
    case.run("--noout", "--schema", JUNIT, "junit.xml", program="/usr/bin/xmllint", err=None)
    return ET.parse(case.path("junit.xml")).getroot()


@rows("args", {"project": [], "files": ["comp.pos", "bad.pos", "new.pos"]})
def test_what_is_not_proved_is_told_of_all(project, args):
    """Of those that can be read, even where another one cannot."""
    lines = project.run("check", "--proved", *args, err=BAD, status=2).out.decode().splitlines()
    seen = [tuple(line.split(":")[i].strip() for i in (0, 3, 4, 5)) for line in lines[:-1]]
    assert seen[:1] + seen[3:4] == [("comp.pos", "open.2.2", "not proved", "UnreliablyProved"),
                                    ("new.pos", "n.1", "not proved", "Unproved")]
    assert lines[-1] == ("3 components: 7 goals, 0 violations, 4 not proved" if args else
                         "5 components: 15 goals, 0 violations, 7 not proved")
    project.path("bad.pos").unlink()
    told = json.loads(project.run("check", "--json", "--proved", status=1).out)
    jsonschema.Draft202012Validator(DOCUMENTED).validate(told)
    assert [goal["file"] for goal in told["notProved"]] == ["comp.pos"] * 3 + ["new.pos"] + ["same.pos"] * 3
    project.run("check", "sub/queue.pos", "sub/queue.pos", "--proved",
                out="2 components: 4 goals, 0 violations, 0 not proved\n")


def test_a_lost_proof_is_a_failure_in_junit(project):
    project.write("comp.pos", ET.tostring(obligations(po("init.1", goal(), PROVED))))
    case, = junit_of(project, "--against", "before", "comp.pos").iter("failure")
    assert (case.get("message"), case.text) == ("init.1.1: Unproved, was Proved", "Was Proved")


def test_only_where_pages_go_makes_one_file_several(project):
    assert b"All components" in project.run("report", "--html", "comp.pos").out
    project.run("report", "--html", "-o", "one/", "comp.pos", out="")
    assert project.path("one/index.html").exists()
    project.run("report", "--html", "--no-config", "same.pos", "comp.pos", "comp.pos")
    assert {p.name for p in project.path("reports/components").iterdir()} == {
        "comp.html", "comp__2_.html", "same.html"}


def rendered(text):
    """What GitHub makes of it: the cells of its tables, and the items of its lists."""
    made = subprocess.run(["cmark-gfm", "-e", "table"], input=text, capture_output=True, check=True,
                          encoding="utf-8").stdout
    root = ET.fromstring(f"<r>{made}</r>".replace("<hr />", ""))
    return root, [["".join(cell.itertext()) for cell in row] for row in root.iter("tr")]


def test_markdown_shows_names_as_they_are(case):
    bad = mech(NASTY, "Disproved", z="Disproved")
    case.write("x|`.pos", ET.tostring(obligations(po(NASTY, goal(bad, status="Disproved")))))
    text = case.run("report", "--markdown", "x|`.pos").out.decode()
    root, cells = rendered(text)
    assert [NASTY + ".1", "x|`", NASTY + "/z"] in cells and ["x|`", "1", "0/1", "0.0 %"] in cells
    assert {part.tag for part in root.iter()} == set(
        "r h2 h3 p code table thead tbody tr th td".split()) - {"p"}


def test_markdown_is_short_and_starts_with_the_worst(case):
    worst = goal(mech("m", "Disproved", d="Disproved"), status="Disproved")
    for i in range(100):
        case.write(f"b/{i:02}.pos", ET.tostring(obligations(po(f"t{i:02}", PROVED, PROVED, PROVED))))
        case.write(f"{i:02}.pos", ET.tostring(obligations(po(f"t{i:02}", worst, OPEN, PROVED))))
        case.write(f"b/bad{i}.pos", "<a>")
        case.write(f"bad{i}.pos", "<a>")
    files = sorted(path.name for path in case.root.glob("*.pos"))
    text = case.run("report", "--markdown", "--against", "b", *files, err=None, status=2).out.decode()
    assert text.count("\n") <= 60
    root, cells = rendered(text)
    assert [h.text for h in root.iter("h3")] == [
        "200 proofs lost", "Could not be read", "100 disproved goals", "All goals",
        "Components with open goals or changes"]
    counts = [int(n) for n in re.findall(r"and (\d+) more", text)]
    assert len(counts) == 4 and len(set(map(len, cells))) > 1
    assert cells[1] == ["t00.1", "00", "Proved", "Disproved"]
    assert 200 - counts[0] > 15 and 100 - counts[3] == 3


@rows("content, title, colour", {
    "all": ([PROVED] * 3, "proved 3/3", "#0f6f58"), "some": ([PROVED, OPEN], "proved 1/2", "#8a5f00"),
    "none": ([], "proved 0/0", "#5a6675"),
    "disproved": ([PROVED, goal(status="Disproved")], "proved 1/2", "#b3243d")})
def test_badge(case, content, title, colour):
    case.pos(po("t", *content))
    root = ET.fromstring(case.run("report", "--badge", "comp.pos").out)
    assert (root.find("{*}title").text, root.findall(".//{*}rect")[1].get("fill")) == (title, colour)


@rows("args, line", {line: (args.split(), line) for args, line in {
    "diff --against=-x": '--against: "-x" is no directory and no revision\n',
    "diff --against=--help": '"--help" is no directory and no revision',
    "diff --against HEAD~1": '"HEAD~1" is no directory and no revision of the repository',
    "diff --against HEAD:comp.pos": '"HEAD:comp.pos" is no directory and no revision',
    "diff --against HEAD /dev/null": "not a git repository",
    "diff --against=": "--against needs a directory or a revision",
    "diff comp.pos": "diff takes OLD NEW, or --against",
    "diff": "diff takes OLD NEW, or --against; see",
    "stats --no-config": "there is no kelvarune.toml here or above",
    "stats --config none.toml": "none.toml: ",
    "stats --config kelvarune.toml comp.pos": "Give either FILE or --config",
    "report --html --badge": "Give one of --html, --junit, --markdown and --badge",
    "report --junit --history h": "--history is the history of one file",
    "report --markdown -o comp.pos comp.pos new.pos": "comp.pos: is the status file itself",
    "report --html -o comp.pos comp.pos new.pos": "comp.pos: cannot be made a directory"}.items()})
def test_what_is_refused(project, args, line):
    project.path("bad.pos").unlink()
    assert line in refused(project, *args)


def test_without_git(project):
    assert "the git program cannot be run" in refused(
        project, "diff", "--against", "HEAD", env={"PATH": "/nonexistent"})


def test_an_earlier_state_that_cannot_be_read(project):
    project.write("before/same.pos", "<r>")
    err = project.run("diff", "--against", "before", "same.pos", "new.pos", status=2, err=None).err
    assert err.startswith(b"kelvarune-pos: before/same.pos:1:4: not well-formed: ")
    outside = project.run("diff", "--against", "../before", "../same.pos", status=2, err=None,
                          cwd=project.path("sub")).err
    assert b"../same.pos: is not below " in outside
