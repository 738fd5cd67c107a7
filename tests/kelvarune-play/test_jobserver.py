"""One budget of jobs for several plays: under a make, whose jobserver they use, and of a project. Never
more provers at a time than it has, and every token comes back, however a play ends."""

import contextlib
import os
import re
from signal import SIGINT, SIGKILL, SIGTERM

import psutil
import pytest
from conftest import BIN, SLOWNESS, goal, needs, po, rows

PROGRAM = "kelvarune-play"
GOALS = 6

# Notes the start and the end of each, so that it shows how many there were at once; not when it is
# asked for its version.
PROVER = """read -r a || exit
printf + >>"{root}/marks"
{body}
printf - >>"{root}/marks"
echo "$a"
"""
RULE = "{name}:\n\t{plus}{program} -m m.xml -s {name}.pos -p {name}.pog {more}\n"


@pytest.fixture
def plays(case):
    return Plays(case)


class Plays:
    """Components a, b and c, and a Makefile that plays each."""

    def __init__(self, case):
        self.case = case
        self.prove()
        case.answers({"*": "Proved"})
        case.mechanism(case.driver(prover="slow"), trust="always")
        for name in "abc":
            case.pos(*[po(f"T{i}", goal()) for i in range(GOALS)]).rename(case.path(f"{name}.pos"))
            case.write(f"{name}.pog", "<Proof_Obligations/>")
        case.write("kelvarune.toml", 'components = ["?.pog"]\nmechanisms = ["m.xml"]\n')

    def prove(self, body=f"sleep {0.15 * SLOWNESS}"):
        self.case.script("slow", PROVER.format(root=self.case.root, body=body))

    def make(self, names="ab", jobs=2, plus="+", more="", variables=(), **options):
        rules = "".join(RULE.format(name=name, plus=plus, program=BIN / PROGRAM, more=more)
                        for name in names)
        self.case.write("Makefile", f"all: {' '.join(names)}\n.PHONY: all {' '.join(names)}\n{rules}")
        return self.case.start("-ks", f"-j{jobs}", *variables, program="/usr/bin/make", **options)

    def play_of(self, name):
        """The process that plays a component, once one of its provers is at work."""
        def playing():
            for process in self.case.running():
                with contextlib.suppress(psutil.NoSuchProcess):
                    if (process.name() == PROGRAM and f"{name}.pos" in " ".join(process.cmdline())
                            and any("slow" in " ".join(tool.cmdline()) for tool in process.children())):
                        found.append(process)
                        return True
        found = []
        self.case.wait_for(playing)
        return found[0]

    def marks(self):
        return self.case.path("marks").read_text()

    def most(self, marks=None, now=0):
        """How many provers were at work at once."""
        most = now
        for mark in self.marks() if marks is None else marks:
            now += 1 if mark == "+" else -1
            most = max(most, now)
        return most

    def proved(self, name):
        return self.case.path(f"{name}.pos").read_text().count('<Simple_Goal status="Proved"')


@needs("make")
@rows("options, most, played", {
    "a budget for two": ({}, 2, "ab"),
    "all of it for one": ({"names": "a", "jobs": 4}, 4, "a"),
    "a number of its own": ({"names": "a", "more": "-c 3"}, 3, "a"),
    "a make that only tells": ({"variables": ["-n"]}, 0, "")})
def test_under_make(plays, options, most, played):
    plays.case.write("marks", "")
    run = plays.case.finish(plays.make(**options))
    assert (run.status, run.err) == (0, b""), run
    assert plays.most() == most
    assert [name for name in "abc" if plays.proved(name) == GOALS] == list(played)


@needs("make")
@pytest.mark.parametrize("number", [SIGTERM, SIGKILL])
def test_a_play_that_is_ended_keeps_no_token_from_make(plays, number):
    make = plays.make(jobs=6)
    plays.play_of("a").send_signal(number)
    run = plays.case.finish(make)
    assert run.status == 2 and b"INTERNAL" not in run.err, run
    assert plays.proved("b") == GOALS


def test_a_named_pipe(plays):
    case = plays.case
    path = case.path("pipe")
    os.mkfifo(path)
    pipe = os.open(path, os.O_RDWR)
    os.write(pipe, b"xy")
    case.run("-m", "m.xml", "-s", "a.pos", "-p", "a.pog",
             env={"MAKEFLAGS": f" -j3 --jobserver-auth=fifo:{path}"})
    assert plays.most() == 3
    os.set_blocking(pipe, False)
    assert sorted(os.read(pipe, 9)) == sorted(b"xy")
    os.close(pipe)


def test_a_pipe_that_was_not_handed_on(plays):
    plays.case.run("-m", "m.xml", "-s", "a.pos", "-p", "a.pog",
                   env={"MAKEFLAGS": " -j3 --jobserver-auth=3,4"},
                   err="kelvarune-play: MAKEFLAGS names a jobserver that is not there; a \"+\" before "
                       "the command in the Makefile hands it on.\n")
    assert plays.most() == 1


@needs("make")
def test_a_project_shares_with_provers_that_are_makes(plays):
    case = plays.case
    case.write("Sub", "all: x y\nx y:\n\t@sleep 0.01\n")
    plays.prove(f'make -f "{case.root}/Sub" 2>>"{case.root}/warnings"')
    run = case.run("-c", 3)
    assert case.path("warnings").read_text() == ""
    assert re.findall(r"TOTAL for (.)", run.out.decode()) == ["a", "b", "c"]
    # Each has all that it says together.
    assert all(f"TOTAL for {name}\t Proved {GOALS}" in part for name, part in
               zip("abc", run.out.decode().split("Proving ")[1:]))


def test_a_project_plays_on_when_a_part_is_killed(plays):
    process = plays.case.start("-c", 2)
    plays.play_of("b").kill()
    before = len(plays.marks())
    run = plays.case.finish(process)
    assert (run.status, run.err) == (3, b"kelvarune-play: b was ended by signal 9.\n"), run
    marks = plays.marks()
    assert plays.proved("a") == plays.proved("c") == GOALS
    left = marks.count("+") - marks.count("-")  # of provers that were killed
    assert plays.most() <= 2 + left
    at_work = marks[:before].count("+") - marks[:before].count("-") - left
    assert plays.most(marks[before:], at_work) >= 2, "its slot is lost"


@rows("number, status", {"interrupt": (SIGINT, 130), "end": (SIGTERM, 143), "kill": (SIGKILL, -9)})
def test_a_project_that_is_stopped(plays, number, status):
    process = plays.case.start("-c", 3)
    plays.play_of("b")
    plays.case.wait_for(lambda: "-" in plays.marks())
    process.send_signal(number)
    run = plays.case.finish(process)  # nothing is left of it
    assert run.status == status, run
    if number != SIGKILL:
        assert run.err.endswith(b"kelvarune-play: stopped: 0 of 3 components done.\n"), run
        assert run.err.count(b"all saved") == 3, run
        proved = sum(map(plays.proved, "abc"))
        assert run.out.count(b"+") <= proved <= plays.marks().count("-")
