"""Runs commands and measures them; what the measurements share."""

import dataclasses
import json
import os
import pathlib
import platform
import shutil
import statistics
import subprocess
import sys
import time


@dataclasses.dataclass
class Run:
    """One run of a command: seconds of wall clock, seconds of processor (user and system, with all
    the children it waited for), peak memory in MB, what it wrote."""

    wall: float
    cpu: float
    peak: float
    status: int
    output: str
    errors: str

    def figures(self):
        return {"wall": self.wall, "cpu": self.cpu, "peak": self.peak}


class WrongResult(Exception):
    """A measured program did not do what it was measured for."""


def run(command, scratch, before_exec=None):
    """Runs a command to its end and measures it. Its output goes to files, so that nobody has to
    read it meanwhile. The peak is at least what this script itself has, some 25 MB: the kernel
    hands that figure on to a program that is started."""
    paths = [scratch / "output", scratch / "errors"]
    with open(paths[0], "wb") as output, open(paths[1], "wb") as errors:
        start = time.perf_counter()
        process = subprocess.Popen(
            [str(word) for word in command],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=errors,
            preexec_fn=before_exec,
        )
        _, status, usage = os.wait4(process.pid, 0)
        wall = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    texts = [path.read_text(errors="replace") for path in paths]
    cpu = usage.ru_utime + usage.ru_stime
    return Run(wall, cpu, usage.ru_maxrss / 1024, process.returncode, *texts)


def successful(command, scratch):
    """The same for a command that must succeed without complaint."""
    result = run(command, scratch)
    if result.status != 0 or result.errors:
        words = " ".join(str(word) for word in command)[:300]
        raise WrongResult(f"{words}\nended with status {result.status}: {result.errors[:1000]}")
    return result


def fresh_copy(component_directory, scratch):
    """A copy of a component, on disk already so that no run has to wait for it."""
    copy = scratch / "copy"
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(component_directory, copy)
    with open(copy / "comp.pos", "rb+") as file:
        os.fsync(file.fileno())
    return copy


def kelvarune_command(tools, directory, jobs=1, trace=0):
    options = {
        "-i": tools,
        "-m": directory / "bench.xml",
        "-s": directory / "comp.pos",
        "-p": directory / "comp.pog",
        "-d": directory / "tmp",
        "-c": jobs,
        "-t": trace,
    }
    return [tools / "kelvarune", *(word for option in options.items() for word in option)]


def median(values):
    return statistics.median(list(values))


def say(text):
    """Tells how far it has come, apart from the results."""
    print(text, file=sys.stderr, flush=True)


def machine(scratch):
    """What one must know to compare figures with those of another day."""
    return {
        "processors": os.cpu_count(),
        "kernel": platform.release(),
        "file system": file_system(scratch),
        "load before": os.getloadavg()[0],
    }


def file_system(directory):
    """The type of the file system that holds a directory."""
    place = directory.resolve()
    mounts = [line.split() for line in pathlib.Path("/proc/mounts").read_text().splitlines()]
    types = {pathlib.Path(mount[1]): mount[2] for mount in mounts}
    return next((types[path] for path in (place, *place.parents) if path in types), "unknown")


def table(headings, rows):
    """Prints rows of texts and numbers in columns."""
    cells = [[_text(cell) for cell in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(headings, *cells)]
    for row in [headings, *cells]:
        first = row[0].ljust(widths[0])
        print("  ".join([first, *(cell.rjust(width) for cell, width in zip(row[1:], widths[1:]))]))
    print(flush=True)


def _text(cell):
    if cell is None:
        return "-"
    return f"{cell:.2f}" if isinstance(cell, float) else str(cell)


def write_json(path, content):
    path.write_text(json.dumps(content, indent=1) + "\n")
