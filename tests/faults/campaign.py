"""What the fault-injection programs share: options, rounds, and the account at their end.

Each program runs in a process namespace of its own where the system allows that, so that a mistake
cannot reach a process that is not its own. It prints one line per kind of round: how many were run,
how many failed and what was lost; failures are told with the label that repeats them.
"""

import argparse
import collections
import os
import pathlib
import random
import subprocess
import sys
import time
import xml.etree.ElementTree as ET

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "blackbox"))

from harness import (FILES, LIMIT_S, PROGRAM, SLOWNESS, UNSTARTABLE, WRITER,  # noqa: E402,F401
                     ReplayCase, candidate, goal, mech, outline, parsed, po)

NAMESPACE = ("unshare", "--fork", "--kill-child", "--pid", "--mount-proc")
UNPRIVILEGED = NAMESPACE + ("--user", "--map-current-user")
FAULTY_DISK = os.environ.get("KELVARUNE_FAULTY_DISK", "")  # The library of faulty_disk.cpp.
TEMPORARY = ".kelvarune-new"
# Root has no use for permissions; these words run a program as a user who has.
AS_NOBODY = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
STOP_LIMIT_S = 2 * SLOWNESS  # for the end after a signal, and for tools after the program's end
WORDS = 700  # of a failure that are shown
PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")
OPEN = candidate()

# A prover and a reader that start nothing else, so that a run takes few milliseconds.
QUICK_PROVER = "exec cat\n"
QUICK_READER = "while read -r i j; do echo Proved; done\n"


def enter_namespace():
    """Starts this program again in a process namespace, with an init that reaps orphans."""
    if os.environ.get("KELVARUNE_FAULTS_NAMESPACE") == "new":
        os.environ["KELVARUNE_FAULTS_NAMESPACE"] = "entered"
        child = os.fork()
        while child:
            pid, status = os.wait()
            if pid == child:
                os._exit(os.waitstatus_to_exitcode(status) & 0xff)
        return
    if os.environ.get("KELVARUNE_FAULTS_NAMESPACE"):
        return
    for command in (NAMESPACE, UNPRIVILEGED):
        try:
            works = subprocess.run([*command, "true"], stderr=subprocess.DEVNULL).returncode == 0
        except OSError:
            works = False
        if works:
            os.environ["KELVARUNE_FAULTS_NAMESPACE"] = "new"
            os.execvp(command[0], [*command, sys.executable, *sys.orig_argv[1:]])
    os.environ["KELVARUNE_FAULTS_NAMESPACE"] = "none"


def has_faulty_disk():
    return pathlib.Path(FAULTY_DISK).is_file()


def disk_settings(**settings):
    """The environment of a program whose file-system calls the preloaded library sees."""
    return {"LD_PRELOAD": FAULTY_DISK, "FAULT_PROGRAM": os.path.basename(PROGRAM),
            "FAULT_NAME": "comp.pos",
            "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0",
            **settings}


class Scratch(ReplayCase):
    """A scratch component outside the test runner."""

    def runTest(self):
        pass

    def component(self, goals, shape=None, **scripts):
        """One driver over `goals` open goals, each in an obligation of its own."""
        tools = {"writer": WRITER, "prover": QUICK_PROVER, "reader": QUICK_READER}
        for role, body in (tools | (shape or {}) | scripts).items():
            self.script(role, body)
        self.mechanism(trust="always")
        self.reset(goals)

    def reset(self, goals):
        self.pos(*[po(f"T{i}", OPEN) for i in range(goals)])

    def states(self, data=None):
        """Per goal whether it is proved. Fails unless the document is complete, every goal being
        entirely as before or entirely as after its verdict."""
        data = self.path("comp.pos").read_bytes() if data is None else data
        try:
            document = parsed(data)
        except ET.ParseError as error:
            raise AssertionError(f"not a complete document ({error}): {data[-200:]!r}") from error
        before, after = outline(OPEN), outline(PROVED)
        goals = [outline(part) for part in document.iter("Simple_Goal")]
        self.assertLessEqual(set(goals), {before, after}, "a mixed goal")
        return [text == after for text in goals]

    def temporaries(self):
        return sorted(str(path) for path in self.root.rglob("*" + TEMPORARY))

    def end(self, process, limit_s=LIMIT_S):
        """Waits for the end of a started program. It must leave no process, unless it came to the
        end of its report, when the tools' own children may live on."""
        return self.finish(process, limit_s, orphans=True)

    def play(self, *args, user=(), limit_s=LIMIT_S, **options):
        """A whole run; `user` is a command that runs the program as somebody else."""
        command = [*user, PROGRAM, *(args or self.argv())]
        return self.end(self.start(*command[1:], program=command[0], **options), limit_s)

    def assert_tidy(self, run):
        """Nothing is left in the temporary directory and beside the POS file."""
        self.assertEqual([], os.listdir(self.path("work")) + self.temporaries(), run)

    def argv(self, *more):
        return ["-m", "m.xml", *FILES, *map(str, more)]


class Campaign:
    """Counts rounds by name. A failing round is told at once; `exit` tells the sums."""

    def __init__(self, description, rounds):
        parser = argparse.ArgumentParser(description=description)
        parser.add_argument("--rounds", type=int, default=rounds,
                            help=f"random rounds of each kind (default {rounds})")
        parser.add_argument("--jobs", default="1,8", help="concurrency values (default 1,8)")
        parser.add_argument("--seed", type=int, default=0, help="of the random choices")
        parser.add_argument("--only", default="",
                            help="only rounds whose name and label, as told, contain this")
        parser.add_argument("--verbose", action="store_true", help="tell failures in full")
        self.options = parser.parse_args()
        enter_namespace()
        self.jobs = [int(word) for word in self.options.jobs.split(",")]
        self.rounds = self.options.rounds
        self.random = random.Random(self.options.seed)
        self.count, self.failed = collections.Counter(), collections.Counter()
        self.notes = collections.defaultdict(collections.Counter)
        self.began = time.monotonic()
        if not os.access(PROGRAM, os.X_OK):
            parser.error("the environment variable KELVARUNE must name the program")

    def wants(self, name):
        return self.options.only in name

    def note(self, name, what, amount=1):
        """Adds to a sum that is printed with the rounds of that name."""
        self.notes[name][what] += amount

    def round(self, name, label, action, *arguments):
        """One round: action(scratch, *arguments) in a scratch directory of its own."""
        if self.options.only not in f"{name} [{label}]":
            return
        scratch = Scratch()
        self.count[name] += 1
        try:
            scratch.setUp()
            action(scratch, *arguments)
        except Exception as error:  # Every fault counts, those of this program too.
            self.failed[name] += 1
            words = str(error) if isinstance(error, AssertionError) else repr(error)
            if len(words) > WORDS and not self.options.verbose:
                words = words[:WORDS] + " ..."
            print(f"FAILED {name} [{label}]: {words}", flush=True)
        finally:
            scratch.doCleanups()

    def exit(self):
        for name, count in self.count.items():
            notes = "".join(f", {amount} {what}" for what, amount in self.notes[name].items())
            print(f"{name}: {count} rounds, {self.failed[name]} failed{notes}")
        total, failed = sum(self.count.values()), sum(self.failed.values())
        print(f"{total} rounds, {failed} failed, {time.monotonic() - self.began:.0f} s, "
              f"seed {self.options.seed}, "
              f"process namespace: {os.environ['KELVARUNE_FAULTS_NAMESPACE']}")
        sys.exit(1 if failed or not total else 0)
