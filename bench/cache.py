#!/usr/bin/env python3
"""Replays the SMT example without kelvarune-cache, with a cold cache and with a warm one, in turns.

    bench/cache.py [--bin DIR] [--rounds N] [--jobs N]

  --bin DIR     where kelvarune and kelvarune-cache are (default: build/release/bin)
  --rounds N    rounds of the three replays (default 5)
  --jobs N      concurrency of each replay (default 2)

Prints the median, least and greatest wall time of each replay. Every replay must end with the same
verdicts, and a warm one must add nothing to the cache; else the figures are worth nothing and the
exit status is 1.
"""

import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import xml.etree.ElementTree as ET

PROJECT = pathlib.Path(__file__).resolve().parents[1]
EXAMPLE = PROJECT / "examples" / "smt"


def put_cache_before_provers(mechanism, program):
    """Rewrites a mechanism description so that its provers run through the cache."""
    tree = ET.parse(mechanism)
    for prover in tree.getroot().iter("prover"):
        words = [str(prover.get("path"))]
        if prover.get("input") == "file":
            words = ["--goal-file", "${file}"] + words
        prover.set("path", str(program))
        prover.attrib.pop("resource", None)
        for place, word in enumerate(words):
            prover.insert(place, ET.Element("param", value=word))
    tree.write(mechanism)


def verdicts(pos):
    """What the status file says, whatever the order of its attributes."""
    return [(element.tag, sorted(element.attrib.items())) for element in ET.parse(pos).iter()]


class Replay:
    def __init__(self, directory, options, cached):
        self.dir, self.options = pathlib.Path(directory), options
        shutil.copytree(EXAMPLE, self.dir)
        (self.dir / "work").mkdir()
        if cached:
            for mechanism in (self.dir / "mechanisms").iterdir():
                put_cache_before_provers(mechanism, options.bin / "kelvarune-cache")

    def run(self, cache):
        """Seconds of one replay from the example's first state, and its verdicts."""
        pos = self.dir / "ringbuffer.pos"
        shutil.copy(EXAMPLE / "ringbuffer.pos", pos)
        command = [self.options.bin / "kelvarune", "-i", self.options.bin, "-i", "/usr/bin", "-M", "mechanisms",
                   "-s", pos.name, "-p", "ringbuffer.pog", "-d", "work",
                   "-c", str(self.options.jobs)]
        environment = {**os.environ, "KELVARUNE_CACHE": str(cache), "KELVARUNE_CACHE_MODE": "update"}
        begin = time.monotonic()
        run = subprocess.run(command, cwd=self.dir, env=environment, capture_output=True, check=True)
        seconds = time.monotonic() - begin
        if run.stderr:
            sys.exit(f"the replay complains: {run.stderr.decode()}")
        return seconds, verdicts(pos)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--bin", type=pathlib.Path, default=PROJECT / "build" / "release" / "bin")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    options.bin = options.bin.resolve()

    times = {"no cache": [], "cold cache": [], "warm cache": []}
    with tempfile.TemporaryDirectory() as scratch:
        plain = Replay(f"{scratch}/plain", options, cached=False)
        cached = Replay(f"{scratch}/cached", options, cached=True)
        for number in range(options.rounds):
            cache = pathlib.Path(scratch, f"cache{number}")
            stored, results = [], []
            for name, replay in zip(times, (plain, cached, cached)):
                seconds, result = replay.run(cache)
                times[name].append(seconds)
                results.append(result)
                stored.append(len(list(cache.glob("??/*"))))
            if results[0] != results[1] or results[0] != results[2]:
                sys.exit("the replays of one round differ in their verdicts")
            if stored[1] == 0 or stored[1] != stored[2]:
                sys.exit(f"the warm replay did not find what was stored: {stored}")
        print(f"{options.rounds} rounds, {options.jobs} jobs, {stored[2]} answers in the cache")
    print(f"{'replay':<12}{'median s':>10}{'least':>10}{'greatest':>10}")
    for name, seconds in times.items():
        print(f"{name:<12}{statistics.median(seconds):>10.3f}{min(seconds):>10.3f}"
              f"{max(seconds):>10.3f}")


if __name__ == "__main__":
    main()
