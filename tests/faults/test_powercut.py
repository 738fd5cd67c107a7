"""Cuts the power while results are saved: a file system on a loop device is shut down without its
journal, as if the machine had stopped there, and mounted again.

The POS file is a whole document then, and holds every verdict whose save had returned. `--rounds N`
cuts N times per file system and size.
"""

import contextlib
import fcntl
import os
import subprocess
import time
import xml.etree.ElementTree as ET

import pytest

from conftest import REPLAY, candidate, obligations, po

SHUT_DOWN, WITHOUT_JOURNAL = 0x8004587D, b"\2\0\0\0"  # FS_IOC_SHUTDOWN
MEGABYTES = {"ext4": 100, "xfs": 320}


def call(*command):
    subprocess.run(command, check=True, capture_output=True)


@contextlib.contextmanager
def mounted(image, path, *options):
    path.mkdir()
    call("mount", "-o", ",".join(["loop", *options]), image, path)
    try:
        yield
    finally:
        call("umount", "--lazy", path)


@pytest.mark.rounds(2)
@pytest.mark.parametrize("goals", (1000, 10000))
@pytest.mark.parametrize("kind", MEGABYTES)
def test_power_cut_while_saving(case, rng, kind, goals):
    started, jobs = case.write("started", ""), rng.choice((1, 4))
    case.script("prover", f"echo >>{started}; exec cat\n")
    case.script("reader", "read -r i j; echo Proved\n")
    case.mechanism(trust="always")
    image, folder = case.write("image", ""), case.path("disk")
    os.truncate(image, MEGABYTES[kind] << 20)
    with contextlib.ExitStack() as disk:
        try:
            call(f"/usr/sbin/mkfs.{kind}", "-q", image)
            disk.enter_context(mounted(image, folder))
        except (OSError, subprocess.CalledProcessError) as error:
            pytest.skip(f"no {kind} of its own here: {getattr(error, 'stderr', error)}")
        document = obligations(*[po(f"T{i}" + "-" * 400, candidate()) for i in range(goals)])
        case.write("disk/comp.pos", ET.tostring(document))
        os.sync()
        process = case.start(*REPLAY, "-s", "disk/comp.pos", "-c", jobs)
        case.wait_for(lambda: started.stat().st_size > jobs)
        time.sleep(rng.uniform(0, 0.3))
        saved = started.stat().st_size - jobs
        names = os.open(folder, os.O_RDONLY)
        fcntl.ioctl(names, SHUT_DOWN, WITHOUT_JOURNAL)
        os.close(names)
        case.kill_all()
        process.wait()
    # What was on the disk, of which the kernel knows nothing.
    after = case.path("after")
    call("cp", image, after)
    with mounted(after, case.path("again"), *["nouuid"] * (kind == "xfs")):
        case.path("comp.pos").symlink_to("again/comp.pos")
        assert case.proved() >= saved
