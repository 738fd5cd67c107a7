"""The traces of level 1, whole. TOOLS is the folder of the tools, FILE the first secondary file."""

import re

from conftest import REPLAY, candidate, param, po, proving, replayed, report, rows

BEGIN = """\
Created a ProofDirector for comp from m.xml
xml: 0 concurrency: {} loaded: 1 trace: 1
Start loading POS file.
Loading POS file completed.
"""
WORK = """\
Driver has proof obligations to process.
Driver producing writer data
Driver producing prover data
"""
FIRST = "Playing 0-th driver (d1)\n" * 2
SECOND = "Playing 1-th driver (d2)\n" * 2
NO_WORK = "Driver cannot improve proof status.\n"
WRITING = """\
Issuing writing command TOOLS/writer -a 0 0 -i comp.pog -o FILE -w x
to generate FILE
"""
CHAIN = """\
Issuing proving command TOOLS/prover FILE
 and reading command TOOLS/reader d1
processing command output Proved
"""
SAVING = """\
updating proof status of proof obligation 0,0 to Proved for driver d1
Saving new DOM in POS file comp.pos
"""
END = "Destroyed ProofDirector for component comp\n"


def traces(case, args, text):
    """All that a run writes: the echo, and the prefix of most lines."""
    text = re.sub(r"^(?=\S)(?!xml|-- )", "-- ProofDirector -- ", text, flags=re.MULTILINE)
    text = text.replace("TOOLS", f"{case.root}/tools").replace("FILE", "work/comp_m_d1_0_0.po2")
    return f'[kelvarune]\ncommand = "{" ".join([case.program, *args])} "\n{text}'


@rows("options, goals, jobs, text, out", {
    "one job at a time": (
        (), [candidate(), candidate()], 1, FIRST + WORK + WRITING + CHAIN + SAVING
        + WRITING.replace("0 0", "0 1").replace("FILE", "work/comp_m_d1_0_1.po2")
        + CHAIN.replace("Proved", "odd").replace("FILE", "work/comp_m_d1_0_1.po2") + SECOND + WORK,
        replayed(("d1", 2, [("T0", "+-")]), ("d2", 1, []), proved=1, externally=1, unproved=1)),
    "worker threads": (
        ("-c", "3"), [candidate()], 3, FIRST + WORK
        + "-- Proof Director -- Thread N writes entry 0.\n" + WRITING
        + "-- Proof Director -- Thread N proves entry (TOOLS/prover, FILE).\n" + CHAIN + SAVING
        + SECOND + NO_WORK,
        replayed(("d1", 1, [("T0", "+")]), ("d2", 0), proved=1, externally=1)),
})
def test_passes(case, options, goals, jobs, text, out):
    case.answers({"d1.0.0": "Proved", "d1.0.1": b" odd \n"})
    writer = case.tool("writer", None, param("-w", "x"))
    case.mechanism(*[case.driver(d, stdin=False, writer=writer) for d in ("d1", "d2")],
                   trust="always")
    case.pos(po("T0", *goals))
    args = [*REPLAY, "-t", "1", *options]
    run = case.run(*args, out=out, err=None)
    threads = re.findall(rb"Thread (\d+) writes", run.err) or [b"none"]
    want = traces(case, args, BEGIN.format(jobs) + text + END)
    assert run.err.replace(threads[0], b"N").decode() == want


def test_what_cannot_be_loaded(case):
    case.mechanism()
    args = [*REPLAY, "-t", "1"]
    case.run(*args, out=proving() + "Error comp .pos\nErrorFile not readable comp.pos\n" + report(),
             err=traces(case, args, BEGIN.format(1).replace("completed", "failed") + END))
