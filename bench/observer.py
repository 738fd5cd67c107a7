"""What an observer of the director costs per entry."""

import statistics

import generate
from measure import WrongResult, fresh_copy, machine, run, say, table

LIMIT = 1.03


def observer(options, scratch):
    """Replays with and without an observer in turn, prints the table, returns everything."""
    goals = min(1000, max(options.sizes))
    component = generate.Component(goals, todo=goals, text=options.text)
    generate.write(component, scratch / "component")
    result = {"machine": machine(scratch), "goals": goals, "rounds": []}
    rows = []
    for jobs in options.jobs:
        samples = []
        for number in range(options.rounds):
            say(f"observer, {jobs} job(s), round {number + 1} of {options.rounds}")
            order = ("plain", "observed") if number % 2 else ("observed", "plain")
            samples.append({kind: _play(kind, component, jobs, options, scratch) for kind in order})
        ratio = statistics.median(sample["observed"] / sample["plain"] for sample in samples)
        figures = [statistics.median(sample[kind] for sample in samples)
                   for kind in ("plain", "observed")]
        rows.append([goals, jobs, *figures, ratio, LIMIT, "yes" if ratio <= LIMIT else "NO"])
        result["rounds"] += [{"jobs": jobs, **sample} for sample in samples]
    print("An observer: milliseconds per entry, medians of rounds\n")
    table(["goals", "jobs", "without", "with", "with/without", "limit", "met"], rows)
    return result


def _play(kind, component, jobs, options, scratch):
    copy = fresh_copy(scratch / "component", scratch)
    played = run([options.tools / "bench-observed", copy, options.tools, jobs, kind], scratch)
    complaints = generate.check(component, copy / "comp.pos")
    if played.status or complaints:
        raise WrongResult(f"bench-observed {kind}: status {played.status} {complaints[:1]}")
    return float(played.errors.splitlines()[-1])
