#!/usr/bin/env python3
"""Measures kelvarune. See README.md for how to read the results."""

import argparse
import json
import os
import pathlib
import subprocess
import sys
import tempfile

import generate
from advice import advice
from compare import compare
from fixed import fixed
from importing import importing
from measure import WrongResult, file_system, say, write_json
from observer import history, observer
from project import project

DEFAULT_SIZES = [100, 1000, 10000, 50000]
DEFAULT_ENTRIES = {100: 100, 1000: 1000, 10000: 1000, 50000: 400}
DEFAULT_NAIVE_ENTRIES = {100: 100, 1000: 200, 10000: 100, 50000: 20}
PIECE_SIZES = [100, 1000, 10000]


def pieces(options, scratch):
    """Google Benchmark on the parts of the program."""
    program = options.tools / "bench-pieces"
    if not program.exists():
        say("bench-pieces is not built (Google Benchmark is missing) and left out")
        return None
    directories = []
    for goals in options.piece_sizes:
        directories.append(str(scratch / str(goals)))
        generate.write(generate.Component(goals, text=options.text), directories[-1])
    results = scratch / "pieces.json"
    arguments = [f"--benchmark_out={results}", f"--benchmark_min_time={options.piece_seconds}"]
    subprocess.run([program, *directories, *arguments], check=True)
    return json.loads(results.read_text())


PARTS = {"compare": compare, "fixed": fixed, "pieces": pieces, "observer": observer,
         "history": history, "advice": advice, "import": importing,
         "project": project}


def numbers(text):
    return [int(word) for word in text.split(",")]


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("part", nargs="?", choices=[*PARTS, "all"], default="compare")
    parser.add_argument(
        "--build", type=pathlib.Path, required=True, help="build tree, made with KELVARUNE_BENCH=ON"
    )
    parser.add_argument(
        "--scratch",
        type=pathlib.Path,
        help="directory for copies, on the file system to measure; default: the build tree",
    )
    parser.add_argument("--json", type=pathlib.Path, help="default: bench.json in the build tree")
    parser.add_argument("--sizes", type=numbers, help="goals, default 100,1000,10000,50000")
    parser.add_argument(
        "--entries",
        type=numbers,
        help="entries to be played, one number or one for each size, default 100,1000,1000,400",
    )
    parser.add_argument(
        "--naive-entries",
        type=numbers,
        help="the same for the naive program, default 100,200,100,20",
    )
    parser.add_argument("--jobs", type=numbers, help="default 1,4")
    parser.add_argument("--rounds", type=int, help="default 5")
    parser.add_argument(
        "--chains-at",
        type=numbers,
        help="sizes at which parallel, xargs, ninja and make run too, default 1000",
    )
    parser.add_argument("--project-goals", type=int, help="of each component, default 200")
    parser.add_argument("--project-jobs", type=int, help="default 8")
    parser.add_argument("--project-rounds", type=int, help="default 1")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--text", action="store_true", help="components with text in every goal")
    parser.add_argument(
        "--quick", action="store_true", help="small sizes and one round, to see that it works"
    )
    return complete(parser, parser.parse_args())


def complete(parser, options):
    """Puts the defaults in."""
    quick = options.quick
    defaults = {
        "sizes": [20, 200] if quick else DEFAULT_SIZES,
        "jobs": [1, 2] if quick else [1, 4],
        "rounds": 1 if quick else 5,
        "chains_at": [200] if quick else [1000],
        "project_goals": 4 if quick else 200,
        "project_jobs": 4 if quick else 8,
        "project_rounds": 1,
        "json": options.build / "bench.json",
        "scratch": options.build,
    }
    for name, value in defaults.items():
        if getattr(options, name) is None:
            setattr(options, name, value)
    options.piece_sizes = [20, 200] if quick else PIECE_SIZES
    options.piece_seconds = 0.01 if quick else 0.5
    options.bulk_goals = 500 if quick else 10000
    options.import_goals = 2000 if quick else 100000
    options.tools = (options.build / "bin").resolve()
    options.entries = for_sizes(options.entries, DEFAULT_ENTRIES, options, parser)
    options.naive_entries = for_sizes(options.naive_entries, DEFAULT_NAIVE_ENTRIES, options, parser)
    if min([options.rounds, *options.sizes, *options.jobs]) < 1:
        parser.error("sizes, jobs and rounds must be at least 1")
    return options


def for_sizes(entries, defaults, options, parser):
    """The numbers of entries for the sizes, from what was given on the command line."""
    if entries is None:
        entries = [10 if options.quick else defaults.get(goals, 100) for goals in options.sizes]
    if len(entries) == 1:
        entries = entries * len(options.sizes)
    if len(entries) != len(options.sizes) or min(entries) < 2:
        parser.error("entries are one number, or one for each size, and at least 2")
    return entries


def main():
    options = parse_arguments()
    if not os.access(options.tools / "kelvarune", os.X_OK):
        sys.exit(f"There is no kelvarune in {options.tools}.")
    if file_system(options.scratch) == "tmpfs":
        say("The copies are kept in memory, where saving is cheap: the ratios tell little.")
    chosen = PARTS if options.part == "all" else {options.part: PARTS[options.part]}
    settings = {name: str(value) for name, value in vars(options).items() if name != "tools"}
    results = {"options": settings}
    try:
        for name, part in chosen.items():
            with tempfile.TemporaryDirectory(prefix="bench-", dir=options.scratch) as directory:
                results[name] = part(options, pathlib.Path(directory).resolve())
            write_json(options.json, results)
    except WrongResult as error:
        sys.exit(f"Wrong result: {error}")
    say(f"All figures: {options.json}")


if __name__ == "__main__":
    main()
