"""Components are imported, played with script tools, and kept in step with files that change."""

import itertools

import pytest
from conftest import parsed, rows

PROGRAM = "kelvarune-goals"
PLAY = ("-m", "m.xml", "-s", "c.pos", "-p", "c.pog", "-d", "work")


def script(*goals):
    """Checks one assertion after the other, each alone."""
    return "(declare-const x Int)\n" + "".join(
        f"(push 1)\n(assert {goal})\n(check-sat)\n(pop 1)\n" for goal in goals)


def goals(case):
    """Each goal's name with the status of mechanism m in it, if that is registered."""
    names = {}
    for obligation in parsed(case.path("c.pos").read_bytes()):
        for number in itertools.count(1):
            if number >= len(obligation):
                break
            mechanism = obligation[number].find("Mechanism")
            names[f"{obligation[0].text}.{number}"] = (
                None if mechanism is None else mechanism.get("status"))
    return names


@pytest.fixture
def comp(case):
    """Three files, of which every goal is proved."""
    case.write("src/a.smt2", script("(< x 1)", "(< x 2)", "(< x 3)"))
    case.write("src/b/one.smt2", script("(= x 1)"))
    case.write("src/b/two.p", "fof(c, conjecture, p | ~p).\n")
    case.run("import", "-o", "c", "src", out="c.pos: 5 goals in 3 obligations\n")
    case.mechanism(trust="always")
    case.answers({"*": "Proved"})
    case.run(*PLAY, program="kelvarune-play")
    return case


def edit(path, old, new):
    return lambda case: case.write(path, case.path(path).read_text().replace(old, new))


def rename(old, new):
    def run(case):
        case.path(new).parent.mkdir(exist_ok=True)
        case.path(old).rename(case.path(new))
    return run


NOTHING = "5 kept, 0 moved, 0 changed, 0 added, 0 removed"


@rows("change, counts, fresh", {
    "nothing": (lambda case: None, NOTHING, ""),
    "comments": (edit("src/a.smt2", "(push 1)", "(push ; it\n1)"), NOTHING, ""),
    "a goal": (edit("src/a.smt2", "x 2", "x 9"), "4 kept, 0 moved, 1 changed, 0 added, 0 removed",
               "a.2"),
    "a declaration": (edit("src/a.smt2", "Int", "Real"),
                      "2 kept, 0 moved, 3 changed, 0 added, 0 removed", "a.1 a.2 a.3"),
    "a goal before": (edit("src/a.smt2", "Int)", "Int)(check-sat)"),
                      "2 kept, 3 moved, 0 changed, 1 added, 0 removed", "a.1"),
    "a file renamed": (rename("src/a.smt2", "src/z/a b.smt2"),
                       "2 kept, 3 moved, 0 changed, 0 added, 0 removed", ""),
    "a file gone": (lambda case: case.path("src/a.smt2").unlink(),
                    "2 kept, 0 moved, 0 changed, 0 added, 3 removed", ""),
    "a file more": (lambda case: case.write("src/b/new.smt2", script("true")),
                    "5 kept, 0 moved, 0 changed, 1 added, 0 removed", "b/new.1")})
def test_sync(comp, change, counts, fresh):
    change(comp)
    count = sum(map(int, counts.split()[:-2:2]))
    summary = f"c.pos: {count} goals: {counts}"
    moves = counts != NOTHING
    before = comp.path("c.pos").read_bytes()
    comp.run("sync", "c.pog", "--check", status=int(moves), out=summary + "\n")
    assert comp.path("c.pos").read_bytes() == before
    comp.run("sync", "c.pog", out=summary + ("; as it was: c.pos.~1~" if moves else "") + "\n")
    assert {name for name, status in goals(comp).items() if status != "Proved"} == set(fresh.split())
    assert "Unproved" in goals(comp).values() or not fresh  # registered, for a replay
    comp.run("sync", "c.pog", "--check", out=None)
    calls = len(comp.calls("writer"))
    comp.run(*PLAY, program="kelvarune-play")
    assert len(comp.calls("writer")) - calls == len(fresh.split())  # and nothing else was run
    assert set(goals(comp).values()) == {"Proved"}


def test_the_other_programs_keep_digests(comp):
    def digests(name="c.pos"):
        found = [goal.get("digest") for goal in
                 parsed(comp.path(name).read_bytes()).iter("Simple_Goal")]
        assert len(set(found)) == len(found) == 5
        return found

    before = digests()
    for args in (("kelvarune-pos", "unprove", "c.pos"),
                 ("kelvarune", "-m", "m.xml", "-s", "c.pos", "-p", "c.pog", "-d", "work"),
                 ("kelvarune-pos", "merge", "c.pos", "c.pos", "-o", "d.pos"),
                 ("kelvarune-play", *PLAY, "--retry", "--shard", "1/2"),
                 ("kelvarune-pos", "remove", "m", "c.pos"),
                 ("kelvarune-pos", "restore", "c.pos")):
        comp.run(*args[1:], program=args[0], out=None)
        assert digests() == before, args
    assert digests("d.pos") == digests("c.1-of-2.pos") == before


def test_play_refuses_what_is_out_of_step(comp):
    old = comp.path("c.pos").read_bytes()
    comp.write("src/a.smt2", script("(< x 2)", "(< x 1)", "(< x 3)"))
    comp.run("sync", "c.pog", out=None)
    comp.write("c.pos", old)  # as if the sync had been killed between its two files
    comp.run(*PLAY, program="kelvarune-play", status=2, out="", err=(
        "kelvarune-play: c.pos: out of step with c.pog: 2 goals changed, moved, new or gone "
        "(a.1, a.2); kelvarune-goals sync brings it in step, --no-check plays anyway.\n"))
    comp.run(*PLAY, "--no-check", program="kelvarune-play")
    comp.run("sync", "c.pog", out=None)
    comp.run(*PLAY, program="kelvarune-play")
    assert set(goals(comp).values()) == {"Proved"}


def test_lister(comp):
    comp.write("src/a.smt2", script("(< x 3)", "(< x 1)"))
    comp.run("import", "-o", "new", "src", out=None)
    lines = comp.run("digests", "new.pog", out=None).out.decode()
    comp.write("lines", lines)
    comp.write("c.pog", "another format")
    lister = comp.script("lister", 'test "$1" = c.pog && cat lines\n')
    comp.run("sync", "c.pog", "--lister", lister, "-v", out="""\
moved    a.3 -> a.1
moved    a.1 -> a.2
removed  a.2
c.pos: 4 goals: 2 kept, 2 moved, 0 changed, 0 added, 1 removed; as it was: c.pos.~1~
""")
    assert goals(comp) == dict.fromkeys(["a.1", "a.2", "b/two.1", "b/one.1"], "Proved")


def test_goals_by_hand(comp):
    comp.run("show", "c.pog", "a.2",
             out="(declare-const x Int)\n(assert (< x 2))\n(check-sat)\n")
    comp.run("list", "c.pog", out="""\
a.1      Proved  src/a.smt2:4
a.2      Proved  src/a.smt2:8
a.3      Proved  src/a.smt2:12
b/one.1  Proved  src/b/one.smt2:4
b/two.1  Proved  src/b/two.p:1
""")
    comp.run("import", "-o", "e", "--embed", "--group-by-directory", "src",
             out="e.pos: 5 goals in 2 obligations\n")
    for path in comp.path("src").glob("**/*.*"):
        path.unlink()
    comp.run("export", "e.pog", "out", out="out: 5 goals\n")
    comp.run("import", "-o", "f", "out", out="f.pos: 5 goals in 5 obligations\n")
    digests = [{line.split("\t")[2] for line in
                comp.run("digests", name, out=None).out.decode().splitlines()}
               for name in ("c.pog", "e.pog", "f.pog")]
    assert digests[0] == digests[1] == digests[2]  # what is taken apart asks the same


def test_prove(comp):
    comp.write("src/a.smt2", script("(< x 1)"))
    comp.answers({"d1.0.0": "Disproved", "*": "Proved"})
    prove = ("prove", "src", "-m", "m.xml")
    end = "a.smt2:4  Disproved  a.1\nsrc/src.pos: 2 of 3 goals proved, 1 disproved\npage: src/src.html\n"
    comp.run(*prove, status=1, out="src/src.pos: 3 goals in 3 obligations\n" + end)
    calls = len(comp.calls("writer"))
    comp.run(*prove, status=1,
             out="src/src.pos: 3 goals: 3 kept, 0 moved, 0 changed, 0 added, 0 removed\n" + end)
    assert len(comp.calls("writer")) == calls
    assert b"a.smt2:4" in comp.path("src/src.html").read_bytes()
    comp.path("src/a.smt2").unlink()
    comp.run(*prove, out=None)
