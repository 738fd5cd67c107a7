"""Unusable command lines and inputs: lines that name the file, the place and the remedy, status 2,
and not a byte changed on the disk."""

import os
import shlex

import pytest
from conftest import FILES, REPLAY, goal, po, rows

PROGRAM = "kelvarune-play"

# Takes from root what lets it read and write everything.
AS_ANYBODY = () if os.geteuid() else ("setpriv", "--bounding-set=-dac_override,-dac_read_search")


@pytest.fixture
def refused(case):
    """Runs the program, which may print these lines and do nothing else."""
    def files():
        return {path: (path.stat().st_mode, path.stat().st_size, path.stat().st_mtime_ns)
                for path in case.root.rglob("*") if path.name not in ("stdout", "stderr")}

    def check(*args, lines, **options):
        before = files()
        err = "".join(f"kelvarune-play: {line}\n" for line in lines)
        case.run(*args, status=2, out="", err=err.replace("ROOT", str(case.root)), **options)
        assert files() == before

    case.mechanism(case.driver("d1"), case.driver("d2"))
    case.pos(po("T0", goal(), goal()))
    return check


ONE_OF_BOTH = "Either --mechanism or --mechanism-directory is needed, and not both."


@rows("args, line", {
    "no mechanism": ("", ONE_OF_BOTH), "both": ("-M . -m m.xml", ONE_OF_BOTH),
    "nothing in there": ("-M work", "No mechanism description (*.xml) in work."),
    "no POS file": ("-m m.xml -s ''", "The options --pos and --pog are needed."),
    "no goal": ("-m m.xml --explain", "The option --explain needs --goal or --failed."),
    "no sense": ("-m m.xml --replay --retry", "The options --replay and --retry do not go together."),
    "no failure": ("-m m.xml --stop-on-failure=0",
                   "The number of failures must be a number from 1."),
    "misspelt": ("-m m.xml --gaol T0.1", "Unknown option '--gaol' (did you mean --goal?)."),
    # As of an unset variable: it must not play everything.
    "empty": ("-m m.xml --goal ''",
              "The options --driver and --goal need a value that is not empty.")})
def test_command_line(refused, args, line):
    refused(*FILES, *shlex.split(args), lines=[f"{line} Try --help."])


NO_DIRECTORY = "no: no such directory; create it or change --directory."
NO_TAG_N = "must be TAG.N, with N counted from 1."


@rows("args, lines", {fault: (fault.split(), lines) for fault, lines in {
    "-s no.pos -d no": ["no.pos: no such file; --pos names the status file.", NO_DIRECTORY],
    "-p no.pog": ["no.pog: no readable file; --pog names the obligations."],
    "-m no.xml": ["no.xml: cannot be read; --mechanism names a description file."],
    "--driver d3": ["--driver d3: no such driver (did you mean d1?); there are d1, d2."],
    "--driver d1 --fast": ["--fast: nothing to play; no driver is marked as fast."],
    "--goal T1.1": ["--goal T1.1: no obligation of comp.pos has the tag T1 (did you mean T0?)."],
    "--replay --against no.pos": ["no.pos: no such file; --against names a status file."],
    "--replay": ["comp.pos: the mechanism m is not registered with goal T0.1; leave out --replay "
                 "to play it first."],
    "--goal T0.3": ["--goal T0.3: obligation T0 of comp.pos has 2 goal(s)."],
    **{f"--goal {text}": [f"--goal {text}: {NO_TAG_N}"] for text in ("T0", "T0.0")},
}.items()})
def test_names_of_nothing(refused, args, lines):
    refused(*REPLAY, *args, lines=lines)


@rows("name, mode, fault", {
    "read": ("comp.pos", 0o444, "not writable, results could not be saved; allow writing."),
    "written": ("comp.pos", 0o222, "cannot be read; allow reading."),
    "directory read": ("work", 0o555, "not writable; --directory takes temporary files.")})
def test_what_may_only_be(case, refused, name, mode, fault):
    case.path(name).chmod(mode)
    refused(*REPLAY, lines=[f"{name}: {fault}"], under=AS_ANYBODY)


def not_found(place, tool, looked):
    return (f"{place}: {tool} of driver d not found; looked for the executable {looked}; install "
            "it, or name its place with --installdir or a resource file.")


TOOLS = '<writer path="/bin/sh"/><prover path="/bin/sh">{}</prover><reader path="/bin/sh"/>'
CUT_OFF = "2:1: not well-formed XML (unexpected end of file)"


# A place is that of the end of a tag.
@rows("name, content, lines", {
    "POS cut off": ("comp.pos", "<Proof_Obligations>\n", [
        f"{CUT_OFF}; restore the file, perhaps from comp.pos~."]),
    "statuses": ("comp.pos", """<Proof_Obligations><Proof_Obligation><Tag>T0</Tag><Simple_Goal/>
<Simple_Goal status="a">
<Mechanism name="m" status="b"/></Simple_Goal></Proof_Obligation></Proof_Obligations>""", [
        "2:24: unknown status 'a' in goal 2 of obligation T0; correct it.",
        "3:31: unknown status 'b' in goal 2 of obligation T0; correct it."]),
    "no POS": ("comp.pos", "<mechanism/>", [
        "1:11: no status file, its root element is mechanism; --pos names the status file."]),
    "mechanism cut off": ("m.xml", "<mechanism>\n", [f"{CUT_OFF}; correct it."]),
    "words": ("m.xml", '<mechanism trust="often">\n<driver name="d" group="all">'
              + TOOLS.format("") + "</driver></mechanism>", [
        "1:25: trust 'often' does not exist; there are always, never, redundancy.",
        "2:29: group 'all' does not exist; there are full, none, related."]),
    "definition": ("m.xml", "<mechanism><driver>" + TOOLS.format('<expand name="x"/>')
                   + "</driver></mechanism>", [
        " an 'expand' names a definition that does not exist; only the first 'definition' "
        "counts."]),
    "no tools": ("m.xml", '<mechanism>\n<driver name="d"/></mechanism>', [
        f"2:17: {tool} of driver d is missing; describe it."
        for tool in ("writer", "prover", "reader")]),
    "missing tools": ("m.xml", """<mechanism><driver name="d"><writer path="writer"/>
<prover path="m.xml"/>
<reader path="reader" resource="Reader"/></driver></mechanism>""", [
        not_found("1:50", "writer", "writer in work, ., ROOT"),
        not_found("2:21", "prover", "m.xml in work, ., ROOT"),
        not_found("3:40", "reader", "/opt/reader")])})
def test_contents(case, refused, name, content, lines):
    case.mechanism(path="good.xml")  # must not be played either
    case.write("site.res", "MVL*Proof*Reader: /opt/reader\n")
    case.write(name, content)
    refused("-m", "good.xml", *REPLAY, "-i", "work", "-i", ".", "-r", "site.res",
            lines=[f"{name}:{line}" for line in lines])
