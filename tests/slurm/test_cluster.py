"""The example of examples/slurm on a cluster of one node, which this module starts and ends: on the
loopback interface, in a scratch directory, for one user. It has its own keys, ports and state, and
no need of cgroups or of a service manager; the machine's own configuration is left alone."""

import contextlib
import getpass
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import xml.etree.ElementTree as ET

import psutil
import pytest
from conftest import BIN, PATH, needs, rows

PROGRAMS = ("munged", "slurmctld", "slurmd", "srun", "salloc", "squeue", "scontrol", "setpriv")
pytestmark = needs(*PROGRAMS, "z3", "cvc5")

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"
JOBS = 4

# The commands are those of the example's guide; all but the first need no allocation.
GUIDE = (EXAMPLES / "slurm/README.md").read_text()
IN_ALLOCATION = re.search(r"^```sh.*\n(salloc (?:.*\n)*?)```", GUIDE, re.M)[1]
ON_CLUSTER = IN_ALLOCATION[IN_ALLOCATION.index("kelvarune"):]
HERE = ON_CLUSTER.replace("cluster.res", "here.res")


def cvc5_only(command):
    """Under trust "redundancy" a goal proved by one mechanism is not tried again."""
    return command.replace("-M slurm/mechanisms", "-m slurm/mechanisms/cvc5.xml")


CONFIGURATION = """\
ClusterName=scratch
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
AuthInfo=socket={dir}/munge.socket
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
StateSaveLocation={dir}/state
SlurmdSpoolDir={dir}/spool
SlurmctldPidFile={dir}/slurmctld.pid
SlurmdPidFile={dir}/slurmd.pid
PlugStackConfig=/dev/null
ProctrackType=proctrack/linuxproc
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
SlurmdParameters=config_overrides
KillWait=2
SchedulerParameters=sched_min_interval=0
NodeName=node NodeHostname={host} NodeAddr=127.0.0.1 CPUs=4 RealMemory=12000 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""


def wait_for(condition, limit_s=60):
    end = time.monotonic() + limit_s
    while not condition():
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.05)


class Cluster:
    def __init__(self, directory):
        self.dir, self.daemons = pathlib.Path(directory), []
        # Without the variables of a cluster that the caller may sit in.
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("SLURM", "SALLOC", "SBATCH", "SRUN"))} | {
            "PATH": f"{BIN}:{PATH}", "SLURM_CONF": f"{directory}/slurm.conf"}

    def start(self):
        for name in ("state", "spool"):
            (self.dir / name).mkdir()
        self.dir.chmod(0o755)  # munged insists that others may pass through
        (self.dir / "munge.key").touch(mode=0o600)
        (self.dir / "munge.key").write_bytes(os.urandom(128))
        with contextlib.ExitStack() as listeners:
            ports = [listeners.enter_context(socket.create_server(("127.0.0.1", 0)))
                     .getsockname()[1] for _ in range(2)]
        (self.dir / "slurm.conf").write_text(CONFIGURATION.format(
            host=socket.gethostname().split(".")[0], user=getpass.getuser(), dir=self.dir,
            ports=ports))
        self.daemon("munged", "--foreground", "--force", *[
            f"--{option}={self.dir}/munge.{option.split('-')[0]}"
            for option in ("key-file", "socket", "pid-file", "log-file", "seed-file")])
        wait_for((self.dir / "munge.socket").exists)
        self.daemon("slurmctld", "-D", "-i")
        self.daemon("slurmd", "-D", "-N", "node")
        self.ask("scontrol", "update", "nodename=node", "state=resume")
        wait_for(lambda: self.ask("sinfo", "--noheader", "--format=%T") == "idle")

    def end(self):
        if len(self.daemons) > 1:
            self.ask("scancel", "--user", getpass.getuser())
        for daemon in reversed(self.daemons):
            daemon.terminate()
        psutil.wait_procs(self.daemons, 10)
        for process in self.processes():
            process.kill()

    def daemon(self, *command):
        with open(self.dir / f"{command[0]}.out", "wb") as output:
            self.daemons.append(psutil.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                                             stderr=output, env=self.environment))

    def ask(self, *command):
        return subprocess.run(command, env=self.environment, capture_output=True, text=True,
                              timeout=60).stdout.strip()

    def processes(self, *words):
        """This cluster's processes whose command line begins with these words. A step that is
        cancelled while it is being launched may stay for minutes with proctrack/linuxproc; tests
        wait for the provers, not for the steps, before they do harm."""
        mark = self.environment["SLURM_CONF"]
        return [process for process in psutil.process_iter(["environ", "cmdline"])
                if (process.info["environ"] or {}).get("SLURM_CONF") == mark
                and process.info["cmdline"][:len(words)] == list(words)]


@pytest.fixture(scope="module")
def cluster():
    with tempfile.TemporaryDirectory() as directory:
        cluster = Cluster(directory)
        try:
            cluster.start()
            yield cluster
        finally:
            cluster.end()


def proved(pos):
    return len(ET.fromstring(pos).findall(".//Simple_Goal[@status='Proved']"))


class Replay:
    """A copy of the example's component, and runs of it."""

    def __init__(self, cluster, directory):
        self.cluster, self.dir, self.runs = cluster, directory, []
        self.gate = directory / "gate"
        for name in ("smt", "slurm"):
            shutil.copytree(EXAMPLES / name, self.dir / name)
        for tool in ("kelvarune-smt-writer", "kelvarune-smt-reader"):
            (self.dir / "slurm" / tool).symlink_to(BIN / tool)
        (self.dir / "work").mkdir()

    def start(self, command):
        self.runs.append(subprocess.Popen(
            ["sh", "-c", "exec " + command], cwd=self.dir, env=self.cluster.environment,
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True))
        return self.runs[-1]

    def complete(self, run, err=""):
        """What is in the status file when the run has completed."""
        said = re.sub("^salloc: .*\n", "", run.communicate(timeout=300)[1], flags=re.M)
        assert (said, run.returncode, os.listdir(self.dir / "work")) == (err, 0, [])
        return self.pos()

    def pos(self):
        return (self.dir / "smt/ringbuffer.pos").read_bytes()

    def hold_provers(self):
        """From now on provers wait until the gate is gone."""
        wait = f"while [ -e {self.gate} ]; do sleep 0.05; done; exec &quot;$0&quot;"
        self.gate.touch()
        for file in (self.dir / "slurm/mechanisms").iterdir():
            file.write_text(re.sub(
                '(<param value="(z3|cvc5)"/>)',
                f'<param value="sh"/><param value="-c"/><param value="{wait} &quot;$@&quot;"/>\\1',
                file.read_text()))

    def held(self):
        return self.cluster.processes("sh", "-c")


@pytest.fixture
def replay(cluster, tmp_path):
    replay = Replay(cluster, tmp_path)
    yield replay
    for run in replay.runs:
        run.kill()
        run.communicate()
    wait_for(lambda: not cluster.ask("squeue", "--noheader"))


def test_in_an_allocation(cluster, replay, tmp_path_factory):
    local = Replay(cluster, tmp_path_factory.mktemp("local"))
    verdicts = local.complete(local.start(HERE))
    assert proved(verdicts) > proved(replay.pos()) + 10
    assert replay.complete(replay.start(IN_ALLOCATION)) == verdicts


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL])
@rows("command", {"alone": ON_CLUSTER, "in an allocation": IN_ALLOCATION})
def test_stopping_the_program_cancels_its_steps(replay, command, number):
    replay.hold_provers()
    run = replay.start(cvc5_only(command))
    wait_for(lambda: len(replay.held()) == JOBS)
    (run if command == ON_CLUSTER else psutil.Process(run.pid).children()[0]).send_signal(number)
    wait_for(lambda: not replay.held())
    run.communicate(timeout=60)


BOTH = ["run-here", "run-slurm"]


@rows("scripts, words, status", {
    "exit": (BOTH, ["sh", "-c", "exit 3"], 3), "crash": (BOTH, ["sh", "-c", "kill -SEGV $$"], -11),
    "refused": (["run-slurm"], ["--megabytes", "999999", "true"], -6),
    "late": (["run-here"], ["--seconds", "1", "sleep", "100"], -9)})
def test_a_limit_ends_the_run_as_a_crash(cluster, scripts, words, status):
    for script in scripts:
        run = subprocess.run([EXAMPLES / "slurm" / script, *words], env=cluster.environment,
                             stdin=subprocess.DEVNULL, timeout=60)
        assert run.returncode == status, script
