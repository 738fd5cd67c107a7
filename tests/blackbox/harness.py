"""What the black-box tests share: a scratch component with its mechanism, tiny script tools that
keep a record of how they were called, and a runner that never waits for ever.

Every run is compared whole: exit status, standard output and standard error. A run also fails when
it leaves a process behind, or when standard error holds a warning of the process library or of a
sanitizer, whatever the test itself looks at.

Environment: KELVARUNE is the program to test; KELVARUNE_TEST_SLOWNESS (default 1) multiplies every
time limit, for builds with sanitizers.
"""

import os
import pathlib
import resource
import shutil
import signal
import subprocess
import tempfile
import time
import unittest
import xml.etree.ElementTree as ET

PROGRAM = os.environ.get("KELVARUNE", "kelvarune")
SLOWNESS = float(os.environ.get("KELVARUNE_TEST_SLOWNESS", "1"))
LIMIT_S = 20 * SLOWNESS

ABORTED = -signal.SIGABRT
NEVER_ON_STDERR = ("QProcess", "QThread", "QFile", "QDom", "Sanitizer", "runtime error:")

# The options that every replay needs beside the mechanism; paths are relative to the scratch
# directory, which is the working directory of each run.
FILES = ("-s", "comp.pos", "-p", "comp.pog", "-d", "work")

# Tools that crash on purpose must not leave core files behind.
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


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


def goal(*parts, status="Unproved", state="Unproved"):
    return element("Simple_Goal", element("Proof_State", proofState=state), *parts, status=status)


def candidate(*drivers):
    """A goal of mechanism m that each of the named drivers proved in an earlier life."""
    return goal(mech(**dict.fromkeys(drivers or ["d1"], "Proved")))


def po(tag, *goals):
    return element("Proof_Obligation", element("Tag", text=tag), *goals)


def obligations(*children, **attributes):
    return element("Proof_Obligations", *children, **attributes)


def parsed(data):
    builder = ET.XMLParser(target=ET.TreeBuilder(insert_comments=True))
    builder.feed(data)
    return builder.close()


def outline(node, depth=0):
    """A tree as text: one line per element, attributes sorted, blanks around text ignored."""
    name = "<!-->" if node.tag is ET.Comment else node.tag
    text = "".join(f" {k}={v!r}" for k, v in sorted(node.attrib.items()))
    words = (node.text or "").strip()
    lines = ["  " * depth + name + text + (f" {words!r}" if words else "")]
    for child in node:
        lines.append(outline(child, depth + 1))
        if (child.tail or "").strip():
            lines.append("  " * (depth + 1) + repr(child.tail.strip()))
    return "\n".join(lines)


# --- Mechanism descriptions ---------------------------------------------------------------------


def param(name=None, value=None, separator=None):
    return element("param", name=name, separator=separator, value=value)


# --- Expected output ----------------------------------------------------------------------------

XML_MARKS = {"+": "<p/>", "-": "<m/>", "*": "<u/>", "!": "<d/>"}


def proving(mechanism="m", component="comp", xml=False):
    line = f"Proving {component} with external mechanism {mechanism}"
    return f"<proving>{line}</proving>\n" if xml else line + "\n"


def driver_pass(driver, unproved, operations=None, xml=False):
    """One driver pass: its line and, when it had work, the marks of each (tag, marks)."""
    line = f"\tProof driver {driver}, still {unproved} unproved PO"
    text = f"<proofPass>{line}</proofPass>\n" if xml else line + "\n"
    if operations is None:
        return text
    if xml:
        blocks = [f"\t\t<operation><name>{tag}</name>\n\t\t\t"
                  + "".join(XML_MARKS[m] for m in marks) for tag, marks in operations]
        return text + "</operation>\n".join(blocks) + "\n" + ("</operation>\n" if blocks else "")
    blocks = [f"\t\t{tag}\n\t\t\t{marks}" for tag, marks in operations]
    return text + "\n".join(blocks) + "\n" + ("\n" if blocks else "")


def report(proved=0, externally=0, unreliably=0, disproved=0, unproved=0, component="comp",
           xml=False):
    line = (f"TOTAL for {component}\t Proved {proved}\t Proved externally {externally}"
            f"\t Unreliably proved {unreliably}\t Disproved {disproved}\t Unproved {unproved}")
    if xml:
        return f"\n<proofResult>\n\n<total>{line}</total>\n</proofResult>\n</proof>\n"
    return f"End of proof\n\n{line}\n"


def echo(*args):
    """The trace of the command line."""
    return '[kelvarune]\ncommand = "' + "".join(f"{word} " for word in (PROGRAM, *args)) + '"\n'


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
PROVER = r"""[ $# -eq 0 ] || exec <"$1"
while read -r l; do echo "$l"; done
"""
# To be started by the system, this needs an interpreter that is not there.
UNSTARTABLE = "#!/nonexistent/interpreter\n"
CRASH = "kill -SEGV $$\n"


def reader_script(answers):
    """A reader that is told a driver's name and answers each address "i j" it reads. Keys of
    answers are shell patterns over "<driver>.<i>.<j>"; values are the bytes to print, or a verdict
    as text, which gets a line feed. Without an answer it says Unknown."""
    cases = ""
    for key, answer in answers.items():
        data = answer if isinstance(answer, bytes) else answer.encode() + b"\n"
        cases += f"  {key}) printf '" + "".join(f"\\{byte:03o}" for byte in data) + "' ;;\n"
    return f"while read -r i j; do case $1.$i.$j in\n{cases}  *) echo Unknown ;;\nesac; done\n"


class Run:
    """What one run left: its exit status (negative: a signal) and its two streams as bytes."""

    def __init__(self, args, status, out, err):
        self.args, self.status, self.out, self.err = args, status, out, err

    def __str__(self):
        return (f"arguments: {self.args}\nstatus: {self.status}\n"
                f"--- standard output ---\n{shown(self.out)}"
                f"--- standard error ---\n{shown(self.err)}")


def shown(data):
    return data.decode("utf-8", "backslashreplace").replace("\0", "\\0")


class ReplayCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="kelvarune-")).resolve()
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)
        for folder in ("work", "tools"):
            (self.root / folder).mkdir()
        self.script("writer", RECORD + WRITER)
        self.script("prover", RECORD + PROVER)
        self.answers({})

    # Files of the scratch directory.

    def path(self, name):
        return self.root / name

    def write(self, name, content):
        path = self.path(name)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def script(self, name, body, mode=0o755):
        """An executable below tools/; a body without "#!" is run by sh."""
        path = self.write(f"tools/{name}", body if body.startswith("#!") else "#!/bin/sh\n" + body)
        path.chmod(mode)
        return path

    def answers(self, answers):
        """What the common reader says; see reader_script."""
        self.script("reader", RECORD + reader_script(answers))

    def calls(self, tool):
        """The argument lists with which a recording tool was called, in the order of the calls."""
        log = self.path(f"tools/{tool}.log")
        if not log.exists():
            return []
        calls, current = [], []
        for word in log.read_bytes().split(b"\0")[:-1]:
            if word == b"\x1e":
                calls.append(current)
                current = []
            else:
                current.append(word.decode())
        return calls

    # The component and its mechanism.

    def tool(self, role, script=None, *parts, **attributes):
        attributes.setdefault("path", f"{self.root}/tools/{script or role}")
        attributes.setdefault("name", script or role)
        return element(role, *parts, **attributes)

    def driver(self, name="d1", writer=None, prover=None, reader=None, stdin=True, **attributes):
        """A driver of the common tools. writer, prover and reader name another script, or are whole
        elements; the common reader is told the driver's name."""
        given = None if stdin else "file"
        file = [] if stdin else [param(value="${file}")]
        if not isinstance(writer, ET.Element):
            writer = self.tool("writer", writer)
        if not isinstance(prover, ET.Element):
            prover = self.tool("prover", prover, *file, input=given)
        if not isinstance(reader, ET.Element):
            reader = self.tool("reader", reader, param(value=name))
        return element("driver", writer, prover, reader, name=name, **attributes)

    def mechanism(self, *parts, name="m", trust=None, folder="."):
        """Writes a mechanism description; without parts it has one driver d1."""
        root = element("mechanism", *(parts or [self.driver()]), trust=trust)
        self.write(f"{folder}/{name}.xml", ET.tostring(root))

    def pos(self, *children, name="comp.pos", **attributes):
        self.write(name, ET.tostring(obligations(*children, **attributes)))

    def assertPos(self, *children, name="comp.pos", **attributes):
        """The saved POS file, as a tree."""
        attributes.setdefault("author", "proof_director")
        self.assertEqual(outline(obligations(*children, **attributes)),
                         outline(parsed(self.path(name).read_bytes())))

    def assertWorkIsEmpty(self):
        self.assertEqual([], sorted(os.listdir(self.path("work"))), "secondary files left behind")

    # Running.

    def start(self, *args, stdout=None, env=None, program=PROGRAM, **options):
        """Starts the program; end it with finish."""
        out = stdout if stdout is not None else open(self.path("stdout"), "wb")
        with open(self.path("stderr"), "wb") as err:
            process = subprocess.Popen(
                [program, *map(str, args)], cwd=self.root, stdin=subprocess.DEVNULL, stdout=out,
                stderr=err, env=self.environment(env), **options)
        if stdout is None:
            out.close()
        self.addCleanup(process.wait)
        self.addCleanup(self.kill_all)
        return process

    def environment(self, changes=None):
        changes = {"HOME": str(self.root), "LC_ALL": "C.UTF-8"} | (changes or {})
        changes["KELVARUNE_TEST_ROOT"] = str(self.root)
        env = {k: v for k, v in (os.environ | changes).items() if v is not None}
        # The thread sanitizer sleeps a second at every exit, and takes offence at a handler that
        # saves a document and exits while workers run, though it is let in at chosen places only.
        env["TSAN_OPTIONS"] = ("atexit_sleep_ms=0 report_signal_unsafe=0 report_thread_leaks=0 "
                               + env.get("TSAN_OPTIONS", ""))
        return env

    def finish(self, process, limit_s=LIMIT_S, orphans=False):
        """Waits for the end of a started program and checks what holds for every run. Children that
        tools left behind (orphans) may outlive a program that came to the end of its report."""
        try:
            process.wait(limit_s)
            hung = ""
        except subprocess.TimeoutExpired:
            hung = f"still running after {limit_s} s, with:\n" + "\n".join(
                f"{pid} {words}" for pid, words in self.running().items())
            self.kill_all()
            process.wait()
        out = self.path("stdout").read_bytes() if self.path("stdout").exists() else b""
        err = self.path("stderr").read_bytes()
        run = Run(process.args[1:], process.returncode, out, err)
        if hung:
            self.fail(f"{hung}\n{run}")
        deadline = time.monotonic() + 2 * SLOWNESS
        while not (orphans and b"\nTOTAL" in run.out) and (alive := self.running()):
            if time.monotonic() > deadline:
                self.fail(f"tools outlived the program: {alive}\n{run}")
            time.sleep(0.01)
        for text in NEVER_ON_STDERR:
            if text.encode() in run.err:
                self.fail(f"{text} on standard error\n{run}")
        return run

    def running(self):
        """The processes of this test that live, by process id, with their command lines."""
        mark = f"\0KELVARUNE_TEST_ROOT={self.root}\0".encode()
        found = {}
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                if mark in b"\0" + pathlib.Path("/proc", pid, "environ").read_bytes():
                    words = pathlib.Path("/proc", pid, "cmdline").read_bytes()
                    found[int(pid)] = words.decode(errors="replace").replace("\0", " ")
            except OSError:
                pass  # It ended meanwhile.
        return found

    def kill_all(self):
        """Kills what this test started, and only that."""
        for pid in self.running():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def run_program(self, *args, **options):
        return self.finish(self.start(*args, **options))

    def check(self, run, status=0, out=None, err=""):
        """Compares a run whole; out None leaves standard output to the caller."""
        want = Run(run.args, status, run.out if out is None else out.encode(), err.encode())
        self.assertEqual(str(want), str(run))
        self.assertEqual((want.out, want.err), (run.out, run.err))
        return run

    def expect(self, *args, status=0, out=None, err="", **options):
        return self.check(self.run_program(*args, **options), status, out, err)

    def replay(self, *more, **options):
        """Runs m.xml on comp.pos; the secondary files must be gone afterwards."""
        run = self.expect("-m", "m.xml", *FILES, *more, **options)
        self.assertWorkIsEmpty()
        return run

    def wait_for(self, condition, what):
        """Waits until condition() holds, and returns its value."""
        deadline = time.monotonic() + LIMIT_S
        while not (value := condition()):
            self.assertLess(time.monotonic(), deadline, f"waited in vain for {what}")
            time.sleep(0.01)
        return value

    # Runs that are stopped.

    def proved_on_disk(self):
        document = parsed(self.path("comp.pos").read_bytes())
        return sum(e.get("status") == "Proved" for e in document.iter("Simple_Goal"))

    def start_busy(self, jobs, role, goal_before, busy="{mark}; exec sleep 1000", **options):
        """Starts a run over four such goals, of which the last but one keeps the tool of that role
        busy; returns when the other verdicts that this many jobs can reach are saved."""
        busy = busy.format(mark=f': >"{self.root}/busy"')
        self.script("busy", {
            "writer": f'[ "$2" = 2 ] && {{ {busy}; }}\nexec "{self.root}/tools/writer" "$@"',
            "prover": f"case $1 in *_2_0.po2) {busy};; esac\n" + PROVER,
            "reader": f'read -r i j; [ "$i" = 2 ] && {{ {busy}; }}\necho Proved\n'}[role])
        self.answers({"*": "Proved"})
        self.mechanism(self.driver(stdin=False, **{role: "busy"}), trust="always")
        self.pos(*[po(f"T{i}", goal_before) for i in range(4)])
        self.path("busy").unlink(missing_ok=True)
        process = self.start("-m", "m.xml", *FILES, "-c", jobs, **options)
        self.wait_for(self.path("busy").exists, "the busy tool")
        done = 2 if jobs == "1" else 3
        self.wait_for(lambda: self.proved_on_disk() == done, "the other verdicts")
        return process
