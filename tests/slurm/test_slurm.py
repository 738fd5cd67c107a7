"""The example of examples/slurm on a cluster of one node, which this test starts and stops.

Environment: KELVARUNE is the program, KELVARUNE_EXAMPLES the directory of the examples. Where Slurm
or a prover is missing the test is skipped (exit status 77), but never when CI is set.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

import cluster as slurm
from cluster import wait_for

PROGRAM = os.environ.get("KELVARUNE", "kelvarune")
EXAMPLES = pathlib.Path(os.environ.get("KELVARUNE_EXAMPLES",
                                       pathlib.Path(__file__).parents[2] / "examples"))
JOBS = 4
LIMIT_S = 300

SLEEPER = """<mechanism><driver name="single" group="none" ext="smt2">
  <writer name="w" path="smt-writer"/>
  <prover name="s" path="run-here" resource="Cluster*Run_Prover" input="stdin">
    <param name="--megabytes" value="100"/><param value="sleep"/><param value="1000"/>
  </prover>
  <reader name="r" path="smt-reader"><param name="--file" value="${file}"/></reader>
</driver></mechanism>"""


def statuses(pos):
    """Everything that the status file says of each goal, drivers included."""
    rows = []
    for obligation in ET.parse(pos).getroot().iter("Proof_Obligation"):
        for number, goal in enumerate(obligation.iter("Simple_Goal")):
            rows.append((f"{obligation.findtext('Tag')}.{number}", goal.get("status"),
                         sorted((m.get("name"), m.get("status"),
                                 tuple((d.get("name"), d.get("status")) for d in m.iter("Driver")))
                                for m in goal.iter("Mechanism"))))
    return rows


def proof_count(pos):
    return sum(row[1] == "Proved" for row in statuses(pos))


class Replay:
    """A copy of the example's component, and runs of it."""

    def __init__(self, directory):
        self.dir = pathlib.Path(directory)
        for name in ("smt", "slurm"):
            shutil.copytree(EXAMPLES / name, self.dir / name)
        (self.dir / "work").mkdir()
        self.pos = self.dir / "smt" / "ringbuffer.pos"

    def command(self, resources, mechanism=("-M", "slurm/mechanisms")):
        return [PROGRAM, "-i", "smt", "-i", "slurm", "-r", f"slurm/{resources}", *mechanism,
                "-s", "smt/ringbuffer.pos", "-p", "smt/ringbuffer.pog", "-d", "work",
                "-c", str(JOBS)]

    def hold_provers(self):
        """From now on provers wait until release_provers."""
        gate = self.dir / "gate"
        gate.write_text(f"#!/bin/sh\nwhile [ -e '{gate}.closed' ]; do sleep 0.05; done\nexec \"$@\"\n")
        gate.chmod(0o755)
        pathlib.Path(f"{gate}.closed").touch()
        for file in (self.dir / "slurm" / "mechanisms").iterdir():
            text = file.read_text()
            for prover in ("z3", "cvc5"):
                word = f'<param value="{prover}"/>'
                text = text.replace(word, f'<param value="{gate}"/>{word}')
            file.write_text(text)

    def release_provers(self):
        (self.dir / "gate.closed").unlink()

    def start(self, command, environment):
        return subprocess.Popen(command, cwd=self.dir, env=environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)


def finish(run):
    """Exit status and standard error of a run, when it has ended."""
    try:
        _, errors = run.communicate(timeout=LIMIT_S)
    except subprocess.TimeoutExpired:
        run.kill()
        run.communicate()
        raise
    return run.returncode, errors


class Slurm(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.scratch = cls.enterClassContext(tempfile.TemporaryDirectory())
        os.mkdir(f"{cls.scratch}/cluster")
        cls.cluster = cls.enterClassContext(slurm.Cluster(f"{cls.scratch}/cluster"))
        cls.local = Replay(f"{cls.scratch}/local")
        result = finish(cls.local.start(cls.local.command("here.res"), cls.cluster.environment))
        assert result == (0, ""), result
        cls.verdicts = statuses(cls.local.pos)
        assert proof_count(cls.local.pos) > proof_count(EXAMPLES / "smt" / "ringbuffer.pos") + 10

    def setUp(self):
        self.cluster.set_state("resume")
        wait_for(lambda: self.cluster.state() == "idle", "an idle node")
        self.replay = Replay(f"{self.scratch}/{self._testMethodName}")

    def start(self, command):
        run = self.replay.start(command, self.cluster.environment)

        def stop():
            run.kill()
            run.communicate()
            wait_for(lambda: not self.cluster.jobs(), "an empty queue")
        self.addCleanup(stop)
        return run

    def held_provers(self):
        return self.cluster.provers("/bin/sh", self.replay.dir / "gate")

    def assert_complete(self, run):
        self.assertEqual(finish(run), (0, ""))
        self.assertEqual(statuses(self.replay.pos), self.verdicts)
        self.assertEqual(list((self.replay.dir / "work").iterdir()), [])

    def test_in_an_allocation(self):
        allocation = ["salloc", "--quiet", f"--ntasks={JOBS}", "--mem-per-cpu=2500"]
        self.assert_complete(self.start(allocation + self.replay.command("cluster.res")))

    def test_draining_the_node_loses_nothing(self):
        self.replay.hold_provers()
        run = self.start(self.replay.command("cluster.res"))
        wait_for(self.held_provers, "a prover")
        before = statuses(self.replay.pos)
        self.cluster.set_state("drain")
        wait_for(lambda: self.cluster.state() == "draining", "the node to drain")
        self.replay.release_provers()
        wait_for(lambda: self.cluster.state() == "drained", "the node to be drained")
        wait_for(lambda: self.cluster.jobs("PENDING"), "the next job to wait")
        self.assertEqual(self.cluster.jobs("RUNNING"), [])
        after = statuses(self.replay.pos)
        self.assertNotEqual(after, before, "what ran when the node began to drain has come")
        self.assertNotEqual(after, self.verdicts, "something is left to do")
        self.assertIsNone(run.poll())
        self.cluster.set_state("resume")
        self.assert_complete(run)

    def test_goals_of_a_dead_node_are_reported_and_tried_again(self):
        # Not all mechanisms: under trust "redundancy" a goal proved once is not tried again.
        cvc5 = ("-m", "slurm/mechanisms/cvc5.xml")
        local = Replay(f"{self.scratch}/local_cvc5")
        self.assertEqual(finish(local.start(local.command("here.res", cvc5),
                                            self.cluster.environment)), (0, ""))
        self.replay.hold_provers()
        run = self.start(self.replay.command("cluster.res", cvc5))
        wait_for(lambda: len(self.held_provers()) == JOBS, "the provers")
        before = statuses(self.replay.pos)
        self.cluster.set_state("down")
        wait_for(lambda: not self.cluster.jobs("RUNNING", "COMPLETING"), "the jobs to fail")
        wait_for(lambda: self.cluster.jobs("PENDING"), "the next job to wait")
        self.assertEqual(statuses(self.replay.pos), before)
        self.replay.release_provers()
        self.cluster.set_state("resume")
        status, errors = finish(run)
        self.assertEqual(status, 0)
        self.assertEqual(errors, "Driver prover crashed.\n" * JOBS)
        self.assertGreater(proof_count(self.replay.pos), sum(r[1] == "Proved" for r in before))

        self.assertEqual(finish(self.start(self.replay.command("cluster.res", cvc5))), (0, ""))
        self.assertEqual(statuses(self.replay.pos), statuses(local.pos))

    def test_stopping_the_program_cancels_its_steps(self):
        (self.replay.dir / "sleeper").mkdir()
        (self.replay.dir / "sleeper" / "z3.xml").write_text(SLEEPER)
        command = self.replay.command("cluster.res", ("-m", "sleeper/z3.xml"))
        allocation = ["salloc", "--quiet", f"--ntasks={JOBS}", "--mem-per-cpu=2500"]
        for lead in ([], allocation):
            for way in ("terminate", "kill"):
                with self.subTest(allocation=bool(lead), way=way):
                    run = self.start(lead + command)
                    wait_for(lambda: len(self.cluster.provers("sleep")) == JOBS, "the provers")
                    self.assertEqual(len(self.cluster.steps()), JOBS)
                    self.stop_program(run, way, bool(lead))
                    wait_for(lambda: not self.cluster.steps(), "the steps to be cancelled", 10)
                    finish(run)
                    wait_for(lambda: not self.cluster.provers("sleep"), "the provers to end", 10)
        for file in (self.replay.dir / "work").iterdir():
            file.unlink()  # SIGKILL leaves the secondary files

    def stop_program(self, run, way, allocated):
        if not allocated:
            getattr(run, way)()
            return
        children = pathlib.Path(f"/proc/{run.pid}/task/{run.pid}/children").read_text().split()
        for child in children:
            os.kill(int(child), {"terminate": 15, "kill": 9}[way])

    def test_limits_end_the_run_as_a_crash(self):
        # The status of each script is what kelvarune sees.
        rows = [(["true"], 0), (["sh", "-c", "exit 3"], 3), (["sh", "-c", "kill -SEGV $$"], -11),
                (["--megabytes", "100", "true"], 0), (["--", "sh", "-c", "exit 0"], 0)]
        for script in ("run-here", "run-slurm"):
            for words, status in rows:
                with self.subTest(script=script, words=words):
                    run = subprocess.run([EXAMPLES / "slurm" / script, *words], input=b"", timeout=60,
                                         capture_output=True, env=self.cluster.environment)
                    self.assertEqual(run.returncode, status, run.stderr)
        refused = [EXAMPLES / "slurm" / "run-slurm", "--megabytes", "999999", "true"]
        late = [EXAMPLES / "slurm" / "run-here", "--seconds", "1", "sleep", "100"]
        for command in (refused, late):
            with self.subTest(command=command):
                run = subprocess.run(command, stdin=subprocess.DEVNULL, timeout=60,
                                     capture_output=True, env=self.cluster.environment)
                self.assertLess(run.returncode, 0, run.stderr)

    def test_input_and_output_pass_whole(self):
        data = os.urandom(3 << 20)
        run = subprocess.run([EXAMPLES / "slurm" / "run-slurm", "cat"], input=data, timeout=60,
                             capture_output=True, env=self.cluster.environment)
        self.assertEqual((run.returncode, run.stdout == data), (0, True), run.stderr)


def reason_to_skip():
    missing = slurm.missing() + [p for p in ("z3", "cvc5") if not shutil.which(p, path=slurm.PATH)]
    return "missing here: " + ", ".join(missing) if missing else None


if __name__ == "__main__":
    reason = reason_to_skip()
    if reason:
        print(f"Slurm test not run, {reason} (apt-get install slurm-wlm munge z3 cvc5)")
        sys.exit(1 if os.environ.get("CI") else 77)
    unittest.main()
