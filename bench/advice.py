"""Whether a run after taking the advice of the history takes what was foretold."""

import json
import random
import statistics
import xml.etree.ElementTree as ET

from measure import WrongResult, machine, run, say, successful, table

LIMIT = 0.2

# A goal's number becomes a time and a verdict, which differ from driver to driver.
WRITER = ('while [ "$1" != -a ]; do shift; done\ni=$2\n'
          'while [ "$1" != -o ]; do shift; done\necho "$i" >"$2"\n')
PROVER = 'read -r i\nset -- $(sed -n "$((i + 1))p" "$1")\nsleep "$1"\necho "$2"\n'
READER = 'read -r verdict\necho "${verdict:-Unknown}"\n'


def advice(options, scratch):
    """Times three drivers, each on every goal, takes the advice, and measures the run."""
    goals = 6 if options.quick else 60
    rounds = []
    rows = []
    for number in range(options.rounds):
        say(f"advice, round {number + 1} of {options.rounds}")
        figures = _round(goals, random.Random(options.seed + number), options, scratch)
        rounds.append(figures)
        rows.append([f"{number + 1}", *figures.values()])
    off = statistics.median(abs(each["measured"] / each["foretold"] - 1) for each in rounds)
    print("Advice: seconds of all entries\n")
    table(["round", "as it was", "foretold", "measured", "measured/foretold"], rows)
    print(f"off by {off:.2f}, at most {LIMIT}: {'yes' if off <= LIMIT else 'NO'}\n")
    return {"machine": machine(scratch), "goals": goals, "rounds": rounds}


def _round(goals, rng, options, scratch):
    # Quick on some goals, slow on all, and one that only loses time.
    drivers = {
        "slow": [(0.8 + 0.4 * rng.random(), "Proved") for _ in range(goals)],
        "lost": [(1.0, "Unknown") for _ in range(goals)],
        "quick": [(0.05, "Proved") if rng.random() < 0.7 else (1.2, "Unknown") for _ in range(goals)],
    }
    for name, lines in drivers.items():
        (scratch / name).write_text("".join(f"{time:.3f} {verdict}\n" for time, verdict in lines))
    for name, body in {"writer": WRITER, "prover": PROVER, "reader": READER}.items():
        (scratch / name).write_text("#!/bin/sh\n" + body)
        (scratch / name).chmod(0o755)
    (scratch / "comp.history").unlink(missing_ok=True)
    for name in drivers:
        _play(list(drivers), {}, ["--driver", name], "comp.history", options, scratch)
    said = _told(["advise", scratch / "comp.pos"], options, scratch)
    (scratch / "new.history").unlink(missing_ok=True)
    steps = {step["driver"]: step["timeLimit"] for step in said["steps"]}
    _play(list(steps), steps, [], "new.history", options, scratch)
    taken = _told(["times", scratch / "comp.pos", "--history", scratch / "new.history"], options,
                  scratch)["total"]
    if taken["proved"] != goals:
        raise WrongResult(f"advice: {goals - taken['proved']} proofs are lost")
    return {"before": said["wall"], "foretold": said["advisedWall"], "measured": taken["wall"],
            "ratio": taken["wall"] / said["advisedWall"]}


def _play(names, limits, more, history, options, scratch):
    mechanism = ET.Element("mechanism", trust="always")
    for name in names:
        driver = ET.SubElement(mechanism, "driver", name=name, ext="po2")
        ET.SubElement(driver, "writer", name="writer", path=f"{scratch}/writer")
        limit = limits.get(name)
        words = [f"{scratch}/prover", str(scratch / name)]
        prover = ET.SubElement(driver, "prover", name="prover", input="stdin",
                               path="/usr/bin/timeout" if limit else words.pop(0))
        for word in ([str(limit)] if limit else []) + words:
            ET.SubElement(prover, "param", value=word)
        ET.SubElement(driver, "reader", name="reader", path=f"{scratch}/reader")
    ET.ElementTree(mechanism).write(scratch / "m.xml")
    root = ET.Element("Proof_Obligations")
    goals = len((scratch / "slow").read_text().splitlines())
    for number in range(goals):
        obligation = ET.SubElement(root, "Proof_Obligation")
        ET.SubElement(obligation, "Tag").text = f"T{number}"
        ET.SubElement(obligation, "Simple_Goal", status="Unproved")
    ET.ElementTree(root).write(scratch / "comp.pos")
    (scratch / "comp.pog").write_text("<Proof_Obligations/>")
    command = [options.tools / "kelvarune-play", "-m", scratch / "m.xml", "-s", scratch / "comp.pos",
               "-p", scratch / "comp.pog", "-c", 4, "--history", scratch / history, *more]
    played = run(command, scratch)
    if played.status:
        raise WrongResult(f"advice: {played.errors}")


def _told(words, options, scratch):
    return json.loads(successful([options.tools / "kelvarune-pos", *words, "--json"], scratch).output)
