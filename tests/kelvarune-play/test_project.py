"""Projects: the file that names components, and playing all of them or some."""

import os
import re
import xml.etree.ElementTree as ET

import pytest
from conftest import AS_NOBODY, goal, obligations, po, replayed, rows

PROGRAM = "kelvarune-play"
TOML = """components = ["parts/*.pog", "scripts"]
mechanisms = ["m.xml"]
[component.scripts]
mechanisms = ["s.xml"]
"""
SCRIPT = "(set-logic QF_UF)\n(assert false)\n(check-sat)\n"


def played(name, *passes, mechanism="m", **counts):
    text = replayed(*passes, **counts)
    return text.replace("mechanism m", f"mechanism {mechanism}").replace(" comp", f" {name}")


def proof_of(name, tag="T0", mechanism="m"):
    return played(name, ("d1", 1, [(tag, "+")]), mechanism=mechanism, proved=1, externally=1)


@pytest.fixture
def project(case):
    """Components a, b (malformed) and c of one goal each, and scripts."""
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.mechanism(case.driver(writer="of_scripts"), path="s.xml", trust="always")
    case.script("of_scripts", 'while [ "$1" != -o ]; do shift; done; echo 0 0 >"$2"')
    for name in "abc":
        case.write(f"parts/{name}.pog", "<Proof_Obligations/>")
        case.write(f"parts/{name}.pos", ET.tostring(obligations(po("T0", goal()))))
    case.write("parts/b.pos", "<Proof_Obligations")
    case.write("scripts/x.smt2", SCRIPT)
    case.write("kelvarune.toml", TOML)
    case.path("deep/er").mkdir(parents=True)
    return case


MALFORMED = ("kelvarune-play: b:\nkelvarune-play: {}parts/b.pos:1:19: not well-formed XML (unexpected "
             "end of file); restore the file, perhaps from {}parts/b.pos~.\n")


@pytest.mark.parametrize("where", [".", "deep/er"])
def test_all_are_played_and_the_unreadable_named(project, where):
    up = os.path.relpath(project.root, project.path(where)).replace(".", "", where == ".")
    up += "/" * bool(up)
    project.run("--strict", cwd=project.path(where), status=2,
                out=proof_of("a") + proof_of("c") + proof_of("scripts", "x", "s"),
                err=MALFORMED.format(up, up) +
                f"kelvarune-play: scripts:\n{up}scripts/scripts.pos: 1 goal in 1 obligation\n"
                "kelvarune-play: 1 of 4 components could not be played: b\n")


def test_scripts_are_brought_in_step(project):
    project.run("scripts", out=proof_of("scripts", "x", "s"),
                err="scripts/scripts.pos: 1 goal in 1 obligation\n")
    project.write("scripts/y.smt2", SCRIPT.replace("false", "(not true)"))
    project.run("scripts", "--dry-run", out="s/d1: nothing to play\n",
                err="scripts/scripts.pos: 2 goals: 1 kept, 0 moved, 0 changed, 1 added, 0 removed\n"
                "kelvarune-play: scripts/scripts.pog: a run would bring it in step first.\n")
    project.run("scripts/", err=None, out=played(
        "scripts", ("d1", 1, [("x", ""), ("y", "+")]), mechanism="s", proved=2, externally=2))
    os.rename(project.path("scripts"), project.path("elsewhere"))
    project.run("scripts", status=2, out="", err="kelvarune-play: scripts: no such file; --sources "
                "names files with goals and directories of them.\n")


# What is in the file, what is typed, and the words that reach the play of component a.
@rows("settings, typed, words", {
    "of the file": ("time-limit = 5\nmemory-limit = '1G'\ncache = 'c'\ninstalldir = ['tools']\n", [],
                    "--time 5 --memory 1073741824 --directory c"),
    "typed": ("time-limit = 5\ncache = 'c'\n", ["--time-limit=7", "--cache=d"],
              "--time 7 --directory d")})
def test_what_is_typed_goes_first(project, settings, typed, words):
    project.write("kelvarune.toml", settings + TOML)
    run = project.run("--dry-run", "-v", *typed, "a", out=None)
    said = run.out.decode()
    for option in words.replace("1073741824", "1G").split("--")[1:]:
        assert f" --{option.strip()} " in said, said
    other = project.run("--dry-run", "-m", "s.xml", *typed, "a", "c", out=None).out.decode()
    assert other == ("a:\ns/d1: at most 1 goal in 1 entry\nc:\ns/d1: at most 1 goal in 1 entry\n")


@rows("words, err", {
    "unknown": (["zebra"], "no component is called zebra; there are a, b, c, scripts"),
    "one goal": (["--goal=T0.1"], "--goal is for one component; name it."),
    "tags": (["-x", "a", "c"], "--xml is for one component; name it."),
    "sources": (["a", "--sources=x"], "--sources goes with --pos and --pog."),
    "of any component": (["--explain"], "The option --explain needs --goal or --failed. Try --help."),
    "no file": (["--config=none", "a"], "none: cannot be read: No such file or directory"),
    "faulty file": (["--config=faulty"], "faulty:1:1: unknown key 'componens' (did you mean components?)"
                    "\nkelvarune-play: faulty:2:1: 'jobs' must be a number from 1, or \"auto\""),
    "no mechanism": (["--config=bare"], "a: no mechanism; 'mechanisms' in bare or --mechanism names "
                     "some."),
    "two ways": (["--config=bare", "--no-config"],
                 "the options --config and --no-config do not go together"),
    "without": (["--no-config"], "The options --pos and --pog are needed. Try --help.")})
def test_refusals(project, words, err):
    project.write("faulty", "componens = []\njobs = 0\n")
    project.write("bare", "components = ['parts/a.pog']\n")
    project.run(*words, status=2, out="", err=f"kelvarune-play: {err}\n")


def test_one_goal(project):
    project.run("c", "--goal", "T0.1", "--config", "../kelvarune.toml", cwd=project.path("parts"),
                out=played("c", ("d1", 1, [("T0", "-model:\n\n")]), unproved=1))


@pytest.mark.skipif(not AS_NOBODY, reason="needs root, to give files away")
def test_no_project_of_others(project):
    """Nobody runs what somebody else has put above."""
    os.chown(project.path("kelvarune.toml"), 1234, -1)
    os.chown(project.path("deep/er"), 65534, -1)
    project.root.chmod(0o755)
    path = project.path("kelvarune.toml").resolve()
    project.run("a", cwd=project.path("deep/er"), **AS_NOBODY, status=2, out="",
                err=f"kelvarune-play: {path}: belongs to another user; if it may run programs, name "
                "it by --config\n")


def test_first_project_file(project):
    """What init writes of three components plays two and names the third, whatever is uncommented."""
    def init(*args, **options):
        return project.run("init", *args, program="kelvarune-pos", **options)

    for name in ("kelvarune.toml", "s.xml", "scripts/x.smt2", "comp.pog"):
        project.path(name).unlink()
    init(out="a  parts/a.pog, parts/a.pos\nb  parts/b.pog, parts/b.pos\n"
         "c  parts/c.pog, parts/c.pos\nkelvarune.toml: 3 components\nmechanisms: m.xml\n")
    text = project.path("kelvarune.toml").read_text()
    project.write("kelvarune.toml", re.sub(r"^# ([a-z-]+ = )", r"\1", text, flags=re.M))
    project.path("bin").mkdir()
    project.write("tools.res", "")
    project.run(status=2, out=proof_of("a") + proof_of("c"), err=MALFORMED.format("", "")
                + "kelvarune-play: 1 of 3 components could not be played: b\n")
    init(status=2, out="", err="kelvarune-pos: kelvarune.toml: is there already; --force replaces it\n")


def test_what_init_finds(project):
    project.path("kelvarune.toml").unlink()
    for name in ("made/of/x.smt2", "made/y.p", "new/deep/x.smt2", "new/x.smt2", "x.smt2", "y.p", ".git/z.p",
                 "o/new/z.p"):
        script = SCRIPT if name.endswith("smt2") else "fof(a, conjecture, $true).\n"
        project.write(name, script)
    for args in (["made/made", "made"], ["c1", "made/of", "x.smt2"], ["c2", "--embed", "new"]):
        project.run("import", "-o", *args, program="kelvarune-goals", out=None)
    project.write('a*/"[b]".pos', b"")
    project.write("comp.1-of-2.pos", b"")
    project.path("loop").symlink_to(".")
    rows = [line.split("  ", 1) for line in project.run(
        "init", program="kelvarune-pos", out=None).out.decode().splitlines()]
    found = {row[0].strip(): row[1].strip() for row in rows if len(row) == 2}
    root = project.root.name
    assert found == {
        '"[b]"': 'a*/"[b]".pog (missing), a*/"[b]".pos', "c2": "c2.pog, c2.pos", "made": "made",
        "a": "parts/a.pog, parts/a.pos", "b": "parts/b.pog, parts/b.pos",
        "c": "parts/c.pog, parts/c.pos", "scripts": "scripts", "comp": "comp.pog, comp.pos (missing)",
        "new/new": "new", "o/new/new": "o/new", "c1": "made/of, x.smt2", root: "y.p"}
