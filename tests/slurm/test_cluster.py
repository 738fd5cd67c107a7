"""The example of examples/slurm on a cluster of two nodes, which this module starts and ends: on the
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

PROGRAMS = ("munged", "slurmctld", "slurmd", "srun", "salloc", "sbatch", "squeue", "scontrol",
            "setpriv", "bash", "perl")
pytestmark = needs(*PROGRAMS, "z3", "cvc5")

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"
JOBS, NODES = 4, ("node1", "node2")

# The commands are those of the example's guide; all but the first need no allocation.
GUIDE = (EXAMPLES / "slurm/README.md").read_text()
IN_ALLOCATION = re.search(r"^```sh.*\n(salloc (?:.*\n)*?)```", GUIDE, re.M)[1]
ON_CLUSTER = IN_ALLOCATION[IN_ALLOCATION.index("kelvarune"):]
JOB_ARRAY = re.search(r"^sbatch --wait (?:.*\n)*?kelvarune-pos merge .*", GUIDE, re.M)[0]
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
StateSaveLocation={dir}/state
SlurmdSpoolDir={dir}/spool.%n
SlurmctldPidFile={dir}/slurmctld.pid
SlurmdPidFile={dir}/slurmd.%n.pid
PlugStackConfig=/dev/null
ProctrackType=proctrack/linuxproc
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
SlurmdParameters=config_overrides
KillWait=2
SchedulerParameters=sched_min_interval=0
NodeName=DEFAULT CPUs=2 RealMemory=6000 State=UNKNOWN
NodeName=node1 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[1]}
NodeName=node2 NodeHostname={host} NodeAddr=127.0.0.1 Port={ports[2]}
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
        for name in ("state", "spool.node1", "spool.node2"):
            (self.dir / name).mkdir()
        self.dir.chmod(0o755)  # munged insists that others may pass through
        (self.dir / "munge.key").touch(mode=0o600)
        (self.dir / "munge.key").write_bytes(os.urandom(128))
        with contextlib.ExitStack() as listeners:
            ports = [listeners.enter_context(socket.create_server(("127.0.0.1", 0)))
                     .getsockname()[1] for _ in range(3)]
        (self.dir / "slurm.conf").write_text(CONFIGURATION.format(
            host=socket.gethostname().split(".")[0], user=getpass.getuser(), dir=self.dir,
            ports=ports))
        self.daemon("munged", "--foreground", "--force", *[
            f"--{option}={self.dir}/munge.{option.split('-')[0]}"
            for option in ("key-file", "socket", "pid-file", "log-file", "seed-file")])
        wait_for((self.dir / "munge.socket").exists)
        self.daemon("slurmctld", "-D", "-i")
        for node in NODES:
            self.daemon("slurmd", "-D", "-N", node)
        self.wait_for_nodes()

    def wait_for_nodes(self):
        self.ask("scontrol", "update", "nodename=ALL", "state=resume")
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

    def running(self, *command):
        return next(daemon for daemon in reversed(self.daemons) if daemon.args[:len(command)] == command)

    @contextlib.contextmanager
    def failing(self, node, number):
        """All of a node gets the signal: its daemon, its steps, and what they run."""
        slurmd = self.running("slurmd", "-D", "-N", node)
        tasks = [process for process in self.processes()
                 if process.info["environ"].get("SLURMD_NODENAME") == node]
        steps = {parent for task in tasks for parent in task.parents()
                 if parent.name() == "slurmstepd"}
        for process in (slurmd, *steps, *tasks):
            process.send_signal(number)
        yield
        for process in (*tasks, *steps, slurmd):
            with contextlib.suppress(psutil.NoSuchProcess):
                process.kill()
        # Or the controller would go on asking about the node's jobs for most of a minute.
        self.ask("scontrol", "update", f"nodename={node}", "state=down", "reason=failed")
        self.again(slurmd)
        self.wait_for_nodes()

    def again(self, daemon):
        daemon.wait()
        self.daemons.remove(daemon)
        self.daemon(*[word for word in daemon.args if word != "-i"])  # a controller keeps its state

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

    def start(self, command, **environment):
        self.runs.append(subprocess.Popen(
            ["sh", "-c", "exec " + command], cwd=self.dir, env=self.cluster.environment | environment,
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


SCRIPTS = EXAMPLES / "slurm"
RUN = f"{SCRIPTS}/run-slurm"
ALLOCATE = f"exec salloc --quiet --no-kill -N 2 -n 2 {SCRIPTS}/with-workers "


@pytest.fixture
def call(cluster):
    """Starts a line of shell on this machine."""
    calls = []

    def start(line, **environment):
        calls.append(subprocess.Popen(["sh", "-c", line], stdin=subprocess.DEVNULL, text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      env=cluster.environment | environment))
        return calls[-1]
    yield start
    cluster.ask("scancel", "--user", getpass.getuser())
    for each in calls:
        each.kill()
        each.communicate()
    wait_for(lambda: not cluster.ask("squeue", "--noheader"))


@pytest.mark.parametrize("number", [signal.SIGKILL, signal.SIGSTOP])
@rows("prefix", {"alone": "", "in an allocation": ALLOCATE})
def test_a_node_fails(cluster, call, prefix, number):
    prover = f"{RUN} sh -c 'sleep 2; echo $SLURMD_NODENAME; exit 3' || echo $?"
    (cluster.dir / "two").write_text(f"({prover}) & ({prover}) & wait")
    both = call(f"{prefix} sh {cluster.dir}/two", KELVARUNE_SLURM_PATIENCE="3")
    wait_for(lambda: len(cluster.processes("sleep", "2")) == 2)
    failed = cluster.processes("sleep", "2")[0].info["environ"]["SLURMD_NODENAME"]
    with cluster.failing(failed, number):
        output, err = both.communicate(timeout=60)
        (other,) = set(NODES) - {failed}
        assert (sorted(output.split()), err) == (["3", "3", other, other], "")


def test_what_loses_its_workers_fails_and_the_others_go_on(call):
    kill_worker = "kill -9 $(ps -o ppid= -p $PPID); sleep 100"
    run = call(f"{ALLOCATE} sh -c '{RUN} sh -c \"$0\"; echo $?; {RUN} echo next' '{kill_worker}'",
               KELVARUNE_SLURM_PATIENCE="3")
    output, err = run.communicate(timeout=60)
    assert output.split() == ["134", "next"] and err.startswith("run-slurm: Slurm failed: "), err


def test_a_killed_call_stops_its_prover(cluster, call):
    seen = cluster.dir / "seen"
    run = call(f"{ALLOCATE} sh -c '{RUN} sleep 1000 & wait; until [ -e {seen} ]; do sleep 0.1; done; "
               f"{RUN} echo next'")
    wait_for(lambda: cluster.processes("sleep", "1000"))
    cluster.processes("/usr/bin/perl", RUN)[0].kill()
    wait_for(lambda: not cluster.processes("sleep", "1000"))
    seen.touch()
    assert run.communicate(timeout=60) == ("next\n", "")


def test_the_controller_is_away(cluster, call):
    again = cluster.dir / "again"
    inside = call(f"{ALLOCATE} sh -c '{RUN} echo first; until [ -e {again} ]; do sleep 0.1; done; "
                  f"{RUN} echo next; {RUN} echo last'")
    assert inside.stdout.readline() == "first\n"
    controller = cluster.running("slurmctld")
    controller.suspend()
    frozen = call(f"{RUN} sh -c 'exit 3'")
    again.touch()
    assert [inside.stdout.readline() for _ in range(2)] == ["next\n", "last\n"]
    controller.resume()
    assert (frozen.communicate(timeout=60), frozen.returncode) == (("", ""), 3)
    controller.terminate()
    controller.wait()
    gone = call(f"{RUN} sh -c 'exit 3'")
    time.sleep(3)
    cluster.again(controller)
    assert (gone.communicate(timeout=60), gone.returncode) == (("", ""), 3)


@rows("environment, said", {
    "partition": ({"SLURM_PARTITION": "nowhere"}, "Invalid partition name specified"),
    "srun": ({"PATH": "{bin}"}, "there is no srun in PATH")})
@rows("prefix", {"alone": "", "with workers": "slurm/with-workers --workers 4 "})
def test_a_run_that_cannot_work_is_stopped(cluster, replay, tmp_path, prefix, environment, said):
    for name in ("kelvarune", "setpriv", "sh", "env", "python3"):
        (tmp_path / "bin").mkdir(exist_ok=True)
        (tmp_path / "bin" / name).symlink_to(shutil.which(name, path=f"{BIN}:/usr/bin:/bin"))
    before = proved(replay.pos())
    run = replay.start(prefix + ON_CLUSTER, **{
        name: value.format(bin=tmp_path / "bin") for name, value in environment.items()})
    err = run.communicate(timeout=60)[1]
    assert err.count("Slurm failed: ") == err.count("stopped") == 1 and said in err, err
    assert (run.returncode != 0, proved(replay.pos()), os.listdir(replay.dir / "work")) == (
        True, before, [])


@rows("arguments, environment, status, last", {
    "good": (["z3", "cvc5"], {}, 0, "ok    z3 --version through run-slurm in "),
    "prover": (["z3", "nowhere"], {}, 1, "        no nowhere on node"),
    "partition": ([], {"SLURM_PARTITION": "no"}, 1, "        allocation failure: Invalid partition")})
def test_check(cluster, arguments, environment, status, last):
    run = subprocess.run([SCRIPTS / "check-slurm", *arguments], capture_output=True, text=True,
                         timeout=60, env=cluster.environment | environment)
    lines = run.stdout.splitlines()
    assert (run.returncode, run.stderr) == (status, "") and lines[-1].startswith(last), run
    assert [line[:4] for line in lines].count("FAIL") == status


def test_job_array(cluster, replay, tmp_path_factory):
    local = Replay(cluster, tmp_path_factory.mktemp("local"))
    local.complete(local.start(HERE))
    run = replay.start(f"sh -c '{JOB_ARRAY}\nkelvarune-pos diff {local.dir}/smt/ringbuffer.pos "
                       "smt/merged.pos'")
    assert (run.communicate(timeout=120)[1], run.returncode) == ("", 0)
    assert len(list(replay.dir.glob("shard-*.out"))) == 4


BOTH = ["run-here", "run-slurm"]


@rows("scripts, words, status", {
    "exit": (BOTH, ["sh", "-c", "exit 3"], 3), "crash": (BOTH, ["sh", "-c", "kill -SEGV $$"], -11),
    "refused": (["run-slurm"], ["--megabytes", "999999", "true"], -6),
    "late": (BOTH, ["--seconds", "1", "sleep", "100"], -9)})
def test_a_limit_ends_the_run_as_a_crash(cluster, scripts, words, status):
    for script in scripts:
        run = subprocess.run([EXAMPLES / "slurm" / script, *words], env=cluster.environment,
                             stdin=subprocess.DEVNULL, timeout=60)
        assert run.returncode == status, script
