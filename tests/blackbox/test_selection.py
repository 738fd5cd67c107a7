"""Which goals a driver is given, how they are grouped into files, and how tools get these."""

import pytest

from conftest import (FILES, ONE_PROOF, candidate, driver_pass, goal, mech, param, po, proving,
                      replayed, report, rows)

GOALS = {
    "proved before": (goal(mech(d1="Proved")), "+"),
    "disproved before": (goal(mech(d1="Disproved")), "+"),
    "absent statuses count as unproved": (goal(mech("m", None, d1="Proved"), status=None), "+"),
    "own proof state does not matter": (goal(mech(d1="Proved"), state="Proved(1)"), "+"),
    "driver unproved": (goal(mech(d1="Unproved")), ""),
    "driver unknown": (goal(mech(d1="Unknown")), ""),
    "another driver": (goal(mech(d2="Proved")), ""),
    "goal unknown": (goal(mech(d1="Proved"), status="Unknown"), ""),
    "goal unreliable": (goal(mech(d1="Proved"), status="UnreliablyProved"), ""),
    "goal proved": (goal(mech(d1="Proved"), status="Proved"), ""),
    "mechanism unknown": (goal(mech("m", "Unknown", d1="Proved")), ""),
    "first of two mechanisms counts": (goal(mech(d1="Unknown"), mech(d1="Proved")), ""),
    "other mechanisms do not": (goal(mech("n", "Proved", d1="Unknown"), mech(d1="Proved")), "+"),
}


def test_which_goals_are_candidates(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(name, part) for name, (part, _) in GOALS.items()])
    unproved = sum(part.get("status") in ("Unproved", None) for part, _ in GOALS.values())
    shown = [(name, marks) for name, (_, marks) in GOALS.items()]
    case.replay(out=replayed(("d1", unproved, shown), proved=6, externally=5, unreliably=1,
                             unproved=unproved - 5))


NONE = {"d1_0_0": "-a 0 0", "d1_0_2": "-a 0 2", "d1_3_1": "-a 3 1"}


@pytest.mark.parametrize("group, files", [
    (None, NONE), ("none", NONE), ("related", {"d1_0": "-a 0 0 -a 0 2", "d1_3": "-a 3 1"}),
    ("full", {"d1": "-a 0 0 -a 0 2 -a 3 1"})])
def test_groups(case, group, files):
    case.pos(po("T0", candidate(), candidate("d2"), candidate()), po("T1"),
             po("T2", candidate("d2")), po("T3", candidate("d2"), candidate()))
    case.mechanism(case.driver(group=group))
    case.replay(out=replayed(("d1", 6, [("T0", "--"), ("T1", ""), ("T2", ""), ("T3", "-")]),
                             unproved=6))
    assert case.calls("writer") == [
        [*words.split(), "-i", "comp.pog", "-o", f"work/comp_m_{stem}.po2"]
        for stem, words in files.items()]


@pytest.mark.parametrize("group, err", [
    ("none", ""), ("related", ""),
    ("full", "Unexpected number of results. Expected: 0 Found: 1\n")])
def test_a_driver_that_no_candidate_names(case, group, err):
    case.pos(po("T0", candidate("d2")))
    case.mechanism(case.driver("d1", group=group))
    case.replay(out=replayed(("d1", 1, []), unproved=1), err=err)
    assert len(case.calls("writer")) == (group == "full")


@pytest.mark.parametrize("locale", ["C.UTF-8", "C"])
@pytest.mark.parametrize("file, pog, mechanism, driver, ext", [
    ("work/c%2_%3_%4_%1_0_0.", "c%2.pog", "%3", "%4_%1", ""),
    ("d\u00e9/\u00e9_\u00fc_\u2200_0_0.\u00f1", "\u00e9.pog", "\u00fc", "\u2200", "\u00f1")])
def test_names_of_secondary_files(case, file, pog, mechanism, driver, ext, locale):
    """They are passed to the writer, the prover and the reader, and deleted."""
    case.answers({"*": "Proved"})
    folder = case.path(file).parent
    folder.mkdir(parents=True, exist_ok=True)
    case.mechanism(case.driver(driver, stdin=False, ext=ext), path=f"{mechanism}.xml",
                   trust="always")
    case.pos(po("T0", goal(mech(mechanism, **{driver: "Proved"}))))
    case.run("-m", f"{mechanism}.xml", "-s", "comp.pos", "-p", pog, "-d",
             folder.relative_to(case.root), env={"LC_ALL": locale}, out=(
                 proving(mechanism) + driver_pass(driver, 1, [("T0", "+")])
                 + report(proved=1, externally=1)))
    assert case.calls("writer") == [["-a", "0", "0", "-i", pog, "-o", file]]
    assert case.calls("prover") == [[file]]
    assert not case.path(file).exists()


@pytest.mark.parametrize("given, seen", [("stdin", "file\n"), (None, "file\n"),
                                         ("STDIN", "pipe\nstatus 124\n")])
def test_how_the_prover_gets_its_file(case, given, seen):
    """The prover writes down whether its input is the file, or stays open without a byte."""
    case.script("prover", r"""
[ -p /dev/stdin ] && echo pipe >"$0.seen" || echo file >"$0.seen"
[ "$1" ] && { timeout 0.2 cat >>"$0.seen"; echo "status $?" >>"$0.seen"; exec cat "$1"; }
exec cat
""")
    case.answers({"*": "Proved"})
    file = [] if seen == "file\n" else [param(value="${file}")]
    case.mechanism(case.driver(prover=case.tool("prover", None, *file, input=given)),
                   trust="always")
    case.pos(po("T0", candidate()))
    case.replay(out=ONE_PROOF)
    assert case.path("tools/prover.seen").read_text() == seen
