"""The guide's job array on a real Slurm: a controller beside the test, a node daemon in the network
of each render node."""

import ctypes
import os
import re
import socket
import subprocess
from pathlib import Path

import pytest
from farm import MASTER_PROGRAM, farm  # noqa: F401, a fixture
from farm import pixel_value, value_of
from harness import ONLINE, eventually

GUIDE = Path(__file__).parents[2] / "docs/FARM.md"
IMAGES = 3


def script():
    return re.search(r"tests run: begin -->\n```bash\n(.*?)```", GUIDE.read_text(), re.S)[1]


def name_this_machine(name):
    new_names = 0x04000000
    assert ctypes.CDLL(None).unshare(new_names) == 0
    socket.sethostname(name)


class Slurm:
    def __init__(self, folder, nodes):
        self.folder = folder
        self.daemons = []
        name_this_machine("controller")
        hosts = Path("/etc/hosts")
        hosts.unlink()
        hosts.write_text("127.0.0.1 localhost\n10.7.0.1 controller\n" + "".join(
            f"{node.address} n{node.number}\n" for node in nodes))
        self.start_munge()
        (folder / "slurm.conf").write_text(f"""
ClusterName=test
SlurmctldHost=controller(10.7.0.1)
SlurmUser=root
AuthInfo=socket={folder}/munge.socket,cred_expire=5
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool-%n
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd-%n.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
JobCompType=jobcomp/filetxt
JobCompLoc={folder}/jobs.txt
MailProg=/bin/true
""" + "".join(f"NodeName=n{node.number} NodeAddr={node.address} NodeHostname=n{node.number} "
              "CPUs=1\n" for node in nodes) + "PartitionName=all Nodes=ALL Default=YES\n")
        os.environ["SLURM_CONF"] = str(folder / "slurm.conf")
        (folder / "state").mkdir()
        self.run("slurmctld", "-D")
        for node in nodes:
            self.run("nsenter", "-t", str(node.server.pid), "-n", "slurmd", "-D", "-N", f"n{node.number}")

    def start_munge(self):
        key = self.folder / "munge.key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o400)
        files = {"socket": "socket", "key-file": "key", "pid-file": "pid", "log-file": "log", "seed-file": "seed"}
        self.run("munged", "--foreground", "--force",
                 *(f"--{option}={self.folder}/munge.{name}" for option, name in files.items()))
        eventually((self.folder / "munge.socket").exists)

    def run(self, *command):
        with open(self.folder / f"daemon{len(self.daemons)}.log", "wb") as log:
            self.daemons.append(subprocess.Popen(command, stdout=log, stderr=log, env={
                **os.environ, "PATH": "/usr/sbin:" + os.environ["PATH"]}))

    def end(self):
        for daemon in reversed(self.daemons):
            daemon.terminate()
            daemon.wait()

    def finished(self):
        """The states in which tasks ended, as Slurm's accounting has them."""
        jobs = self.folder / "jobs.txt"
        text = jobs.read_text() if jobs.exists() else ""
        return re.findall(r"JobState=(\w+)", text)


@pytest.fixture
def slurm(farm, tmp_path):  # noqa: F811
    nodes = farm.nodes_that_send(2, 50)
    made = Slurm(tmp_path, nodes)
    made.nodes = nodes
    yield made
    made.end()


def test_job_array_of_the_guide(slurm, tmp_path):
    bad = slurm.nodes[1]
    frames = tmp_path / "frames"
    frames.mkdir()
    (tmp_path / "shot.max").write_bytes(b"scene")
    (tmp_path / "render-frame.sh").write_text(script())
    bad.plan(2014, "exit 1")
    environment = {**os.environ, "SCENE": str(tmp_path / "shot.max"), "FRAMES": str(frames),
                   "RELEASE": "2014", "IMAGES": str(IMAGES),
                   "PATH": f"{Path(MASTER_PROGRAM[0]).parent}:{os.environ['PATH']}"}

    def idle():
        return subprocess.run(["sinfo", "-h", "-o", "%T %D"], capture_output=True, text=True).stdout == "idle 2\n"

    eventually(idle)
    subprocess.run(["sbatch", "--array=1-4", "render-frame.sh"], cwd=tmp_path, env=environment, check=True)
    # One task at least fails on the bad node, and goes to the queue's end.
    bad.started_host()
    eventually(lambda: "The server ended the job without any image" in "".join(
        log.read_text() for log in tmp_path.glob("render-*.log")))
    bad.plan(2014, *ONLINE, "passes 20", "close")
    eventually(lambda: slurm.finished().count("COMPLETED") == 4, slurm.finished)
    means = {path.name: value_of(path) for path in frames.iterdir()}
    assert sorted(means) == [f"frame-{number:04d}.exr" for number in range(1, 5)]
    for mean in means.values():
        # The first images of either node.
        assert any(abs(mean - (pixel_value(node.number, 0) + (count - 1) / 2)) < 0.01
                   for node in slurm.nodes for count in range(IMAGES, IMAGES + 5))
    # What the accounting calls a task that was requeued.
    assert "PENDING" in slurm.finished()
