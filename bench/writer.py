#!/usr/bin/env python3
"""Compares chains of writer, prover and reader with the same chains whose writer is `cp`, in turns.

    bench/writer.py [--bin DIR] [--goals N] [--checks N] [--chains N] [--rounds N]
                    [--prover COMMAND]

  --bin DIR          build tree's programs, made with KELVARUNE_BENCH=ON (default: build/release/bin)
  --goals N          goals of the component (default 10000)
  --checks N         of them in one script (default 5); the writer reads a script up to its goal
  --chains N         chains of one round (default 300)
  --rounds N         rounds (default 9)
  --prover COMMAND   the prover of the last table (default: z3 -in)

First with a prover that prints its input, so that the writer has its largest part in the chain;
then with a real one. Then what it takes to start each tool, beside /bin/true. The ratio is the median of
the ratios of the rounds. Whoever writes another goal than the one asked for ends the script.
"""

import argparse
import pathlib
import random
import statistics
import subprocess
import sys
import tempfile
import time

PROJECT = pathlib.Path(__file__).resolve().parents[1]
TOOLS = ("kelvarune-smt-writer", "kelvarune-smt-reader", "kelvarune-tptp-writer",
         "kelvarune-szs-reader")


def script(number, checks):
    """A script of a verifier's kind: what all its goals share, and goals of a few lines."""
    shared = "".join(f"(declare-const v{i} Int) ; of module {number}\n"
                     f"(assert (and (<= 0 v{i}) (< v{i} {64 + i})))\n" for i in range(10))
    goals = "".join(f"(push 1)\n(assert (not (=> (> v{goal % 10} {number % 40}) (<= {goal} v1))))\n"
                    "(check-sat)\n(pop 1)\n" for goal in range(checks))
    return f"(set-logic QF_LIA)\n{shared}{goals}"


def seconds(command, directory):
    begin = time.monotonic()
    subprocess.run(["sh", "-e", command], cwd=directory, check=True)
    return time.monotonic() - begin


def compare(directory, options, chosen, prover):
    """Rounds of both chains over the same goals."""
    reader = f"{options.bin}/kelvarune-smt-reader --file out >verdict"
    chains = {"writer": f"{options.bin}/kelvarune-smt-writer -a {{0}} {{1}} -i c.pog -o out",
              "cp": "cp written/{0}.{1} out"}
    for name, writer in chains.items():
        lines = "".join(f"{writer.format(*goal)}\n{prover} <out | {reader}\n" for goal in chosen)
        (directory / name).write_text(lines)
    times = {name: [] for name in chains}
    for number in range(options.rounds):
        for name in sorted(chains, reverse=bool(number % 2)):
            times[name].append(seconds(name, directory))
    ratios = [a / b for a, b in zip(times["writer"], times["cp"])]
    per_chain = [f"{statistics.median(times[name]) / len(chosen) * 1000:7.2f}" for name in chains]
    print(f"{prover.split('/')[-1]:<16}", *per_chain, f"{statistics.median(ratios):7.2f}"
          f"{min(ratios):8.2f}{max(ratios):8.2f}")


def start_up(directory, options):
    """Milliseconds of a start, beside that of a program which does nothing."""
    count = 200
    programs = {"/bin/true": "/bin/true"} | {tool: f"{options.bin}/{tool} --version" for tool in TOOLS}
    times = {name: [] for name in programs}
    for _ in range(options.rounds):
        for name, command in programs.items():
            (directory / "starts").write_text(f"{command} >/dev/null\n" * count)
            times[name].append(seconds("starts", directory) / count * 1000)
    for name, all_times in times.items():
        print(f"{name:<24}{statistics.median(all_times):7.2f} ms")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bin", type=pathlib.Path, default=PROJECT / "build" / "release" / "bin")
    parser.add_argument("--goals", type=int, default=10000)
    parser.add_argument("--checks", type=int, default=5)
    parser.add_argument("--chains", type=int, default=300)
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--prover", default="z3 -in")
    options = parser.parse_args()
    options.bin = options.bin.resolve()

    with tempfile.TemporaryDirectory() as scratch:
        directory = pathlib.Path(scratch)
        (directory / "src").mkdir()
        (directory / "written").mkdir()
        for number in range(options.goals // options.checks):
            (directory / f"src/{number:06}.smt2").write_text(script(number, options.checks))
        subprocess.run([options.bin / "kelvarune-goals", "import", "-o", "c", "src"], cwd=directory,
                       check=True, stdout=subprocess.DEVNULL)
        chosen = [divmod(goal, options.checks) for goal in
                  random.Random(1).sample(range(options.goals), options.chains)]
        for obligation, goal in chosen:
            out = directory / f"written/{obligation}.{goal}"
            subprocess.run([options.bin / "kelvarune-smt-writer", "-a", str(obligation), str(goal),
                            "-i", "c.pog", "-o", out], cwd=directory, check=True)
            if f"(> v{goal % 10} {obligation % 40}) (<= {goal} v1)" not in out.read_text():
                sys.exit(f"not goal {obligation} {goal}: {out.read_text()}")
        print(f"{options.goals} goals, {options.checks} in a script, {options.chains} chains in each of {options.rounds} rounds")
        print("prover           writer ms   cp ms   ratio  lowest highest")
        compare(directory, options, chosen, f"{options.bin}/bench-prover")
        compare(directory, options, chosen, options.prover)
        start_up(directory, options)


if __name__ == "__main__":
    main()
