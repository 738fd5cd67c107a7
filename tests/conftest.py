"""What the Python tests share: a scratch component, script tools that record their calls, a runner.
"""

# Environment: KELVARUNE_BIN is the folder of the programs; KELVARUNE_TEST_SLOWNESS (default 1)
# multiplies every time limit, for builds with sanitizers. A module whose tests run another program
# than kelvarune names it in PROGRAM. `--rounds N` asks for more random rounds than usual.
# A process left behind, and a warning of Qt or of a sanitizer, fail the test.

import contextlib
import ctypes
import dataclasses
import os
import pathlib
import random
import resource
import shutil
import signal
import subprocess
import tempfile
import time
import xml.etree.ElementTree as ET

import psutil
import pytest

PROJECT = pathlib.Path(__file__).resolve().parent.parent
BIN = pathlib.Path(os.environ.get("KELVARUNE_BIN", PROJECT / "build/release/bin"))
SLOWNESS = float(os.environ.get("KELVARUNE_TEST_SLOWNESS", "1"))
LIMIT_S = 20 * SLOWNESS
SUPPRESSIONS = PROJECT / "tests/support/tsan.suppressions"

ABORTED = -signal.SIGABRT
NEVER_ON_STDERR = (b"QProcess", b"QThread", b"QFile", b"QDom", b"Sanitizer", b"runtime error:")

# The options that every replay needs beside the mechanism; paths are relative to the scratch
# directory, which is the working directory of each run.
FILES = ("-s", "comp.pos", "-p", "comp.pog", "-d", "work")
REPLAY = ("-m", "m.xml", *FILES)

# Root has no use for permissions; these options run a program as somebody who has.
AS_NOBODY = {} if os.geteuid() else {"user": 65534, "group": 65534, "extra_groups": []}

# Whoever runs the tests may ignore some signals, and that is inherited.
signal.signal(signal.SIGINT, signal.default_int_handler)
for number in (signal.SIGHUP, signal.SIGTERM, signal.SIGQUIT):
    signal.signal(number, signal.SIG_DFL)

# Tools crash on purpose, and may not leave core files behind. What outlives its parent becomes a
# child of this process, so that it is found.
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
PR_SET_CHILD_SUBREAPER = 36
ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

# --- Tables and rounds --------------------------------------------------------------------------


def rows(names, table):
    """Parametrises a test by a table of named rows; a row of several values is a tuple."""
    return pytest.mark.parametrize(names, [
        pytest.param(*(row if isinstance(row, tuple) else (row,)), id=name)
        for name, row in table.items()])


PATH = os.environ["PATH"] + ":/usr/sbin"


def needs(*programs):
    """Marks what is skipped where a program is missing, but never in CI."""
    missing = [program for program in programs if not shutil.which(program, path=PATH)]
    return pytest.mark.skipif(bool(missing) and not os.environ.get("CI"),
                              reason=f"not installed: {', '.join(missing)}")


def pytest_addoption(parser):
    parser.addoption("--rounds", type=int, help="random rounds of each kind")


def pytest_generate_tests(metafunc):
    if mark := metafunc.definition.get_closest_marker("rounds"):
        metafunc.fixturenames.append("round_number")  # whether the test asks for it or not
        count = metafunc.config.getoption("--rounds") or mark.args[0]
        metafunc.parametrize("round_number", range(count))


@pytest.fixture
def rng(request):
    """Random numbers that are the same in every run of the round."""
    return random.Random(request.node.name)


@pytest.fixture
def case(request):
    with tempfile.TemporaryDirectory(prefix="kelvarune-") as root:
        case = Case(pathlib.Path(root).resolve(), getattr(request.module, "PROGRAM", "kelvarune"))
        yield case
        case.kill_all()
        for process in case.started:
            process.wait()


@pytest.fixture
def busy(case):
    # Starts a run over four goals, of which the last but one keeps the tool of a role busy, and
    # returns when the other verdicts that this many jobs can reach are saved.
    def start(jobs=1, role="prover", before=candidate(), body="{mark}; exec sleep 1000", **options):
        body = body.format(mark=f': >"{case.root}/busy"')
        case.script("busy", {
            "writer": f'[ "$2" = 2 ] && {{ {body}; }}\nexec "{case.root}/tools/writer" "$@"',
            "prover": f"case $1 in *_2_0.po2) {body};; esac\n" + PROVER,
            "reader": f'read -r i j; [ "$i" = 2 ] && {{ {body}; }}\necho Proved\n'}[role])
        case.answers({"*": "Proved"})
        case.mechanism(case.driver(stdin=False, **{role: "busy"}), trust="always")
        case.pos(*[po(f"T{i}", before) for i in range(4)])
        process = case.start(*REPLAY, "-c", jobs, **options)
        case.wait_for(case.path("busy").exists)
        case.wait_for(lambda: case.proved() == (2 if jobs == 1 else 3))
        return process
    return start


# --- POS documents ------------------------------------------------------------------------------


def element(tag, *children, text=None, **attributes):
    """An element; attributes whose value is None are left out."""
    result = ET.Element(tag, {k: v for k, v in attributes.items() if v is not None})
    result.text = text
    result.extend(children)
    return result


def mech(name="m", status="Unproved", **drivers):
    """A Mechanism element with one Driver per keyword."""
    return element("Mechanism", *[element("Driver", name=d, status=s) for d, s in drivers.items()],
                   name=name, status=status)


def goal(*parts, status="Unproved", state="Unproved", **attributes):
    return element("Simple_Goal", element("Proof_State", proofState=state), *parts, status=status,
                   **attributes)


def candidate(*drivers):
    """A goal of mechanism m that each of the named drivers proved in an earlier life."""
    return goal(mech(**dict.fromkeys(drivers or ["d1"], "Proved")))


def concluded(status="Proved"):
    """What becomes of a candidate by a verdict that is believed."""
    return goal(mech("m", status, d1=status), status=status)


def po(tag, *goals):
    return element("Proof_Obligation", element("Tag", text=tag), *goals)


def obligations(*children, **attributes):
    return element("Proof_Obligations", *children, **attributes)


def parsed(data):
    return ET.fromstring(data)


def canonical(data):
    """A document as text, whatever the order of its attributes and the blanks around texts."""
    return ET.canonicalize(data, strip_text=True, with_comments=True).replace("><", ">\n<")


def param(name=None, value=None, separator=None):
    return element("param", name=name, separator=separator, value=value)


# --- Expected output ----------------------------------------------------------------------------

XML_MARKS = str.maketrans({"+": "<p/>", "-": "<m/>", "*": "<u/>", "!": "<d/>"})


def proving(mechanism="m", component="comp", xml=False):
    line = f"Proving {component} with external mechanism {mechanism}"
    return f"<proving>{line}</proving>\n" if xml else line + "\n"


def driver_pass(driver, unproved, operations=None, xml=False):
    """One driver pass: its line and, when it had work, the marks of each (tag, marks)."""
    line = f"\tProof driver {driver}, still {unproved} unproved PO"
    text = f"<proofPass>{line}</proofPass>\n" if xml else line + "\n"
    if operations is None:
        return text
    head, middle, end = (("\t\t<operation><name>", "</name>\n\t\t\t", "</operation>\n") if xml
                         else ("\t\t", "\n\t\t\t", "\n"))
    blocks = [head + tag + middle + (marks.translate(XML_MARKS) if xml else marks)
              for tag, marks in operations]
    return text + end.join(blocks) + "\n" + (end if blocks else "")


def report(proved=0, externally=0, unreliably=0, disproved=0, unproved=0, component="comp",
           xml=False):
    line = (f"TOTAL for {component}\t Proved {proved}\t Proved externally {externally}"
            f"\t Unreliably proved {unreliably}\t Disproved {disproved}\t Unproved {unproved}")
    if xml:
        return f"\n<proofResult>\n\n<total>{line}</total>\n</proofResult>\n</proof>\n"
    return f"End of proof\n\n{line}\n"


def replayed(*passes, xml=False, **counts):
    """The output of one mechanism m whose passes are tuples for driver_pass."""
    return (("<proof>\n" if xml else "") + proving(xml=xml)
            + "".join(driver_pass(*row, xml=xml) for row in passes) + report(xml=xml, **counts))


ONE_PROOF = replayed(("d1", 1, [("T0", "+")]), proved=1, externally=1)

# --- Script tools -------------------------------------------------------------------------------

# Appends the arguments to the file named after the tool: each ends with NUL, a call with RS NUL.
RECORD = r"""{ for a; do printf '%s\0' "$a"; done; printf '\036\0'; } >>"$0.log"
"""
# Writes one line "i j" per -a into the file given with -o.
WRITER = r"""a=
while [ $# -gt 0 ]; do
  case $1 in
    -a) a="$a$2 $3
"; shift 3 ;;
    -o) printf '%s' "$a" >"$2"; exit ;;
    *) shift ;;
  esac
done
"""
# Hands its input, or the file named by its first argument, on to the reader.
PROVER = '[ $# -eq 0 ] || exec <"$1"\nexec cat\n'
# To be started by the system, this needs an interpreter that is not there.
UNSTARTABLE = "#!/nonexistent/interpreter\n"
CRASH = "kill -SEGV $$\n"


# --- The scratch component and its runs -----------------------------------------------------------


@dataclasses.dataclass
class Run:
    """What one run left: its exit status (negative: a signal) and its two streams as bytes."""
    args: list
    status: int
    out: bytes
    err: bytes

    def __str__(self):
        out, err = [data.decode("utf-8", "backslashreplace") for data in (self.out, self.err)]
        return f"{self.args}\nstatus: {self.status}\n--- out ---\n{out}\n--- err ---\n{err}"


class Case:
    def __init__(self, root, program):
        self.root, self.program, self.started = root, str(BIN / program), []
        self.path("work").mkdir()
        self.script("writer", RECORD + WRITER)
        self.script("prover", RECORD + PROVER)
        self.answers({})
        self.write("comp.pog", "<Proof_Obligations/>")

    # Files of the scratch directory.

    def path(self, name):
        return self.root / name

    def write(self, name, content):
        path = self.path(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def script(self, name, body):
        """An executable below tools/; a body without "#!" is run by sh."""
        path = self.write(f"tools/{name}", body if body.startswith("#!") else "#!/bin/sh\n" + body)
        path.chmod(0o755)
        return path

    def answers(self, answers):
        """Lets the common reader, given a driver's name, answer each address "i j" it reads."""
        # Keys are shell patterns over "<driver>.<i>.<j>"; values are the bytes to print, or a
        # verdict as text, which gets a line feed. Without an answer it says Unknown.
        cases = ""
        for key, answer in answers.items():
            data = answer if isinstance(answer, bytes) else answer.encode() + b"\n"
            cases += f"{key}) printf '" + "".join(f"\\{byte:03o}" for byte in data) + "' ;;\n"
        self.script("reader", RECORD + "while read -r i j; do case $1.$i.$j in\n" + cases
                    + "*) echo Unknown ;;\nesac; done\n")

    def calls(self, tool):
        """The argument lists with which a recording tool was called, in the order of the calls."""
        log = self.path(f"tools/{tool}.log")
        calls = log.read_text().split("\x1e\0")[:-1] if log.exists() else []
        return [call.split("\0")[:-1] for call in calls]

    # The component and its mechanism.

    def tool(self, role, script=None, *parts, **attributes):
        attributes.setdefault("path", f"{self.root}/tools/{script or role}")
        attributes.setdefault("name", script or role)
        return element(role, *parts, **attributes)

    def driver(self, name="d1", writer=None, prover=None, reader=None, stdin=True, **attributes):
        # The tools are the common ones unless writer, prover and reader name another script, or are
        # whole elements; the common reader is given the driver's name.
        def tool(role, given, *params, **more):
            whole = isinstance(given, ET.Element)
            return given if whole else self.tool(role, given, *params, **more)

        file, how = ((), None) if stdin else ((param(value="${file}"),), "file")
        return element("driver", tool("writer", writer), tool("prover", prover, *file, input=how),
                       tool("reader", reader, param(value=name)),
                       **{"name": name, "ext": "po2"} | attributes)

    def mechanism(self, *parts, path="m.xml", trust=None):
        """Writes a mechanism description; without parts it has one driver d1."""
        parts = parts or [self.driver()]
        self.write(path, ET.tostring(element("mechanism", *parts, trust=trust)))

    def pos(self, *children, **attributes):
        return self.write("comp.pos", ET.tostring(obligations(*children, **attributes)))

    def pos_is(self, *children, author="proof_director", **attributes):
        """Compares the saved POS file, as a tree."""
        want = ET.tostring(obligations(*children, author=author, **attributes))
        assert canonical(self.path("comp.pos").read_bytes()) == canonical(want)

    def proved(self):
        """How many goals the POS file says are proved."""
        goals = parsed(self.path("comp.pos").read_bytes()).iter("Simple_Goal")
        return sum(part.get("status") == "Proved" for part in goals)

    # Running.

    def start(self, *args, env=None, under=(), program=None, **options):
        """Starts the program, below the command `under` if there is one; end it with finish."""
        command = [*under, str(BIN / program) if program else self.program, *map(str, args)]
        # The thread sanitizer sleeps a second at every exit; leaks cannot be looked for below strace.
        usual = {"HOME": str(self.root), "LC_ALL": "C.UTF-8",
                 "ASAN_OPTIONS": "detect_leaks=0" if under[:1] == ("strace",) else None,
                 "TSAN_OPTIONS": f"atexit_sleep_ms=0 suppressions={SUPPRESSIONS} "
                                 + os.environ.get("TSAN_OPTIONS", "")}
        env = {k: v for k, v in (os.environ | usual | (env or {})).items() if v is not None}
        with open(self.path("stdout"), "wb") as out, open(self.path("stderr"), "wb") as err:
            process = subprocess.Popen(command, **{
                "cwd": self.root, "env": env, "stdin": subprocess.DEVNULL,
                "stdout": out, "stderr": err} | options)
        self.started.append(process)
        return process

    def finish(self, process, orphans=False, limit_s=LIMIT_S):
        """Waits for the end of a started program and checks what holds for every run."""
        # Children that tools left behind (orphans) may outlive a program that came to the end of
        # its report.
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(limit_s)
        run = Run(process.args, process.returncode, self.path("stdout").read_bytes(),
                  self.path("stderr").read_bytes())
        assert run.status is not None, f"it never ends, with {self.running()}\n{run}"
        if not (orphans and b"\nTOTAL" in run.out):
            self.wait_for(lambda: not self.running(), lambda: f"left {self.running()} by {run}")
        assert not [text for text in NEVER_ON_STDERR if text in run.err], run
        return run

    def running(self):
        """The processes that the test has started, directly or not, and that live."""
        living = []
        for process in psutil.Process().children(recursive=True):
            with contextlib.suppress(psutil.NoSuchProcess):
                if process.status() != psutil.STATUS_ZOMBIE:
                    living.append(process)
        return living

    def kill_all(self):
        while processes := self.running():  # one that is killed later may have started another
            for process in processes:
                with contextlib.suppress(psutil.NoSuchProcess):
                    process.kill()

    def run(self, *args, status=0, out=None, err="", orphans=False, limit_s=LIMIT_S, **options):
        """A whole run, compared with what is expected; what is None is left to the caller."""
        run = self.finish(self.start(*args, **options), orphans, limit_s)
        want = Run(run.args, run.status if status is None else status,
                   run.out if out is None else out.encode(),
                   run.err if err is None else err.encode())
        assert str(run) == str(want)
        return run

    def replay(self, *more, **options):
        """Runs m.xml on comp.pos; the secondary files must be gone afterwards."""
        run = self.run(*REPLAY, *more, **options)
        assert os.listdir(self.path("work")) == [], "secondary files left behind"
        return run

    @staticmethod
    def wait_for(condition, what=str):
        deadline = time.monotonic() + LIMIT_S
        while not condition():
            assert time.monotonic() < deadline, what()
            time.sleep(0.01)
