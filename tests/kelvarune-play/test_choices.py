"""What is played and what becomes of it: another try, drivers that are new, a replay, a part."""

import fcntl

import pytest
from conftest import (FILES, LIMIT_S, REPLAY, candidate, canonical, concluded, driver_pass, goal, mech,
                      parsed, po, proving, replayed, report, rows)

PROGRAM = "kelvarune-play"

UNKNOWN = goal(mech("m", "Unknown", d1="Unknown", d2="Unknown"))
PROVED = concluded()


@pytest.fixture
def two(case):
    case.mechanism(case.driver("d1"), case.driver("d2", group="related"), trust="always")
    return case


def test_another_try(two):
    """After a repair only what was left unknown is played, and every proof is kept."""
    two.answers({"d1.*": "Unknown", "d2.1.0": "Proved"})
    two.pos(po("T0", UNKNOWN, PROVED), po("T1", UNKNOWN))
    two.replay("--retry", out=replayed(("d1", 2, [("T0", "-"), ("T1", "-")]),
                                       ("d2", 2, [("T0", "-"), ("T1", "+")]),
                                       proved=2, externally=2, unproved=1))
    two.pos_is(po("T0", UNKNOWN, goal(mech("m", "Proved", d1="Proved", d2="Unproved"), status="Proved")),
               po("T1", goal(mech("m", "Proved", d1="Unknown", d2="Proved"), status="Proved")))


def test_a_driver_that_is_new(two):
    """It comes to its place and plays what the others have left open."""
    two.answers({"d1.*": "Proved"})
    two.pos(po("T0", goal(mech("m", "Unknown", d2="Unknown")), PROVED))
    run = two.replay()
    assert run.out.decode().startswith(proving() + driver_pass("d1", 1, [("T0", "+")])), run
    assert two.calls("writer")[0][:3] == ["-a", "0", "0"] and len(two.calls("writer")) == 1


HELD = goal(mech("m", d1="Proved", d2="Unproved"))  # by a driver, before the results were reset
BOTH = goal(mech("m", d1="Proved", d2="Proved"))


@rows("trust, before, args, lost", {
    "nothing": ("always", [HELD, goal(mech("m", d1="Unproved"))], "", []),
    "one": ("always", [HELD, goal(mech("m", d1="Unknown", d2="Proved"))], "",
            ["T.1.2: Proved by m/d2 before, Unproved now"]),
    "weaker": ("redundancy", [BOTH, HELD], "",
               ["T.1.1: Proved by m/d1, m/d2 before, UnreliablyProved now"]),
    "not asked for": ("redundancy", [BOTH, BOTH], "--driver d1", []),
    "unreliable": ("never", [goal(mech("m", d2="Proved")), HELD], "",
                   ["T.1.1: UnreliablyProved by m/d2 before, Unproved now"]),
    "than another file": ("always", [HELD, goal(mech("m", d1="Disproved"))], "--against old.pos", [
        "T.1.2: Proved before, Disproved now", "U.1: Proved by m/d1 before, gone now"])})
def test_a_replay(two, trust, before, args, lost):
    two.answers({"d1.*.1": "Disproved" if "--against" in args else "Proved", "d1.*": "Proved"})
    two.mechanism(two.driver("d1"), two.driver("d2"), trust=trust)
    two.pos(po("T.1", goal(), goal(status="Proved")), po("U", PROVED)).rename(two.path("old.pos"))
    two.pos(po("T.1", *before))
    count = {0: [], 1: ["1 proof is lost:"], 2: ["2 proofs are lost:"]}[len(lost)]
    two.replay("--replay", *args.split(), status=1 if lost else 0, err="".join(
        f"kelvarune-play: {line}\n" for line in count + [f"  {line}" for line in lost]))


def test_a_replay_of_what_is_registered(case):
    """As kelvarune does, in the order of the POS file, whatever else there is in the directory."""
    for name in "abc":
        case.mechanism(path=f"several/{name}.xml")
    case.answers({"*": "Proved"})
    files = []
    for program in ("kelvarune", PROGRAM):
        case.pos(po("T0", goal(mech("c", d1="Proved", gone="Proved"), mech("a", d1="Unproved"))))
        case.run("-M", "several", *FILES, *(["--replay"] if program == PROGRAM else []), err=None,
                 out=proving("c") + driver_pass("d1", 1, [("T0", "*")]) + proving("a")
                 + driver_pass("d1", 0) + report(unreliably=1), program=program)
        files.append(canonical(case.path("comp.pos").read_bytes()))
    assert files[0] == files[1]
    case.path("several/a.xml").unlink()
    case.run("-M", "several", *FILES, "--replay", status=2, out="", err=(
        "kelvarune-play: several/a.xml: no description of the mechanism a, which is registered in "
        "comp.pos.\n"))


@rows("args, lines", {
    "first proofs": ("", ["m/d1: at most 3 goals in 3 entries", "m/d2: at most 3 goals in 2 entries"]),
    "another try": ("--retry --driver d1", ["m/d1: at most 4 goals in 4 entries"]),
    "a replay": ("--replay", ["m/d1: nothing to play", "m/d2: at most 1 goal in 1 entry"]),
    "one goal": ("--goal T1.2 --driver d2 -v", [
        "m/d2: at most 1 goal in 1 entry",
        "  ROOT/tools/writer -a 1 1 -i comp.pog -o work/comp_m_d2_1_1.po2 -m",
        "  ROOT/tools/prover <work/comp_m_d2_1_1.po2 | ROOT/tools/reader d2"])})
def test_a_dry_run(two, args, lines):
    open_goal = goal(mech("m", d1="Unproved", d2="Proved"))
    two.pos(po("T0", UNKNOWN, goal(mech("m", d1="Unproved", d2="Unproved"))),
            po("T1", open_goal, goal(mech("m", d1="Unproved"))))
    before = two.path("comp.pos").read_bytes()
    two.replay("--dry-run", *args.split(),
               out="".join(f"{line}\n" for line in lines).replace("ROOT", str(two.root)))
    assert two.path("comp.pos").read_bytes() == before and two.calls("writer") == []


@rows("args, status, played, what", {
    "a disproof": ("--stop-on-failure", 1, 2, "1 failure"),
    "a tool that fails": ("--stop-on-failure=2", 3, 3, "2 failures"),
    "fewer": ("--stop-on-failure=9", 3, 5, "")})
def test_stop_on_failure(case, args, status, played, what):
    case.script("reader", "read -r i j; case $i in 1) echo Disproved;; 2) echo Dis;; *) echo Proved;; "
                "esac")
    case.mechanism(case.driver(), case.driver("d2"), trust="always")
    case.pos(*[po(f"T{i}", goal()) for i in range(4)])
    run = case.replay(*args.split(), status=status, err=None)
    reason = f"kelvarune-play: stopped after {what}; --stop-on-failure asks for it.\n".encode()
    assert (reason in run.err) == bool(what), run
    goals = parsed(case.path("comp.pos").read_bytes()).iter("Simple_Goal")
    assert sum(part.get("status") == "Unproved" for part in goals) == {2: 2, 3: 2, 5: 1}[played]


def test_shards_are_merged(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(po("T0", *[candidate()] * 2), po("T1", *[candidate()] * 5))
    before = case.path("comp.pos").read_bytes()
    copies = [f"comp.{part}-of-3.pos" for part in (1, 2, 3)]
    # A part loses nothing by leaving the goals of the others alone.
    runs = [case.start(*REPLAY, "--replay", "--shard", f"{part}/3") for part in (1, 2, 3)]
    assert [run.wait(LIMIT_S) for run in runs] == [0, 0, 0]
    assert len(case.calls("writer")) == 7 and case.path("comp.pos").read_bytes() == before
    case.replay("--shard", "2/3", status=2, out="", err=(
        "kelvarune-play: comp.2-of-3.pos: is there already; merge it by kelvarune-pos merge, or "
        "remove it.\n"))
    case.run("merge", *copies, "-o", "comp.pos", "--force", program="kelvarune-pos")
    assert case.proved() == 7


def test_gives_up_while_another_run_uses_the_file(case):
    case.mechanism()
    case.pos(po("T0", goal()))
    with open(case.write(".comp.pos.kelvarune-lock", "4711 there kelvarune\n"), "rb") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        case.replay("--no-wait", status=2, out="", err=(
            "kelvarune-play: comp.pos: process 4711 on there (kelvarune) uses it; without --no-wait "
            "this run waits for its end.\n"))
        case.replay("--no-wait", "--goal", "T0.1", err=None)  # which writes nothing
    case.replay("--no-wait", err=None)
