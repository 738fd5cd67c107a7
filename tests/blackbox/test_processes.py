"""How tools are started and tidied away, and many jobs at once."""

import os
import pathlib
import subprocess
import unittest

from harness import (CRASH, FILES, PROVER, ReplayCase, UNSTARTABLE, WRITER, candidate, driver_pass,
                     outline, parsed, po, proving, report)

SIGPIPE_BIT = 1 << 12


class Surroundings(ReplayCase):
    # Tells what a tool finds when it starts, without starting anything else.
    LOOK = r"""{
  while read -r k v; do case $k in SigBlk:|SigIgn:) echo "$k $v" ;; esac; done </proc/self/status
  echo "PROBE: $PROBE"
  echo "pwd: $(pwd -P)"
} >>"$0.look"
echo /proc/self/fd/* >>"$0.fds"
"""

    def test_tools_start_clean(self):
        for role, body in {"writer": WRITER, "prover": PROVER,
                           "reader": "cat >/dev/null; echo Proved"}.items():
            self.script(f"looking_{role}", self.LOOK + body)
        self.mechanism(self.driver(writer="looking_writer", prover="looking_prover",
                                   reader="looking_reader"), trust="always")
        plain = self.script("plain", self.LOOK)
        subprocess.run([plain], stdin=subprocess.PIPE, stdout=subprocess.PIPE, check=True)
        descriptors = self.path("tools/plain.fds").read_text()
        for jobs in ("1", "4"):
            self.pos(*[po(f"T{i}", candidate()) for i in range(8)])
            # The program itself starts with SIGPIPE ignored, as some callers have it.
            run = self.replay("-c", jobs, env={"PROBE": "a b"}, restore_signals=False)
            self.assertEqual(8, run.out.count(b"+"), str(run))
            for role in ("writer", "prover", "reader"):
                with self.subTest(jobs=jobs, role=role):
                    look = self.path(f"tools/looking_{role}.look")
                    fds = self.path(f"tools/looking_{role}.fds")
                    for line in look.read_text().splitlines():
                        key, value = line.split(": ", 1)
                        if key == "SigBlk":
                            self.assertEqual(0, int(value, 16), "signals are blocked")
                        elif key == "SigIgn":
                            self.assertFalse(int(value, 16) & SIGPIPE_BIT, "SIGPIPE is ignored")
                        else:
                            self.assertEqual({"PROBE": "a b", "pwd": str(self.root)}[key], value)
                    self.assertEqual(descriptors * 8, fds.read_text())
                    look.unlink()
                    fds.unlink()


class Leftovers(ReplayCase):
    """Nothing is left of tools that ended, however they ended."""

    def hold(self, drivers, goals, jobs):
        """Replays the drivers, then one whose prover stops the run; counts what is open then."""
        for name in ("held", "go"):
            self.path(name).unlink(missing_ok=True)
        self.script("hold", f": >'{self.root}/held'\nuntil [ -e '{self.root}/go' ]; "
                            f"do sleep 0.02; done\n")
        names = [d.get("name") for d in drivers]
        self.mechanism(*drivers, self.driver("hold", prover="hold", group="full"))
        self.pos(po("T0", *[candidate(*names, "hold") for _ in range(goals)]))
        process = self.start("-m", "m.xml", *FILES, "-c", jobs)
        self.wait_for(self.path("held").exists, "the last driver")
        # The last tools may just be being started.
        descriptors = self.settled(lambda: len(os.listdir(f"/proc/{process.pid}/fd")))
        zombies = [pid for pid, state, parent in self.processes()
                   if parent == process.pid and state == "Z"]
        self.write("go", "")
        run = self.finish(process)
        self.assertEqual(0, run.status, str(run))
        self.assertEqual([], zombies, str(run))
        return descriptors

    @staticmethod
    def processes():
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                stat = pathlib.Path("/proc", pid, "stat").read_text()
            except OSError:
                continue
            state, parent = stat.rpartition(")")[2].split()[:2]
            yield int(pid), state, int(parent)

    def test_no_descriptor_and_no_zombie_stays(self):
        self.script("crash", CRASH)
        self.script("unstartable", UNSTARTABLE)
        self.script("sleep", "exec sleep 1000")
        self.script("idle", "")
        drivers = [self.driver("fine"), self.driver("write", writer="unstartable"),
                   self.driver("prove", prover="unstartable"),
                   self.driver("read", prover="idle", reader="unstartable"),
                   self.driver("none", writer="idle"), self.driver("none2", writer="crash"),
                   self.driver("crash", prover="crash", reader="sleep"),
                   self.driver("crash2", reader="crash")]
        for jobs in ("1", "4"):
            with self.subTest(jobs=jobs):
                few = self.hold(drivers[:1], 1, jobs)
                many = self.hold(drivers, 12, jobs)
                self.assertEqual(few, many, "open descriptors")


class ManyJobs(ReplayCase):
    def test_500_goals_and_many_jobs_lose_none(self):
        for jobs in ("16", "64"):
            with self.subTest(jobs=jobs):
                self.lose_none(jobs)

    def lose_none(self, jobs):
        # The tools of the other tests, without their records, answer in no time.
        self.script("writer", WRITER)
        self.script("prover", PROVER)
        self.script("reader", "while read -r l; do echo Proved; done")
        self.mechanism(trust="always")
        self.pos(*[po(f"T{i}", *[candidate() for _ in range(5)]) for i in range(100)])
        run = self.replay("-c", jobs)
        text = run.out.decode()
        self.assertEqual(500, text.count("+"))
        self.assertEqual(proving() + driver_pass("d1", 500, [(f"T{i}", "") for i in range(100)])
                         + report(proved=500, externally=500), text.replace("+", ""))
        document = parsed(self.path("comp.pos").read_bytes())
        self.assertEqual(["Proved"] * 1500, [e.get("status") for e in document.iter()
                                             if e.get("status")])

    def test_any_number_of_jobs_gives_the_same_file(self):
        names = ("d1", "d2", "d3")
        said = ("Proved", "Unknown", "Disproved", "nothing", "Proved")
        self.answers({f"{d}.{i}.{j}": said[(i * k + j) % 5]
                      for k, d in enumerate(names, 1) for i in range(8) for j in range(3)})
        self.mechanism(*[self.driver(d) for d in names], trust="redundancy")
        results = []
        for jobs in ("1", "4", "40"):
            self.pos(*[po(f"T{i}", *[candidate(*names) for _ in range(3)]) for i in range(8)])
            out = self.replay("-c", jobs).out
            results.append((outline(parsed(self.path("comp.pos").read_bytes())), sorted(out)))
        self.assertIn("UnreliablyProved", results[0][0])
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[0], results[2])

    def test_as_many_jobs_as_asked_run_at_once(self):
        # Each prover waits until three have started, then counts those that run.
        self.script("meet", r"""
d=${0%/*}; : >"$d/started.$$"; : >"$d/runs.$$"; n=0
while set -- "$d"/started.*; [ $# -lt 3 ] && [ $n -lt 200 ]; do sleep 0.05; n=$((n+1)); done
set -- "$d"/runs.*; echo $# $n >>"$d/count"; sleep 0.05; rm "$d/runs.$$"; exec cat
""")
        self.mechanism(self.driver(prover="meet"))
        self.pos(po("T", *[candidate() for _ in range(9)]))
        self.replay("--concurrency=3abc", out=proving() + driver_pass("d1", 9, [("T", "-" * 9)])
                    + report(unproved=9))
        counts = [list(map(int, line.split()))
                  for line in self.path("tools/count").read_text().splitlines()]
        self.assertEqual(9, len(counts))
        self.assertTrue(all(running <= 3 and tries < 200 for running, tries in counts), counts)


class Order(ReplayCase):
    def test_one_job_writes_then_proves_each_entry_in_turn(self):
        log = self.path("order")
        for role, body in {"writer": WRITER, "prover": PROVER}.items():
            self.script(role, f"echo {role} $* >>'{log}'\n{body}")
        self.mechanism(self.driver(stdin=False))
        self.pos(po("T0", candidate(), candidate()), po("T1", candidate()))
        self.replay(out=proving() + driver_pass("d1", 3, [("T0", "--"), ("T1", "-")])
                    + report(unproved=3))
        self.assertEqual("".join(
            f"writer -a {i} {j} -i comp.pog -o work/comp_m_d1_{i}_{j}.po2\n"
            f"prover work/comp_m_d1_{i}_{j}.po2\n" for i, j in ((0, 0), (0, 1), (1, 0))),
            log.read_text())


if __name__ == "__main__":
    unittest.main()
