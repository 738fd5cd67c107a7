"""The traces of level 1, whole."""

import re

import pytest

from conftest import (FILES, REPLAY, UNSTARTABLE, candidate, goal, mech, param, po, proving,
                      replayed, report)

CREATED = """\
[kelvarune]
command = "{program} {args} "
-- ProofDirector -- Created a ProofDirector for comp from m.xml
xml: {xml} concurrency: {jobs} loaded: 1 trace: 1
-- ProofDirector -- Start loading POS file.
-- ProofDirector -- Loading POS file {loading}.
"""
PLAYING = 2 * "-- ProofDirector -- Playing {}-th driver ({})\n"
WORK = """\
-- ProofDirector -- Driver has proof obligations to process.
-- ProofDirector -- Driver producing writer data
-- ProofDirector -- Driver producing prover data
"""
NO_WORK = "-- ProofDirector -- Driver cannot improve proof status.\n"
WRITING = """\
-- ProofDirector -- Issuing writing command {tools}/writer -a 0 {goal} -i comp.pog -o {po2} -w x
-- ProofDirector -- to generate {po2}
"""
PROVING = """\
-- ProofDirector -- Issuing proving command {tools}/prover {po2}
 and reading command {tools}/reader d1
-- ProofDirector -- processing command output {verdict}
"""
SAVING = """\
-- ProofDirector -- updating proof status of proof obligation 0,0 to Proved for driver d1
-- ProofDirector -- Saving new DOM in POS file comp.pos
"""
DESTROYED = "-- ProofDirector -- Destroyed ProofDirector for component comp\n"


@pytest.fixture
def expect(case):
    """Runs with some more options, and expects what stands between the frame of all traces."""
    def run(*options, traces, out, xml=0, jobs=1, loading="completed"):
        args = [*REPLAY, "-t", "1", *options]
        head = CREATED.format(program=case.program, args=" ".join(args), xml=xml, jobs=jobs,
                              loading=loading)
        run = case.run(*args, out=out, err=None)
        # Numbers of threads are replaced by the first one's name.
        threads = re.findall(rb"Thread (\d+) writes", run.err)[:1]
        err = run.err.replace(threads[0], b"THREAD") if threads else run.err
        assert err.decode() == head + traces + DESTROYED

    case.answers({"d1.0.0": "Proved", "d1.0.1": b" odd \n"})
    case.mechanism(*[case.driver(d, stdin=False, writer=case.tool("writer", None, param("-w", "x")))
                     for d in ("d1", "d2")], trust="always")
    return run


def po2(number):
    return f"work/comp_m_d1_0_{number}.po2"


def test_one_job_at_a_time(case, expect):
    case.pos(po("T0", candidate(), candidate()))
    tools = case.path("tools")
    expect(out=replayed(("d1", 2, [("T0", "+-")]), ("d2", 1, []), proved=1, externally=1,
                        unproved=1), traces=(
        PLAYING.format(0, "d1", 0, "d1") + WORK
        + WRITING.format(tools=tools, goal=0, po2=po2(0))
        + PROVING.format(tools=tools, po2=po2(0), verdict="Proved") + SAVING
        + WRITING.format(tools=tools, goal=1, po2=po2(1))
        + PROVING.format(tools=tools, po2=po2(1), verdict="odd")
        + PLAYING.format(1, "d2", 1, "d2") + WORK))


def test_worker_threads(case, expect):
    case.pos(po("T0", candidate()))
    tools, thread = case.path("tools"), "-- Proof Director -- Thread THREAD "
    expect("-c", "3", jobs=3, out=replayed(("d1", 1, [("T0", "+")]), ("d2", 0), proved=1,
                                           externally=1), traces=(
        PLAYING.format(0, "d1", 0, "d1") + WORK + thread + "writes entry 0.\n"
        + WRITING.format(tools=tools, goal=0, po2=po2(0))
        + thread + f"proves entry ({tools}/prover, {po2(0)}).\n"
        + PROVING.format(tools=tools, po2=po2(0), verdict="Proved") + SAVING
        + PLAYING.format(1, "d2", 1, "d2") + NO_WORK))


def test_drivers_that_cannot_improve_anything(case, expect):
    case.pos(po("T0", goal(mech("m", d1="Unknown"))))
    expect("-x", xml=1, out=replayed(("d1", 1), ("d2", 1), unproved=1, xml=True), traces=(
        PLAYING.format(0, "d1", 0, "d1") + NO_WORK + PLAYING.format(1, "d2", 1, "d2") + NO_WORK))


def test_tools_that_cannot_be_started(case, expect):
    """They keep their lines; there may be no argument at all."""
    case.script("broken", UNSTARTABLE)
    case.mechanism(case.driver(writer="broken", prover="broken", reader="broken"))
    case.pos(po("T0", candidate()))
    writing = WRITING.format(tools=case.path("tools"), goal=0, po2=po2(0)).replace(" -w x", "")
    proving = PROVING.format(tools=case.path("tools"), po2="", verdict="")
    expect(out=replayed(("d1", 1, [("T0", "-")]), unproved=1), traces=(
        PLAYING.format(0, "d1", 0, "d1") + WORK + writing.replace("/writer", "/broken")
        + "-- ProofDirector -- Writer had an error.\n"
        + proving.replace("/prover", "/broken").replace("/reader", "/broken")))


def test_what_cannot_be_loaded(case, expect):
    expect(loading="failed", traces="", out=(
        proving() + "Error comp .pos\nErrorFile not readable comp.pos\n" + report()))
    args = ("-m", "no.xml", *FILES, "-t", "1")
    case.run(*args, status=1, out="", err=(
        f'[kelvarune]\ncommand = "{" ".join([case.program, *args])} "\n'
        "Cannot open 'no.xml'.\n-- ProofDirector -- Created a ProofDirector for comp from no.xml\n"
        "xml: 0 concurrency: 1 loaded: 0 trace: 1\n"))
