"""Which goals a driver is given, how they are grouped into files, and how tools get these."""

import pytest

from conftest import (ONE_PROOF, candidate, driver_pass, goal, mech, po, proving, replayed,
                      report)

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


def test_the_full_group_of_a_driver_that_no_candidate_names(case):
    case.pos(po("T0", candidate("d2")))
    case.mechanism(case.driver(group="full"))
    case.replay(out=replayed(("d1", 1, []), unproved=1),
                err="Unexpected number of results. Expected: 0 Found: 1\n")


@pytest.mark.parametrize("locale", ["C.UTF-8", "C"])
def test_names_of_secondary_files(case, locale):
    """They are passed to the writer and the prover, and deleted."""
    case.answers({"*": "Proved"})
    case.path("d\u00e9").mkdir()
    driver = case.driver("\u2200", stdin=False, ext="\u00f1")
    case.mechanism(driver, path="\u00fc.xml", trust="always")
    case.pos(po("T0", goal(mech("\u00fc", **{"\u2200": "Proved"}))))
    case.run("-m", "\u00fc.xml", "-s", "comp.pos", "-p", "\u00e9.pog", "-d", "d\u00e9",
             env={"LC_ALL": locale}, out=proving("\u00fc") + driver_pass("\u2200", 1, [("T0", "+")])
             + report(proved=1, externally=1))
    file = "d\u00e9/\u00e9_\u00fc_\u2200_0_0.\u00f1"
    assert case.calls("writer") == [["-a", "0", "0", "-i", "\u00e9.pog", "-o", file]]
    assert case.calls("prover") == [[file]]
    assert not case.path(file).exists()


def test_a_prover_that_is_given_the_name_of_its_file_has_an_input_that_stays_open(case):
    case.script("prover", 'timeout 0.2 cat\n[ $? = 124 ] && exec cat "$1"\n')
    case.answers({"*": "Proved"})
    case.mechanism(case.driver(stdin=False), trust="always")
    case.pos(po("T0", candidate()))
    case.replay(out=ONE_PROOF)
