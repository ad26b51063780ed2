"""A Slurm of one node on this machine, for tests: no systemd, no cgroups, everything in one folder; also as root."""

from __future__ import annotations

import os
import pathlib
import shutil
import signal
import socket
import subprocess
import time

PROGRAMS = ["munged", "slurmctld", "slurmd", "sbatch", "squeue", "scontrol", "scancel", "sinfo"]
CONFIGURATION = """\
ClusterName=loopback
SlurmctldHost={host}(127.0.0.1)
SlurmUser={user}
SlurmdUser={user}
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
AuthType=auth/munge
AuthInfo=socket={folder}/run/munge.socket,cred_expire=5
CryptoType=crypto/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/run/slurmctld.pid
SlurmdPidFile={folder}/run/slurmd.pid
SlurmctldLogFile={folder}/log/slurmctld.log
SlurmdLogFile={folder}/log/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerParameters=sched_interval=1,bf_interval=1,batch_sched_delay=0,defer_batch
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SwitchType=switch/none
MailProg=/bin/true
ReturnToService=2
KillWait=5
SlurmdParameters=config_overrides
NodeName={host} NodeAddr=127.0.0.1 CPUs={cpus} State=UNKNOWN
PartitionName=main Nodes={host} Default=YES MaxTime=INFINITE State=UP
"""


def missing() -> list[str]:
    return [program for program in PROGRAMS if shutil.which(program, path=search_path()) is None]


def search_path() -> str:
    return f"{os.environ['PATH']}:/usr/sbin:/sbin"


def free_ports(count: int) -> list[int]:
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class LoopbackSlurm:
    """Runs between start() and stop(); commands get `env`. `cpus` may be more than there are: so many tasks run at a time."""

    def __init__(self, folder: pathlib.Path, cpus: int) -> None:
        self.folder = folder
        self.cpus = cpus
        self.env = {"SLURM_CONF": str(folder / "etc/slurm.conf"), "PATH": search_path()}

    def start(self) -> None:
        for name in ("etc", "state", "spool", "log", "run"):
            (self.folder / name).mkdir(parents=True)
        self.folder.chmod(0o755)
        key = self.folder / "etc/munge.key"
        key.write_bytes(os.urandom(1024))
        key.chmod(0o600)
        host = socket.gethostname().split(".")[0]
        user = subprocess.run(["id", "-un"], capture_output=True, text=True, check=True).stdout.strip()
        (self.folder / "etc/slurm.conf").write_text(
            CONFIGURATION.format(host=host, user=user, ports=free_ports(2), folder=self.folder, cpus=self.cpus))
        run = self.folder / "run"
        # The folder's parents may be anybody's to write to, as those of temporary folders are.
        self.command("munged", "--force", f"--key-file={key}", f"--socket={run}/munge.socket", f"--pid-file={run}/munged.pid",
                     f"--log-file={self.folder}/log/munged.log", f"--seed-file={run}/munged.seed")
        self.command("slurmctld", "-i")
        self.command("slurmd")
        self.wait_for(lambda: "idle" in self.command("sinfo", "-h", "-o", "%t"), "an idle node")

    def command(self, *words: str) -> str:
        done = subprocess.run(words, env={**os.environ, **self.env}, capture_output=True, text=True, timeout=60)
        if done.returncode:
            raise RuntimeError(f"{' '.join(words)}: {done.stderr}")
        return done.stdout

    def states(self, job: str) -> dict[str, str]:
        """Of the tasks of an array that the controller still knows, by their number; one that waits may stand for several."""
        lines = self.command("squeue", "-h", "-t", "all", "-j", job, "-o", "%K %T").splitlines()
        return {task: state for task, state in (line.split() for line in lines)}

    def wait_for(self, condition, what: str, seconds: float = 60) -> None:
        end = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > end:
                logs = "\n".join(file.read_text()[-2000:] for file in (self.folder / "log").glob("*.log"))
                raise TimeoutError(f"no {what} after {seconds} s\n{logs}")
            time.sleep(0.1)

    def stop(self) -> None:
        for name in ("slurmd", "slurmctld", "munged"):
            file = self.folder / f"run/{name}.pid"
            if file.exists() and (text := file.read_text().strip()):
                end_process(int(text))


def runs(process: int) -> bool:
    """What has ended and isn't reaped yet doesn't run."""
    try:
        return "\nState:\tZ" not in pathlib.Path(f"/proc/{process}/status").read_text()
    except (FileNotFoundError, ProcessLookupError):
        return False


def end_process(process: int, patience: float = 10) -> None:
    """Of a daemon, which is nobody's child any more."""
    end = time.monotonic() + patience
    while runs(process):
        os.kill(process, signal.SIGTERM if time.monotonic() < end else signal.SIGKILL)
        time.sleep(0.1)
