"""A Slurm cluster of one node on this machine, for tests: its own configuration, keys, sockets and
ports, in a folder of its own. Nothing of a Slurm that is installed here is touched.
"""

import atexit
import contextlib
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
from pathlib import Path

DAEMONS = ("munged", "slurmctld", "slurmd")
COMMANDS = ("setpriv", "sbatch", "squeue", "scontrol", "scancel")

# Delays are short, because a test waits for each of them.
CONFIGURATION = """
ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={controller_port}
SlurmdPort={node_port}
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
SchedulerType=sched/backfill
SchedulerParameters=sched_interval=1,batch_sched_delay=0,sched_min_interval=0,bf_interval=1
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
SlurmdTimeout=10
SlurmctldTimeout=10
MessageTimeout=5
BatchStartTimeout=5
CompleteWait=0
KillWait=2
MinJobAge=20
InactiveLimit=0
MaxArraySize={max_array_size}
JobRequeue=1
NodeName=node1 NodeHostname={host} NodeAddr=127.0.0.1 CPUs={cpus} RealMemory=500 State=UNKNOWN
PartitionName=main Nodes=node1 Default=YES MaxTime=INFINITE State=UP
"""


def why_missing():
    """Why there can be no cluster here; empty when there can be one."""
    if os.geteuid() != 0:
        return "the daemons of Slurm need root"
    path = os.environ["PATH"] + ":/usr/sbin:/sbin"
    missing = [name for name in (*DAEMONS, *COMMANDS) if not shutil.which(name, path=path)]
    return "not installed: " + ", ".join(missing) if missing else ""


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class Cluster:
    """Runs until close, which ends all that it has started and removes its folder."""

    def __init__(self, cpus=2, max_array_size=50):
        self.folder = Path(tempfile.mkdtemp(prefix="orvcasconv-slurm-"))
        self.folder.chmod(0o755)
        self.running = {}
        atexit.register(self.close)
        controller_port, node_port = free_ports(2)
        self.environment = dict(os.environ, SLURM_CONF=str(self.folder / "slurm.conf"))
        self.environment["PATH"] += ":/usr/sbin:/sbin"
        for name in list(self.environment):
            if name.startswith(("SBATCH_", "SQUEUE_", "SCANCEL_")):
                del self.environment[name]
        (self.folder / "slurm.conf").write_text(CONFIGURATION.format(
            folder=self.folder, host=socket.gethostname(), controller_port=controller_port,
            node_port=node_port, cpus=cpus, max_array_size=max_array_size))
        try:
            self.start_all()
        except BaseException:
            self.close()
            raise

    def start_all(self):
        key = self.folder / "munge.key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o600)
        (self.folder / "state").mkdir()
        (self.folder / "spool").mkdir()
        self.start("munged", "--foreground", "--force", f"--key-file={key}",
                   *(f"--{what}-file={self.folder}/munge.{what}" for what in ("log", "pid", "seed")),
                   f"--socket={self.folder}/munge.socket")
        self.wait_for(lambda: (self.folder / "munge.socket").exists(), "munged")
        self.start_controller()
        self.start_node()

    def start_controller(self):
        self.start("slurmctld", "-D", "-i")
        self.wait_for(lambda: self.ask("squeue") is not None, "slurmctld")

    def stop_controller(self):
        """In the usual way, because only then it has saved all jobs."""
        controller = self.running.pop("slurmctld")
        controller.terminate()
        controller.wait(30)

    def start_node(self, state="idle"):
        self.start("slurmd", "-D", "-N", "node1")
        self.wait_for(lambda: self.ask("sinfo", "-h", "-o", "%t") == state, "slurmd")

    def kill_node(self):
        """As when a node loses its power: slurmd and all that it has started."""
        tasks = self.processes_of_tasks()
        # The processes that watch over tasks first, so that they report nothing.
        self.kill({self.parent_of(task) for task in tasks} - {1})
        daemon = self.running.pop("slurmd")
        daemon.kill()
        daemon.wait()
        self.kill(tasks)

    def bring_back_node(self):
        """What an administrator does then. Slurm by itself waits for minutes."""
        self.ask("scontrol", "update", "NodeName=node1", "State=DOWN", "Reason=lost")
        self.start_node("down")
        self.ask("scontrol", "update", "NodeName=node1", "State=RESUME")
        for job in self.ask("squeue", "-h", "-r", "-o", "%A").split():
            self.ask("scontrol", "update", f"JobId={job}", "StartTime=now")

    def processes_of_tasks(self):
        """The scripts of tasks, and whatever they have started."""
        mark = f"SLURM_CONF={self.folder}/".encode()
        found = []
        for entry in Path("/proc").iterdir():
            try:
                environment = (entry / "environ").read_bytes() if entry.name.isdigit() else b""
                if mark in environment and b"SLURM_ARRAY_TASK_ID=" in environment:
                    found.append(int(entry.name))
            except OSError:
                pass  # it has ended
        return found

    def parent_of(self, process):
        """The process that watches over a task; 1 when there is none."""
        try:
            status = Path(f"/proc/{process}/status").read_text()
            parent = int(re.search(r"^PPid:\s*(\d+)", status, re.MULTILINE)[1])
            name = Path(f"/proc/{parent}/comm").read_text()
        except (OSError, TypeError):
            return 1
        return parent if name.startswith("slurmstepd") else 1

    @staticmethod
    def kill(processes):
        for process in processes:
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)

    def close(self):
        if not self.running:
            return
        with contextlib.suppress(OSError, subprocess.SubprocessError):
            self.ask("scancel", "--user=root")
            self.kill_node_if_running()
        for process in reversed(self.running.values()):
            process.terminate()
        for process in self.running.values():
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self.running.clear()
        shutil.rmtree(self.folder, ignore_errors=True)

    def kill_node_if_running(self):
        if "slurmd" in self.running:
            self.kill_node()

    def start(self, name, *arguments):
        log = open(self.folder / f"{name}.output", "ab")
        with log:
            # It does not outlive the test, even if that one is killed.
            self.running[name] = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", name, *arguments], env=self.environment, stdin=subprocess.DEVNULL, stdout=log,
                stderr=log, cwd=self.folder, start_new_session=True)

    def ask(self, *command):
        """What a command of Slurm prints; None when it fails."""
        result = subprocess.run(command, env=self.environment, capture_output=True, text=True,
                                check=False, timeout=60)
        return result.stdout.strip() if result.returncode == 0 else None

    def wait_for(self, condition, what, seconds=40):
        end = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > end:
                raise RuntimeError(f"{what} does not start:\n{self.logs()}")
            time.sleep(0.1)

    def logs(self):
        """The ends of what the daemons have said."""
        return "\n".join(f"== {file.name}\n" + file.read_text(errors="replace")[-1500:]
                         for file in sorted(self.folder.glob("*.output")))
