"""From the reader's output to the statuses in the POS file, and to the counts of the report: the
grammar of verdicts, the rules of trust over several drivers, and the progress marks."""

import pytest

from conftest import (ABORTED, FILES, REPLAY, candidate, concluded, element, goal, mech,
                      po, proving, replayed, rows)

P, U, D, R = "Proved", "Unknown", "Disproved", "UnreliablyProved"

# Under trust always a recognised verdict shows as its mark; None marks a refused output.
SINGLE = {
    "line": (b"Proved\n", "+"),
    "disproved": (b"Disproved\n", "!"),
    "unknown": (b"Unknown\n", "-"),
    "white space at both ends": (b"\n\t Proved \v\f\r\n\n", "+"),
    "nothing": (b"", "-"),
    "lower case": (b"proved\n", "-"),
    "unreliable is no verdict": (b"UnreliablyProved\n", "-"),
    "NUL after": (b"Proved\0\n", "-"),
    "not UTF-8": (b"\xff\xfe\x80\n", "-"),
    "byte order mark": (b"\xef\xbb\xbfProved\n", "-"),
    "two verdicts": (b"Proved\nProved\n", None),
    "the last one closes the list": (b"Proved\n", "+"),
}
PAIRS = {
    "both": (b"Proved\nDisproved\n", "+!"),
    "inner carriage return": (b"Proved\r\nProved\r\n", "-+"),
    "one unrecognised": (b"(error)\nProved\n", "-+"),
    "nothing": (b"", None),
    "an empty line between": (b"Proved\n\nProved\n", None),
    "blank line at the end": (b"Unknown\n\n", None),
    "last": (b"Unknown\nDisproved", "-!"),
}


@pytest.mark.parametrize("xml", [False, True])
@rows("table, size, group", {"one goal": (SINGLE, 1, "none"), "two goals": (PAIRS, 2, "related")})
def test_grammar(case, table, size, group, xml):
    case.answers({f"d1.{i}.0": answer for i, (answer, _) in enumerate(table.values())}
                 | {"d1.*.1": b""})
    case.mechanism(case.driver(group=group), trust="always")
    case.pos(*[po(name, *[candidate()] * size) for name in table])
    marks = "".join(m or "" for _, m in table.values())
    total, proved, disproved = len(table) * size, marks.count("+"), marks.count("!")
    case.replay(
        *["-x"] * xml, err="".join(
            f"Unexpected number of results. Expected: {size} Found: "
            f"{answer.strip().count(bytes([10])) + 1}\n"
            for answer, marks in table.values() if marks is None),
        out=replayed(("d1", total, [(name, m or "") for name, (_, m) in table.items()]), xml=xml,
                     proved=proved, externally=proved, disproved=disproved,
                     unproved=total - proved - disproved))

    def after(mark, line):
        unknown = goal(mech("m", U, d1=U)) if line.strip() == b"Unknown" else candidate()
        return {"+": concluded(), "!": concluded(D)}.get(mark, unknown)

    # Recognised verdicts stand in the file, everything else is as it was.
    case.pos_is(*[po(name, *map(after, m or " " * size, answer.strip().split(b"\n") if m
                                else [b""] * size)) for name, (answer, m) in table.items()])


def test_without_a_recognised_verdict_the_file_is_not_written(case):
    before = b"<Proof_Obligations><Proof_Obligation>\n<Tag>T</Tag></Proof_Obligation>" \
             b"<Proof_Obligation><Tag>U</Tag><Simple_Goal><Mechanism name='m'>" \
             b"<Driver name='d1' status='Proved'/></Mechanism></Simple_Goal>" \
             b"</Proof_Obligation></Proof_Obligations>"
    case.write("comp.pos", before)
    case.answers({"*": "no"})
    case.mechanism()
    case.replay(out=replayed(("d1", 1, [("T", ""), ("U", "-")]), unproved=1))
    assert case.path("comp.pos").read_bytes() == before


# --- Trust over several drivers -------------------------------------------------------------------

# Three drivers replay each goal: their verdicts, the mark of each pass (blank: not selected), and
# the statuses of mechanism and goal at the end.
TRUST = {
    "never": [
        ("P..", "*  ", R, R), ("UUP", "--*", R, R), ("UUU", "---", U, "Unproved"),
        ("UDP", "-! ", D, D), ("???", "---", "Unproved", "Unproved")],
    "always": [("PPP", "+  ", P, P), ("?P?", "-+ ", P, P), ("U?D", "--!", D, D)],
    "redundancy": [
        ("PPP", "*+ ", P, P), ("PUP", "**+", P, P), ("UUP", "--*", R, R), ("PUU", "**-", U, R),
        ("PUD", "**!", D, D), ("D..", "!  ", D, D), ("P??", "*--", R, R), ("UPU", "-*-", U, R),
        ("UUU", "---", U, "Unproved")],
}
VERDICT = {"P": P, "U": U, "D": D, "?": "what", ".": "not asked"}
DRIVERS = ("d1", "d2", "d3")


@pytest.mark.parametrize("trust, group", zip(TRUST, ["full", "none", "related"]))
def test_trust(case, trust, group):
    table = TRUST[trust]
    case.answers({f"{d}.{i}.0": VERDICT[verdicts[k]]
                  for i, (verdicts, *_) in enumerate(table) for k, d in enumerate(DRIVERS)})
    case.mechanism(*[case.driver(d, group=group) for d in DRIVERS], trust=trust)
    case.pos(*[po(verdicts, candidate(*DRIVERS)) for verdicts, *_ in table])

    # Each proof and disproof changes its goal's own status, which is counted down every time.
    passes, unproved = [], len(table)
    for k, driver in enumerate(DRIVERS):
        asked = [i for i, row in enumerate(table) if row[1][k] != " "]
        shown = [(row[0], row[1][k].strip()) for row in table[:asked[-1] + 1]]
        passes.append((driver, unproved % 2**32, shown))
        unproved -= sum(row[1][k] != " " and row[0][k] in "PD" for row in table)
    ends = [status for *_, status in table]
    case.replay(out=replayed(
        *passes, proved=ends.count(P), externally=sum(row[2] == P for row in table),
        unreliably=ends.count(R), disproved=ends.count(D), unproved=ends.count("Unproved")))

    def last_word(verdict, mark):
        return VERDICT[verdict] if mark != " " and verdict in "PUD" else P

    case.pos_is(*[
        po(verdicts, goal(mech("m", m, **dict(zip(DRIVERS, map(last_word, verdicts, marks)))),
                          status=status))
        for verdicts, marks, m, status in table])


def test_the_count_of_unproved_goals_wraps(case):
    case.answers({"*": "Proved"})
    case.mechanism(*map(case.driver, DRIVERS), trust="redundancy")
    case.pos(po("T", candidate("d1", "d2")))
    case.replay(out=replayed(("d1", 1, [("T", "*")]), ("d2", 0, [("T", "+")]),
                             ("d3", 4294967295), proved=1, externally=1))


def test_the_last_driver_is_the_last_in_the_file(case):
    # Only its "Unknown" reaches the mechanism, whatever order the description has.
    case.mechanism(case.driver("d2"), case.driver("d1"))
    case.pos(po("T", candidate("d1", "d2"), candidate("d2", "d1")))
    case.replay(out=replayed(("d2", 2, [("T", "--")]), ("d1", 2, [("T", "--")]), unproved=2))
    case.pos_is(po("T", goal(mech("m", U, d1=U, d2=U)), goal(mech("m", U, d2=U, d1=U))))


def test_only_the_first_driver_of_a_name_is_updated(case):
    def twice(first, status):
        part = mech("m", status, d1=first)
        part.extend(mech(d1=P))
        return goal(part, status=status)

    case.answers({"*": D})
    case.mechanism()
    case.pos(po("T", twice(P, "Unproved")))
    case.replay(out=replayed(("d1", 1, [("T", "!")]), disproved=1))
    case.pos_is(po("T", twice(D, D)))


# --- The report -----------------------------------------------------------------------------------


def test_report(case):
    """The mechanism has no driver, so the report counts the file as it was; in a goal's place stand
    every status, statuses of two mechanisms, and elements that do not count."""
    case.write("m.xml", "<mechanism/>")
    every = [goal(mech(), status=s) for s in ("Unproved", U, R, P, D, "Proved(2)", None)]
    case.pos(po("T", *every), po("U", goal(mech(), mech("A", P), mech("B", P), status=P)),
             element("Other", po("X", goal())), goal(),
             po("V", element("Other", goal()), goal(mech(), mech("A", "Proved(1)"), status=D)))
    case.replay(out=replayed(proved=3, externally=2, unreliably=1, disproved=2, unproved=2))


@rows("part", {"goal": goal(status="Valid"), "mechanism": goal(mech("A", "Invalid")),
               "driver": goal(mech("A", d="bogus"))})
def test_unknown_statuses_end_the_run_abnormally(case, part):
    case.write("m.xml", "<mechanism/>")
    case.pos(po("T", part))
    run = case.run(*REPLAY, status=ABORTED, err=None, out=proving() + "Error comp .pos\n")
    assert b"map::at" in run.err


def test_a_corrupt_goal_is_refused_before_any_registered_mechanism_runs(case):
    case.pos(po("T", goal(mech("m", d1="Proved"), status="bogus")))
    assert b"map::at" in case.run("-M", ".", *FILES, status=ABORTED, out="", err=None).err
