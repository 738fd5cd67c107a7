"""From the reader's output to the statuses in the POS file, and to the counts of the report: the
grammar of verdicts, the rules of trust over several drivers, and the progress marks."""

import pytest

from conftest import (ABORTED, FILES, REPLAY, candidate, concluded, goal, mech, po,
                      proving, replayed, rows)

P, U, D, R = "Proved", "Unknown", "Disproved", "UnreliablyProved"

# Under trust always a recognised verdict shows as its mark; None marks a refused output.
SINGLE = {
    "line": (b"Proved\n", "+"),
    "disproved": (b"Disproved\n", "!"),
    "unknown": (b"Unknown\n", "-"),
    "nothing": (b"", "-"),
    "unreliable is no verdict": (b"UnreliablyProved\n", "-"),
    "not UTF-8": (b"\xff\xfe\x80\n", "-"),
    "two verdicts": (b"Proved\nProved\n", None),
    "the last one closes the list": (b"Proved\n", "+"),
}
PAIRS = {
    "both": (b"Proved\nDisproved\n", "+!"),
    "one unrecognised": (b"(error)\nProved\n", "-+"),
    "nothing": (b"", None),
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
    path = case.pos(po("T", candidate()))
    path.write_bytes(before := path.read_bytes() + b"<!-- as it was -->")
    case.answers({"*": "no"})
    case.mechanism()
    case.replay(out=replayed(("d1", 1, [("T", "-")]), unproved=1))
    assert path.read_bytes() == before


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
    xml = trust == "never"
    case.replay(*["-x"] * xml, out=replayed(
        *passes, xml=xml, proved=ends.count(P), externally=sum(row[2] == P for row in table),
        unreliably=ends.count(R), disproved=ends.count(D), unproved=ends.count("Unproved")))

    def words(verdicts, marks):
        return {d: VERDICT[verdict] if mark != " " and verdict in "PUD" else P
                for d, verdict, mark in zip(DRIVERS, verdicts, marks)}

    case.pos_is(*[po(verdicts, goal(mech("m", m, **words(verdicts, marks)), status=status))
                  for verdicts, marks, m, status in table])


def test_the_last_driver_is_the_last_in_the_file(case):
    # Only its "Unknown" reaches the mechanism, whatever order the description has.
    case.mechanism(case.driver("d2"), case.driver("d1"))
    case.pos(po("T", candidate("d1", "d2"), candidate("d2", "d1")))
    case.replay(out=replayed(("d2", 2, [("T", "--")]), ("d1", 2, [("T", "--")]), unproved=2))
    case.pos_is(po("T", goal(mech("m", U, d1=U, d2=U)), goal(mech("m", U, d2=U, d1=U))))


@rows("part, args, out", {
    "goal": (goal(status="Valid"), REPLAY, proving() + "Error comp .pos\n"),
    "driver": (goal(mech("A", d="bogus")), REPLAY, proving() + "Error comp .pos\n"),
    "before any registered mechanism": (
        goal(mech("m", d1="Proved"), status="bogus"), ("-M", ".", *FILES), "")})
def test_unknown_statuses_end_the_run_abnormally(case, part, args, out):
    case.mechanism()
    case.pos(po("T", part))
    assert b"map::at" in case.run(*args, status=ABORTED, err=None, out=out).err
