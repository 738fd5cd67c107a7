"""A Slurm cluster of one node on the loopback interface, in a scratch directory, for one user.

Nothing of the machine's own configuration is read or changed: the cluster has its own keys, its own
ports and its own state, and no need of cgroups or of a service manager. Everything that it starts
ends with it.
"""

import getpass
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time

NEEDED = ("munged", "slurmctld", "slurmd", "srun", "salloc", "squeue", "scontrol", "setpriv")
PATH = os.pathsep.join([os.environ.get("PATH", ""), "/usr/sbin", "/sbin"])
LIMIT_S = 30

CONFIGURATION = """\
ClusterName=scratch
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
AuthType=auth/munge
AuthInfo=socket={dir}/munge.socket
CredType=cred/munge
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
StateSaveLocation={dir}/state
SlurmdSpoolDir={dir}/spool
SlurmctldPidFile={dir}/slurmctld.pid
SlurmdPidFile={dir}/slurmd.pid
PlugStackConfig=/dev/null
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
MpiDefault=none
SwitchType=switch/none
SlurmdParameters=config_overrides
ReturnToService=0
KillWait=2
SchedulerParameters=sched_min_interval=0
NodeName=node NodeHostname={host} NodeAddr=127.0.0.1 CPUs=4 RealMemory=12000 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""


def missing():
    """The programs that this machine lacks."""
    return [program for program in NEEDED if not shutil.which(program, path=PATH)]


def free_ports(count):
    listeners = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [listener.getsockname()[1] for listener in listeners]
    for listener in listeners:
        listener.close()
    return ports


def wait_for(condition, what, limit_s=LIMIT_S):
    end = time.monotonic() + limit_s
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited {limit_s} s in vain: {what}")
        time.sleep(0.05)


class Cluster:
    """Runs as long as the `with` block that it heads."""

    def __init__(self, directory):
        self.dir = pathlib.Path(directory)
        self.daemons = []
        # Without the variables of a cluster that the caller may sit in.
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("SLURM", "SALLOC", "SBATCH", "SRUN"))}
        self.environment.update(PATH=PATH, SLURM_CONF=str(self.dir / "slurm.conf"))

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if len(self.daemons) > 1:
            subprocess.run(["scancel", "--user", getpass.getuser()], env=self.environment,
                           capture_output=True, timeout=LIMIT_S, check=False)
        for daemon in reversed(self.daemons):
            daemon.terminate()
        for daemon in reversed(self.daemons):
            try:
                daemon.wait(10)
            except subprocess.TimeoutExpired:
                daemon.kill()
                daemon.wait()
        self.end_leftovers()

    def start(self):
        for name in ("state", "spool"):
            (self.dir / name).mkdir(mode=0o755)
        self.dir.chmod(0o755)  # munged insists that others may pass through
        key = self.dir / "munge.key"
        key.touch(mode=0o600)
        key.write_bytes(os.urandom(128))
        (self.dir / "slurm.conf").write_text(CONFIGURATION.format(
            host=socket.gethostname().split(".")[0], user=getpass.getuser(), dir=self.dir,
            ports=free_ports(2)))
        self.daemon("munged", "--foreground", "--force",
                    *[f"--{option}={self.dir}/munge.{option.split('-')[0]}"
                      for option in ("key-file", "socket", "pid-file", "log-file", "seed-file")])
        wait_for((self.dir / "munge.socket").exists, "munged")
        self.daemon("slurmctld", "-D", "-i")
        self.daemon("slurmd", "-D", "-N", "node")
        wait_for(lambda: self.state() == "idle", "the node")

    def daemon(self, *command):
        log = self.dir / f"{command[0]}.out"
        with open(log, "wb") as output:
            self.daemons.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output,
                                                 stderr=output, env=self.environment))

    def ask(self, *command):
        run = subprocess.run(command, env=self.environment, capture_output=True, text=True,
                             timeout=LIMIT_S, check=False)
        return run.stdout.strip()

    def state(self):
        for daemon in self.daemons:
            if daemon.poll() is not None:
                name = daemon.args[0]
                raise AssertionError(f"{name} has ended: " + (self.dir / f"{name}.out").read_text())
        return self.ask("sinfo", "--noheader", "--format=%T")

    def set_state(self, state):
        self.ask("scontrol", "update", "nodename=node", f"state={state}", "reason=test")

    def jobs(self, *states):
        """The jobs in these states, or in any."""
        words = [f"--states={','.join(states)}"] if states else []
        return self.ask("squeue", "--noheader", "--format=%i", *words).split()

    def steps(self):
        """The steps that run a prover."""
        names = self.ask("squeue", "--noheader", "--steps", "--format=%i %j").splitlines()
        return [name for name in names if name.endswith(" kelvarune")]

    def provers(self, *words):
        """The processes of this cluster whose command line begins with these words. A step that is
        cancelled while it is being launched may stay for minutes with proctrack/linuxproc; tests
        wait for the provers, not for the steps, before they do harm."""
        begin = b"".join(os.fsencode(word) + b"\0" for word in words)

        def command(pid):
            try:
                return pathlib.Path(f"/proc/{pid}/cmdline").read_bytes()
            except OSError:
                return b""
        return [pid for pid in self.processes() if command(pid).startswith(begin)]

    def processes(self):
        """All processes of this user that know this cluster, this one excepted."""
        mark = f"SLURM_CONF={self.dir}/slurm.conf".encode()
        result = []
        for entry in pathlib.Path("/proc").glob("[0-9]*/environ"):
            try:
                if int(entry.parent.name) != os.getpid() and mark in entry.read_bytes().split(b"\0"):
                    result.append(int(entry.parent.name))
            except (OSError, ValueError):
                pass  # it has ended, or is another user's
        return result

    def end_leftovers(self):
        for pid in self.processes():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
