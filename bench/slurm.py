#!/usr/bin/env python3
"""Measures what an instant goal costs on a cluster, in turns with the same goals on this machine.

    bench/slurm.py --build TREE [--goals N] [--steps N] [--rounds N] [--jobs N]

  --build TREE  build tree, made with KELVARUNE_BENCH=ON
  --goals N     goals of a replay (default 500)
  --steps N     goals of the replay that takes a step of Slurm for each (default 40)
  --rounds N    rounds of the replays (default 5)
  --jobs N      concurrency of each replay (default 4)

The provers run through examples/slurm: run-here, run-slurm with workers, and run-slurm without. The
cluster is that of tests/slurm, two nodes on this machine, started and ended here, so network and
foreign load are missing. What a goal costs is (a replay of N goals - a replay of two) / (N - 2), which
leaves out what a run costs once. Prints medians over the rounds, and the least and greatest; the
difference to the local run is taken within each round. Every replay must give every verdict.
"""

import argparse
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

PROJECT = pathlib.Path(__file__).resolve().parents[1]
sys.path += [str(PROJECT / "tests"), str(PROJECT / "tests/slurm")]

import generate  # noqa: E402
from test_cluster import Cluster  # noqa: E402

SLURM = PROJECT / "examples" / "slurm"
MECHANISM = """<mechanism trust="always"><driver name="d1" group="none">
  <writer name="writer" path="bench-writer"/>
  <prover name="prover" path="{script}" input="stdin"><param value="cat"/></prover>
  <reader name="reader" path="bench-reader">{reader}</reader>
</driver></mechanism>
"""


def replay(cluster, scratch, options, goals, script, before):
    """Seconds of one replay of so many goals."""
    component = generate.Component(goals)
    with tempfile.TemporaryDirectory(dir=scratch) as directory:
        directory = pathlib.Path(directory)
        generate.write(component, directory)
        reader = "".join(f'<param value="{word}"/>' for word in component.reader_arguments())
        (directory / "bench.xml").write_text(MECHANISM.format(script=script, reader=reader))
        command = [*before, options.bin / "kelvarune", "-i", SLURM, "-i", options.bin, "-c",
                   str(options.jobs), "-m", "bench.xml", "-s", "comp.pos", "-p", "comp.pog", "-d",
                   "tmp"]
        begin = time.monotonic()
        run = subprocess.run(command, cwd=directory, env=cluster.environment, capture_output=True,
                             text=True, check=False)
        seconds = time.monotonic() - begin
        wrong = generate.check(component, directory / "comp.pos")
        if run.returncode or wrong:
            sys.exit(f"{script}: status {run.returncode}, {run.stderr[:1000]}\n{wrong[:3]}")
        return seconds


def measure(cluster, scratch, options):
    """Milliseconds per goal of each way, and of a run beside its goals, in all rounds."""
    allocation = ["salloc", "--quiet", f"--ntasks={options.jobs}"]
    ways = {"here": ("run-here", [], options.goals),
            "workers": ("run-slurm", [*allocation, SLURM / "with-workers"], options.goals),
            "steps": ("run-slurm", allocation, options.steps)}
    goal, fixed = {way: [] for way in ways}, {way: [] for way in ways}
    for _ in range(options.rounds):
        for way, (script, before, goals) in ways.items():
            two, many = [replay(cluster, scratch, options, number, script, before)
                         for number in (2, goals)]
            goal[way].append((many - two) / (goals - 2) * 1000)
            fixed[way].append(two * 1000)
    return goal, fixed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--build", type=pathlib.Path, required=True)
    for name, default in (("goals", 500), ("steps", 40), ("rounds", 5), ("jobs", 4)):
        parser.add_argument(f"--{name}", type=int, default=default)
    options = parser.parse_args()
    options.bin = (options.build / "bin").resolve()
    with tempfile.TemporaryDirectory() as directory, \
            tempfile.TemporaryDirectory(dir=options.build) as scratch:
        cluster = Cluster(directory)
        try:
            cluster.start()
            goal, fixed = measure(cluster, scratch, options)
        finally:
            cluster.end()

    def row(name, values):
        print(f"{name:<28}{statistics.median(values):>10.1f}{min(values):>10.1f}"
              f"{max(values):>10.1f}")

    print(f"{options.rounds} rounds, {options.jobs} jobs, {options.goals} goals, "
          f"{options.steps} with steps\n{'ms':<28}{'median':>10}{'least':>10}{'greatest':>10}")
    for way, values in goal.items():
        row(f"a goal, {way}", values)
        if way != "here":
            row("  beyond here", [there - here for there, here in zip(values, goal["here"])])
    for way, values in fixed.items():
        row(f"a run of two goals, {way}", values)


if __name__ == "__main__":
    main()
