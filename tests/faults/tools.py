#!/usr/bin/env python3
"""Runs tools that misbehave. None may hang the program or cost another goal its verdict; nothing
may pile up over a thousand entries; and whatever tools write, memory stays bounded.
"""

import os
import pathlib
import threading
import time

from campaign import (AS_NOBODY, LIMIT_S, QUICK_PROVER, SLOWNESS, STOP_LIMIT_S, UNSTARTABLE, WRITER,
                      Campaign, candidate, parsed, po)

GOALS = 6
VICTIM = 3
BASE_MB, MB_PER_JOB = 150, 120

HOSTILE_WRITER = f'case "$*" in *"-a {VICTIM} 0"*) '
HOSTILE_PROVER = f"case $1 in *_{VICTIM}_0.po2) "
# A reader knows the victim by its line, and what is no line of a usual prover is the victim's too.
HOSTILE_READER = f"read -r i j\ncase $i,$j in {VICTIM},*|*,) "
LOUD = "yes 0123456789 | head -c {}"
OTHERS = "\n;; esac\n"
SAY = "echo Proved"
GIVEN = 'exec <"$1"\n'  # What the file of the entry holds becomes the input.

# Per row: which tools of the victim's entry do what, and the victim's mark (empty: none). The
# other goals must all be proved. The reader sees the victim as the line it asks for.
ROWS = {
    "prover closes everything": ({"prover": "exec >&- 2>&- <&-; sleep 0.3; exit"}, "-"),
    "prover reads nothing of megabytes": ({"writer": LOUD.format(5000000) + ' >"$file"; exit',
                                           "prover": f"echo {VICTIM} 0; exit"}, "+"),
    "reader exits at once, prover writes on": ({"prover": LOUD.format(5000000) + "; exit",
                                                "reader": "exit"}, "-"),
    "prover writes 50 MB": ({"prover": LOUD.format(50000000) + "; exit",
                             "reader": f"cat >/dev/null; {SAY}; exit"}, "+"),
    "prover writes 50 MB, reader repeats them": ({"prover": LOUD.format(50000000) + "; exit",
                                                  "reader": "exec cat"}, ""),
    "reader writes 50 MB": ({"reader": LOUD.format(50000000) + "; exit"}, ""),
    "reader writes 300 MB": ({"reader": "head -c 300000000 /dev/zero; exit"}, "-"),
    "reader writes 50 MB of blanks": (
        {"reader": f"{SAY}; head -c 50000000 /dev/zero | tr '\\0' ' '; exit"}, "+"),
    "reader writes rubbish": ({"reader": "head -c 3000 /dev/urandom | tr '\\n' x; exit"}, "-"),
    "prover writes rubbish": ({"prover": "head -c 3000000 /dev/urandom; exit",
                               "reader": f"cat >/dev/null; {SAY}; exit"}, "+"),
    "64 MB on standard error": ({role: LOUD.format(64000000) + " >&2"
                                 for role in ("writer", "prover", "reader")}, "+"),
    "grandchild keeps the chain": ({"prover": f"sleep 300 & echo {VICTIM} 0; exit"}, "+"),
    "grandchild of another session keeps the chain": (
        {"prover": f"setsid sleep 300 & echo {VICTIM} 0; exit"}, "+"),
    "grandchild fills the chain": ({"prover": "yes & exit",
                                    "reader": f"cat >/dev/null; {SAY}; exit"}, "+"),
    "grandchild fills the chain, reader repeats it": ({"prover": "yes & exit",
                                                       "reader": "exec cat"}, ""),
    "grandchild keeps the results": ({"reader": f"sleep 300 & {SAY}; exit"}, "+"),
    "grandchild of another session keeps the results": (
        {"reader": f"setsid sleep 300 & {SAY}; exit"}, "+"),
    "grandchild fills the results": ({"reader": "yes & exit"}, None),
    "grandchild of the writer": ({"writer": "sleep 300 & setsid sleep 300 &"}, "+"),
    "prover deletes its input": ({"prover": GIVEN + 'rm "$1"; exec cat'}, "+"),
    "file is a directory": ({"writer": 'mkdir "$file"; exit'}, "-"),
    "file is a link": ({"writer": f'echo {VICTIM} 0 >target; ln -s ../target "$file"; exit'}, "+"),
    "file is a FIFO": ({"writer": 'mkfifo "$file"; exit'}, "-"),
    "file is a device": ({"writer": 'ln -s /dev/null "$file"; exit'}, "-"),
    "file cannot be read": ({"writer": 'echo 0 0 >"$file"; chmod 0 "$file"; exit'}, None),
    "tool stops itself and is continued": (
        {"prover": "(sleep 0.2; kill -CONT $$) >/dev/null & kill -STOP $$"}, "+"),
    "tool changes its process group": ({"prover": "exec setsid sh -c 'echo %d 0'" % VICTIM}, "+"),
}
# These run with the file as the prover's standard input, where a FIFO could block its opening.
FROM_STDIN = ("file is",)


class Watch:
    """A whole run, looked at every few milliseconds: descriptors, children, memory."""

    def __init__(self, scratch, jobs, limit_s):
        process = scratch.start(*scratch.argv("-c", jobs))
        self.pid = process.pid
        self.descriptors = self.zombies = self.memory_mb = 0
        self.zombie_ages = {}
        self.oldest_zombie_s = 0.0
        self.done = threading.Event()
        thread = threading.Thread(target=self.look_on)
        thread.start()
        try:
            self.run = scratch.end(process, limit_s)
        finally:
            self.done.set()
            thread.join()
        # Sanitizers need several times the memory.
        if SLOWNESS == 1:
            scratch.assertLessEqual(self.memory_mb, BASE_MB + MB_PER_JOB * jobs)

    def look_on(self):
        while not self.done.wait(0.01):
            try:
                self.look()
            except OSError:
                pass  # It ended.

    def look(self):
        self.descriptors = max(self.descriptors, len(os.listdir(f"/proc/{self.pid}/fd")))
        for line in pathlib.Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith("VmHWM:"):
                self.memory_mb = max(self.memory_mb, int(line.split()[1]) // 1024)
        zombies = set()
        for task in os.listdir(f"/proc/{self.pid}/task"):
            children = pathlib.Path(f"/proc/{self.pid}/task/{task}/children").read_text().split()
            for child in children:
                try:
                    state = pathlib.Path(f"/proc/{child}/stat").read_text().rpartition(") ")[2][0]
                except OSError:
                    continue
                if state == "Z":
                    zombies.add(child)
        now = time.monotonic()
        self.zombie_ages = {z: self.zombie_ages.get(z, now) for z in zombies}
        self.zombies = max(self.zombies, len(zombies))
        if self.zombie_ages:
            self.oldest_zombie_s = max(self.oldest_zombie_s, now - min(self.zombie_ages.values()))


def arrange(scratch, hostile, stdin=False):
    """Tools of which those in `hostile` misbehave in the victim's entry."""
    file_of_writer = 'file=; for a; do [ "$last" = -o ] && file=$a; last=$a; done\n'
    at_victim = {"writer": file_of_writer + HOSTILE_WRITER, "prover": HOSTILE_PROVER,
                 "reader": HOSTILE_READER}
    usual = {"writer": WRITER, "prover": ("" if stdin else GIVEN) + QUICK_PROVER,
             "reader": "echo Proved\n"}
    for role, script in usual.items():
        if role in hostile or role == "reader":
            script = at_victim[role] + hostile.get(role, "") + OTHERS + script
        if role == "reader" and not hostile.get(role):
            # Without a line there is no verdict.
            script = script.replace("*,) ", "*,) [ -n \"$j\" ] || exit")
        scratch.script(role, script)
    scratch.mechanism(scratch.driver("d1", stdin=stdin), trust="always")
    scratch.reset(GOALS)


def misbehave(scratch, campaign, row, jobs):
    hostile, mark = ROWS[row]
    arrange(scratch, hostile, stdin=row.startswith(FROM_STDIN))
    watch = Watch(scratch, jobs, 2 * LIMIT_S)
    run = watch.run
    scratch.assertEqual(0, run.status, run)
    lost = [i for i, proved in enumerate(scratch.states()) if not proved and i != VICTIM]
    scratch.assertEqual([], lost, run)
    marks = "".join(c for c in run.out.decode().partition("End of proof")[0] if c in "+-*!")
    if mark is not None:
        scratch.assertEqual(sorted("+" * (GOALS - 1) + mark), sorted(marks), run)
    campaign.memory_mb = max(campaign.memory_mb, watch.memory_mb)
    left = [n for n in os.listdir(scratch.path("work")) if not scratch.path(f"work/{n}").is_dir()]
    scratch.assertEqual([], left, "secondary files left")
    if "link" in row:
        scratch.assertTrue(scratch.path("target").exists(), "the target of the link was deleted")


def all_loud(scratch, campaign, jobs):
    """Every reader writes 70 MB at the same time: the worst for memory."""
    scratch.component(2 * jobs, reader="head -c 70000000 /dev/zero | tr '\\0' x\n")
    watch = Watch(scratch, jobs, 3 * LIMIT_S)
    scratch.assertEqual(0, watch.run.status, watch.run)
    scratch.assertGreaterEqual(watch.run.out.count(b"-"), 2 * jobs, watch.run)
    campaign.note("memory", f"MB with {jobs} jobs", watch.memory_mb)


LITTLE_HOSTILE = {
    "writer": 'case $(( $2 % 7 )) in 1) exit ;; 2) kill -SEGV $$ ;; esac\n' + WRITER,
    "prover": 'read -r i j\ncase $(( i % 11 )) in 1) exit ;; 2) kill -SEGV $$ ;; '
              '3) exec >&-; exit ;; 4) sleep 300 >/dev/null & ;; esac\necho $i $j\n',
    "reader": 'read -r i j\ncase $(( i % 13 )) in 1) exit ;; 2) kill -SEGV $$ ;; '
              '3) sleep 300 & ;; 4) echo; echo; echo x ;; esac\necho Proved\n'}


def pile_up(scratch, campaign, jobs, entries):
    """Many entries of which many go wrong: neither descriptors nor zombies add up."""
    scratch.component(entries, **LITTLE_HOSTILE)
    scratch.script("broken", UNSTARTABLE)
    broken = {role: scratch.driver(role, **{role: "broken"}) for role in LITTLE_HOSTILE}
    scratch.mechanism(*broken.values(), scratch.driver("d1"), trust="always")
    some, all_drivers = candidate(), candidate(*broken, "d1")
    scratch.pos(*[po(f"T{i}", some if i % 8 else all_drivers) for i in range(entries)])
    watch = Watch(scratch, jobs, entries / 20 * SLOWNESS + LIMIT_S)
    run = watch.run
    scratch.assertEqual(0, run.status, run)
    goals = parsed(scratch.path("comp.pos").read_bytes()).iter("Simple_Goal")
    scratch.assertEqual(run.out.count(b"+"), sum(g.get("status") == "Proved" for g in goals))
    # A dozen for the program and at most a dozen for the entry of each job; a tool that has ended
    # stays a zombie until its turn in the chain comes.
    scratch.assertLessEqual(watch.descriptors, 12 + 12 * jobs)
    scratch.assertLessEqual(watch.zombies, 2 * jobs)
    scratch.assertLessEqual(watch.oldest_zombie_s, STOP_LIMIT_S)
    campaign.note("thousand entries", "entries", entries)
    campaign.note("thousand entries", f"descriptors at most with {jobs} jobs", watch.descriptors)


def inheritance(scratch, _campaign, jobs):
    """What tools inherit: three descriptors, no blocked signal, the environment as it is, and the
    working directory."""
    look = '{ cat /proc/self/environ; echo; } >"$0.env"\n' \
           'grep -E "^Sig(Blk|Ign|Cgt)" /proc/self/status >>"$0.sig"\n' \
           'readlink /proc/self/fd/* | grep -v "/proc/.*/fd" | wc -l >>"$0.fds"\n' \
           'readlink /proc/self/cwd >>"$0.cwd"\n'
    scratch.component(GOALS, writer=look + WRITER, prover=look + QUICK_PROVER,
                      reader=look + "while read -r i j; do echo Proved; done\n")
    extra = [os.open("/dev/null", os.O_RDWR) for _ in range(20)]
    own = {"PROBE": "a b\tc", "EMPTY": "", "LD_BIND_NOW": "1", "QT_PROBE": "x"}
    process = scratch.start(*scratch.argv("-c", jobs), env=own, pass_fds=extra,
                            restore_signals=False)
    environment = {os.fsencode(k): os.fsencode(v) for k, v in scratch.environment(own).items()}
    run = scratch.end(process)
    for fd in extra:
        os.close(fd)
    scratch.assertEqual(GOALS, run.out.count(b"+"), run)
    for role in ("writer", "prover", "reader"):
        words = scratch.path(f"tools/{role}.env").read_bytes().split(b"\0")
        found = dict(word.lstrip(b"\n").split(b"=", 1) for word in words[:-1])
        for name in (b"_", b"PWD", b"OLDPWD", b"SHLVL"):  # The shell's own.
            found.pop(name, None)
            environment.pop(name, None)
        scratch.assertEqual(environment, found, role)
        for line in scratch.path(f"tools/{role}.sig").read_text().splitlines():
            name, value = line.split()
            # Only SIGPIPE is reset when the program was started with it ignored, as here.
            if name != "SigCgt:":
                usual = 1 << 24 if name == "SigIgn:" else 0
                scratch.assertEqual(0, int(value, 16) & ~usual, f"{role}: {line}")
        # readlink's own three, and the directory it lists is not counted.
        scratch.assertEqual({"3"}, set(scratch.path(f"tools/{role}.fds").read_text().split()))
        scratch.assertEqual({str(scratch.root)},
                            set(scratch.path(f"tools/{role}.cwd").read_text().split()))


def read_only_directory(scratch, campaign, jobs):
    """A tool takes the right to write away from the temporary directory, in mid-run."""
    arrange(scratch, {"prover": "chmod 555 work"})
    user = ()
    if os.geteuid() == 0:
        user = AS_NOBODY
        for path in [scratch.root, *scratch.root.rglob("*")]:
            os.chown(path, 65534, 65534)
    run = scratch.play(*scratch.argv("-c", jobs), user=user, limit_s=2 * LIMIT_S)
    scratch.path("work").chmod(0o755)
    scratch.assertEqual(0, run.status, run)
    states = scratch.states()
    scratch.assertTrue(states[VICTIM], run)
    # Those that had their file before that are proved; the others are told as not found.
    for i, proved in enumerate(states):
        if not proved:
            scratch.assertIn(f"comp_m_d1_{i}_0.po2 not found".encode(), run.err)
    campaign.note("read-only directory", "goals without a file", states.count(False))


def main():
    campaign = Campaign(__doc__, rounds=300)
    campaign.memory_mb = 0
    for jobs in campaign.jobs:
        for row in ROWS:
            campaign.round(f"hostile tools, {jobs} jobs", row, misbehave, campaign, row, jobs)
        campaign.round("memory", f"{jobs} jobs", all_loud, campaign, jobs)
        campaign.round("thousand entries", f"{jobs} jobs", pile_up, campaign, jobs,
                       campaign.rounds)
        campaign.round("inheritance", f"{jobs} jobs", inheritance, campaign, jobs)
        campaign.round("read-only directory", f"{jobs} jobs", read_only_directory, campaign, jobs)
    print(f"most memory of one run with hostile tools: {campaign.memory_mb} MB")
    campaign.exit()


if __name__ == "__main__":
    main()
