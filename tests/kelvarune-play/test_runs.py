"""First proofs: what is registered, played, printed and recorded, and the exit status."""

import pytest
from conftest import CRASH, FILES, driver_pass, goal, mech, po, proving, replayed, report, rows

PROGRAM = "kelvarune-play"

D1 = ("d1", 3, [("T0", "+-"), ("T1", "-")])
D2_ALONE = ("d2", 3, [("T0", "-+"), ("T1", "!")])
D2 = ("d2", 2, [("T0", "+"), ("T1", "!")])
COUNTS = {"proved": 2, "externally": 2, "disproved": 1}


@pytest.fixture
def fresh(case):
    """Two drivers, an untouched status file: d1 proves T0.1, d2 proves T0.2 and disproves T1.1."""
    case.answers({"d1.0.0": "Proved", "d2.0.1": "Proved", "d2.1.0": "Disproved"})
    case.mechanism(case.driver("d1"), case.driver("d2", fast="true"), trust="always")
    case.pos(po("T0", goal(), goal()), po("T1", goal()))
    return case


def test_an_untouched_file_gets_its_mechanism_and_its_proofs(fresh):
    run = fresh.replay("-c", "4", "-x")
    # Several jobs set marks in any order.
    assert sorted(run.out.decode()) == sorted(replayed(D1, D2, xml=True, **COUNTS))
    fresh.pos_is(
        po("T0", goal(mech("m", "Proved", d1="Proved", d2="Unproved"), status="Proved"),
           goal(mech("m", "Proved", d1="Unknown", d2="Proved"), status="Proved")),
        po("T1", goal(mech("m", "Disproved", d1="Unknown", d2="Disproved"), status="Disproved")))


@rows("args, order", {
    "given one by one": (["-m", "several/c.xml", "--mechanism=several/a.xml"], "ca"),
    "a directory, by name": (["-M", "several"], "Bac")})
def test_mechanisms_are_played_in_order(case, args, order):
    for name in "cBa":
        case.mechanism(path=f"several/{name}.xml")
    case.write("several/z.XML", "no description, by its name")
    case.pos(po("T0", goal()))
    # Nothing is proved, so that each mechanism has all the work.
    case.run(*args, *FILES, out="".join(
        proving(name) + driver_pass("d1", 1, [("T0", "-")]) for name in order) + report(unproved=1))
    case.pos_is(po("T0", goal(*[mech(name, "Unknown", d1="Unknown") for name in order])))


@rows("args, passes, counts", {
    "one driver": ("--driver d1", [D1], {"proved": 1, "externally": 1, "unproved": 2}),
    "fast drivers": ("--fast", [D2_ALONE], COUNTS | {"proved": 1, "externally": 1, "unproved": 1}),
    "both filters": ("--fast --driver=d1", [], {"unproved": 3})})
def test_filters(fresh, args, passes, counts):
    fresh.replay(*args.split(), out=replayed(*passes, **counts))


def test_one_goal_with_its_model(fresh):
    models = {"d1": "x = 1\ny = 2\n", "d2": "x = 3\n"}
    fresh.answers({f"{name}.0.1": f"Disproved\n{model}".encode() for name, model in models.items()})
    fresh.replay("--goal", "T0.2", "-c", "4", out=proving() + "".join(
        f"{driver_pass(driver, 3)}\t\tT0\n\t\t\t-model:\n{model}\n\n\n"
        for driver, model in models.items()) + report(unproved=3))
    registered = goal(mech("m", d1="Unproved", d2="Unproved"))
    fresh.pos_is(po("T0", registered, registered), po("T1", registered))
    assert all(call[:3] + call[7:] == ["-a", "0", "1", "-m"] for call in fresh.calls("writer"))


NOTE = ("kelvarune-play: m.xml: driver d1 groups related goals, so its writer is asked for that "
        "goal of the first obligation, T0, and its model is not one of T1.1.\n")


CUT = "kelvarune-play: cut.res: the last line is not read; end it with a line break.\n"


@rows("args, err", {
    "a later obligation": ("--goal T1.1", NOTE), "the first one": ("--goal T0.1", ""),
    "another driver": ("--goal T1.1 --driver d2", ""), "not played": ("--goal T1.1 --fast", ""),
    "a last line without its end": ("-r cut.res", CUT)})
def test_what_is_said_before_a_run(fresh, args, err):
    fresh.mechanism(fresh.driver("d1", group="related"), fresh.driver("d2"))
    fresh.write("cut.res", "MVL*Proof*X: 1")
    fresh.replay(*args.split(), err=err)


@rows("verdict, trust, status", {
    "proved": ("Proved", "always", 0), "not proved": ("Unknown", "always", 1),
    "unreliably proved": ("Proved", "never", 1)})
def test_strict(case, verdict, trust, status):
    case.answers({"*": verdict})
    case.mechanism(trust=trust)
    case.pos(po("T0", goal()))
    case.replay("--strict", status=status)


def test_failures_are_listed_at_the_end(case):
    case.script("crash", "cat >/dev/null\n" + CRASH)
    case.mechanism(case.driver("d1", prover="crash"), case.driver("d2", reader="crash"))
    case.pos(po("T0", goal(), goal()))
    case.replay("--strict", status=3, out=replayed(("d1", 2, []), ("d2", 2, []), unproved=2),
                err="Driver prover crashed.\n" * 2 + "Driver reader crashed.\n" * 2
                + "kelvarune-play: Driver d1 prover crashed. (2 times)\n"
                + "kelvarune-play: Driver d2 reader crashed. (2 times)\n")
