"""First proofs: what is registered, played, printed and recorded, and the exit status."""

import pathlib

import pytest
from conftest import FILES, driver_pass, goal, mech, po, proving, replayed, report, rows

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
    "fast drivers": ("--fast", [D2_ALONE], COUNTS | {"proved": 1, "externally": 1, "unproved": 1})})
def test_filters(fresh, args, passes, counts):
    fresh.replay(*args.split(), out=replayed(*passes, **counts))


@rows("args, recorded", {"with its model": ("", False), "kept": ("--record", True)})
def test_one_goal(fresh, args, recorded):
    """Each driver plays it alone, and without --record the POS file is not touched."""
    models = {"d1": "x = 1\ny = 2\n", "d2": "x = 3\n"}
    fresh.answers({f"{name}.1.1": "Disproved\n" + model for name, model in models.items()} if not recorded
                  else {"*": "Disproved"})
    fresh.mechanism(fresh.driver("d1", group="related"), fresh.driver("d2", group="full"))
    before = fresh.pos(po("T.0", goal()), po("T.1", goal(), goal())).read_bytes()
    run = fresh.replay("--goal", "T.1.2", *args.split(), "-c", "4")
    calls = fresh.calls("writer")
    assert all(call[:3] == ["-a", "1", "1"] and ("-m" in call) != recorded for call in calls)
    if recorded:
        assert len(calls) == 1, "nothing is left for the second driver"
        open_goal = goal(mech("m", d1="Unproved", d2="Unproved"))
        fresh.pos_is(po("T.0", open_goal), po("T.1", open_goal, goal(
            mech("m", "Disproved", d1="Disproved", d2="Unproved"), status="Disproved")))
    else:
        assert run.out.decode() == proving() + "".join(
            f"{driver_pass(driver, 3)}\t\tT.0\n\t\t\t\n\t\tT.1\n\t\t\t-model:\n{model}\n\n\n"
            for driver, model in models.items()) + report(unproved=3)
        assert fresh.path("comp.pos").read_bytes() == before


CUT = "kelvarune-play: cut.res: the last line is not read; end it with a line break.\n"
GONE = "kelvarune-play: m.xml: drivers d3, d4 of m in comp.pos: not in the description any more; " \
       "what stands there stays.\n"
LEFT = "kelvarune-play: 1 goal was left Unknown; `kelvarune-pos unprove --status unknown comp.pos` " \
       "or --retry lets it be tried again.\n"


@rows("args, err", {
    "a last line without its end": ("-r cut.res", CUT + GONE + LEFT),
    "tried again": ("--retry", GONE), "one goal": ("--goal T0.1", "")})
def test_what_is_said_beside_a_run(fresh, args, err):
    given_up = mech("m", "Unknown", d1="Unknown", d3="Unknown", d2="Unknown", d4="Unknown")
    fresh.pos(po("T0", goal(given_up), goal(mech("m", d1="Unproved", d2="Unproved"))))
    fresh.write("cut.res", "MVL*Proof*X: 1")
    fresh.replay(*args.split(), err=err)


def test_an_odd_description(case):
    case.mechanism(case.driver(fsat="true"))
    case.pos(po("T0", goal()))
    run = case.replay(err=None)
    assert run.err.startswith(b"kelvarune-play: m.xml:1:") and b"fsat" in run.err, run


@rows("verdict, trust, status", {
    "proved": ("Proved", "always", 0), "not proved": ("Unknown", "always", 1),
    "unreliably proved": ("Proved", "never", 1)})
def test_strict(case, verdict, trust, status):
    case.answers({"*": verdict})
    case.mechanism(trust=trust)
    case.pos(po("T0", goal()))
    case.replay("--strict", status=status)


@rows("options", {"one of its own": "", "beside the logs": "--log log"})
def test_no_directory_for_secondary_files(fresh, options):
    fresh.path("tmp").mkdir()
    fresh.run("-m", "m.xml", *FILES[:4], *options.split(), env={"TMPDIR": str(fresh.path("tmp"))})
    assert list(fresh.path("tmp").iterdir()) == []
    places = {str(pathlib.Path(call[-1]).parent) for call in fresh.calls("writer")}
    assert places.pop().startswith("log/secondary" if options else f"{fresh.root}/tmp/kelvarune-")


def test_as_many_jobs_as_processors(case):
    # Each prover tells how many run with it.
    case.script("prover", 'read -r a; : >"$0.$$"; sleep 0.3\nset -- "$0".*; echo $# >>"$0s"\n'
                          'rm "$0.$$"; echo $a\n')
    case.mechanism()
    case.pos(*[po(f"T{i}", goal()) for i in range(4)])
    case.replay("-c", "auto", "--no-history", under=("taskset", "-c", "0"))
    assert case.path("tools/provers").read_text() == "1\n" * 4
