"""Checking descriptions, running their tools once, and writing new ones."""

import os
import shlex
import signal
import xml.etree.ElementTree as ET

import pytest
from conftest import CRASH, PROVER, RECORD, UNSTARTABLE, rows

PROGRAM = "kelvarune-mech"
DRIVER = """<driver name='d' ext='e'>
<writer path='tools/writer'/><prover path='tools/prover'/>
<reader path='tools/reader'><param value='d'/></reader></driver></mechanism>"""
GOOD = "<mechanism trust='always'>" + DRIVER


@pytest.fixture
def mech(case):
    case.write("m.xml", GOOD)
    case.answers({"*": "Proved"})
    return case


@rows("content, findings", {
    "nothing": (GOOD, ["m.xml: 1 driver, 0 errors, 0 warnings"]),
    "in the order of their places": (
        "<mechanism trust='allways'>\n" + DRIVER.replace("ext", "exd").replace("writer'", "w'"),
        ["m.xml:1:27: error: trust 'allways' does not exist; there are always, never, redundancy.",
         "m.xml:2:25: warning: attribute 'exd' of 'driver' is skipped; 'ext' was probably meant.",
         "m.xml:2:25: warning: there is no 'ext', so", "m.xml:3:23: error: writer of driver d not",
         "m.xml: 1 driver, 2 errors, 2 warnings"]),
    "no description": ("<POG/>", ["m.xml: error: has no element 'mechanism'", "m.xml: 0 drivers"]),
    "no XML": ("<mechanism>\n</driver>", ["m.xml:2:9: error: not well-formed XML", "m.xml: "])})
def test_findings(mech, content, findings):
    mech.write("m.xml", content)
    out = mech.run("check", "m.xml", status=int(len(findings) > 1)).out.decode().splitlines()
    assert len(out) == len(findings) and all(map(str.startswith, out, findings)), out


def test_files_and_directories(mech):
    for name in ("c", "b"):
        mech.write(f"all/{name}.xml", GOOD)
    mech.write("all/a.xml", GOOD.replace("always", "never"))
    mech.path("none").mkdir()
    out = mech.run("check", "all", status=1).out.decode().splitlines()
    assert "all/a.xml:1:25: warning: trust 'never' comes before all/b.xml, all/c.xml," in out[0]
    assert [line.split(":")[0] for line in out[1:]] == [f"all/{name}.xml" for name in "abc"]
    for args, complaint in {"nix.xml m.xml": "nix.xml: cannot be read", "none": "none: has no",
                            "m.xml -i nix": "nix: no such dir", "m.xml -r nix": "nix: no readable",
                            "m.xml --tools --pog nix": "nix: no readable"}.items():
        run = mech.run("check", *args.split(), status=2, err=None)
        assert run.err.decode().startswith(f"kelvarune-mech: {complaint}"), run


ORPHAN = "sleep 1000 &\n"


@rows("role, body, finding", {
    "good": ("prover", PROVER, ""),
    "wrong option": ("prover", "echo 'unknown option' >&2; echo 'try help' >&2; exit 3",
                     "prover exited with status 3 after 0.0x s: 'unknown option / try help'"),
    "verdict in spite of the status": ("prover", PROVER.replace("exec ", "") + "exit 3", ""),
    "no program": ("prover", UNSTARTABLE, "prover could not be started: No such file"),
    "crash": ("prover", CRASH, "prover was ended by signal 11 (Segmentation fault)"),
    "too slow": ("reader", ORPHAN + "sleep 1000", "reader did not end within 1 s"),
    "no verdict": ("reader", "cat; echo Proven", "reader printed 2 lines for one goal"),
    "misspelt verdict": ("reader", "cat >&2; echo Proven", "reader printed 'Proven', which is no v"),
    "silence": ("reader", ORPHAN + "cat >/dev/null", "reader printed nothing"),
    "no file": ("writer", "echo no goal >&2; exit 1", "writer wrote no file")})
def test_trial_on_a_goal(mech, role, body, finding):
    mech.script(role, body)
    out = mech.run("check", "--tools", "--timeout", 1, "--pog", "comp.pog", "m.xml", status=None,
                   env={"TMPDIR": str(mech.path("work"))}).out.decode()
    errors = [line for line in out.splitlines() if ": error: driver d: " in line]
    if finding:
        head, _, tail = finding.partition("0.0x")
        assert any(head in line and tail in line for line in errors), out
    else:
        assert not errors and "m.xml: driver d: verdict Proved\n" in out, out
    assert os.listdir(mech.path("work")) == []


def test_arguments_of_a_trial(mech):
    mech.write("m.xml", GOOD.replace("writer'/>", "writer'><param name='-x' value='${file}'/></writer>")
               .replace("prover'/>", "prover' input='file'><param name='${file}'/></prover>"))
    mech.script("prover", RECORD + PROVER)
    mech.run("check", "--tools", "--pog", "comp.pog", "m.xml", status=1)  # a writer's ${file}
    [[*goal, file, x, variable]] = mech.calls("writer")
    assert goal == ["-a", "0", "0", "-i", "comp.pog", "-o"] and (x, variable) == ("-x", "${file}")
    assert mech.calls("prover") == [[file]] and file.endswith("/comp_m_d_0_0.e")


def test_trial_without_goal(mech):
    mech.script("writer", "echo no goal >&2; exit 1")
    mech.script("reader", "cat >&2; exit 3")
    out = mech.run("check", "--tools", "m.xml").out.decode()
    assert "driver d: writer starts\n" in out and "driver d: reader starts\n" in out
    mech.script("prover", "echo unknown option >&2; exit 1")
    assert "'unknown option'" in mech.run("check", "--tools", "m.xml", status=1).out.decode()


def test_a_stopped_trial_leaves_nothing(mech):
    mech.script("prover", f': >"{mech.root}/busy"\n' + ORPHAN + "sleep 1000")
    process = mech.start("check", "--tools", "m.xml", env={"TMPDIR": str(mech.path("work"))})
    mech.wait_for(mech.path("busy").exists)
    process.send_signal(signal.SIGINT)
    assert mech.finish(process).status == 128 + signal.SIGINT
    assert os.listdir(mech.path("work")) == []


TOOLS = "--writer tools/writer --reader 'tools/reader new' "


@rows("options, drivers", {
    "timeout": ("--prover 'tools/prover -t:${timeout}0 \"a <b>\"'",
                [("prover", "stdin", "10", ["-t:${timeout}0", "a <b>"])]),
    "file": ("--prover 'tools/prover ${file} --' --timeout 3 --prover "
             r'''"tools/prover t${timeout} 'a \" b'\\ "''',
             [("prover", "file", None, ["${file}", "--"]),
              ("prover2", "stdin", "3", ["t${timeout}", 'a " b '])]),
    "asked for": ("--prover tools/prover --input file --driver x --trust never --fast --group full",
                  [("x", "file", None, ["${file}"])])})
def test_new(mech, options, drivers):
    mech.run("new", "n", *shlex.split(TOOLS + options), "--ext", "smt2", status=0,
             out=f"n.xml: written\nn.xml: {len(drivers)} driver{'s'[:len(drivers) - 1]}, "
                 "0 errors, 0 warnings\n")
    root = ET.fromstring(mech.path("n.xml").read_bytes())
    provers = [(driver.get("name"), driver.find("prover")) for driver in root.iter("driver")]
    assert drivers == [(name, prover.get("input"), prover.get("timeout"),
                        [param.get("value") for param in prover]) for name, prover in provers]


@rows("options, complaint", {
    "exists": ("m --prover p", "m.xml: exists; --force writes over it"),
    "no prover": ("n", "--prover is missing"),
    "one proof of two": ("n --prover p --trust redundancy", "--trust redundancy takes the proofs"),
    "open quote": ("n --prover \"p 'x\"", "--prover: a quote is not closed in 'p 'x'"),
    "no such word": ("n --prover p --group fulll", "--group fulll: there are full, none, related (did"),
    "timeout without use": ("n --prover p --timeout 3", "--timeout has no effect without"),
    "no number": ("n --prover 'p ${timeout}' --timeout 3s", "--timeout takes a whole number"),
    "another name": ("n --prover p -o m.xml", "--output m.xml: a mechanism has the name of"),
    "drivers": ("n --prover p --driver a --driver b", "Give a --driver for each --prover")})
def test_new_refuses(mech, options, complaint):
    run = mech.run("new", *shlex.split(options + " " + TOOLS), status=2, err=None)
    assert run.err.decode().startswith(f"kelvarune-mech: {complaint}"), run
    assert mech.path("m.xml").read_text() == GOOD and not mech.path("n.xml").exists()
