"""What it costs per entry to observe a director, and to record a history."""

import statistics

import generate
from measure import WrongResult, fresh_copy, machine, run, say, table

LIMIT = 1.03


def observer(options, scratch):
    """Replays with and without an observer."""
    return _pairs("An observer", "observed", _replay, options, scratch)


def history(options, scratch):
    """Replays with and without a history."""
    return _pairs("A history", "recorded", _record, options, scratch)


def _pairs(title, kind, play, options, scratch):
    """Plays with and without in turn, prints the table, returns everything."""
    goals = min(1000, max(options.sizes))
    component = generate.Component(goals, todo=goals, text=options.text)
    generate.write(component, scratch / "component")
    result = {"machine": machine(scratch), "goals": goals, "rounds": []}
    rows = []
    for jobs in options.jobs:
        samples = []
        for number in range(options.rounds):
            say(f"{kind}, {jobs} job(s), round {number + 1} of {options.rounds}")
            order = ("plain", kind) if number % 2 else (kind, "plain")
            samples.append({each: _play(play, each, component, jobs, options, scratch)
                            for each in order})
        ratio = statistics.median(sample[kind] / sample["plain"] for sample in samples)
        figures = [statistics.median(sample[each] for sample in samples)
                   for each in ("plain", kind)]
        rows.append([goals, jobs, *figures, ratio, LIMIT, "yes" if ratio <= LIMIT else "NO"])
        result["rounds"] += [{"jobs": jobs, **sample} for sample in samples]
    print(f"{title}: milliseconds per entry, medians of rounds\n")
    table(["goals", "jobs", "without", "with", "with/without", "limit", "met"], rows)
    return result


def _play(play, kind, component, jobs, options, scratch):
    copy = fresh_copy(scratch / "component", scratch)
    played, statuses, milliseconds = play(kind, copy, jobs, options, scratch)
    complaints = generate.check(component, copy / "comp.pos")
    if played.status not in statuses or complaints:
        raise WrongResult(f"{kind}: status {played.status} {played.errors[:200]} {complaints[:1]}")
    return milliseconds(played)


def _replay(kind, copy, jobs, options, scratch):
    played = run([options.tools / "bench-observed", copy, options.tools, jobs, kind], scratch)
    return played, [0], lambda run: float(run.errors.splitlines()[-1])


def _record(kind, copy, jobs, options, scratch):
    command = [options.tools / "kelvarune-play", "--replay", "-i", options.tools,
               "-m", copy / "bench.xml", "-s", copy / "comp.pos", "-p", copy / "comp.pog",
               "-c", jobs, *(["--no-history"] if kind == "plain" else [])]
    played = run(command, scratch)
    if (copy / "comp.history").exists() != (kind == "recorded"):
        raise WrongResult(f"{kind}: the history is not as it should be")
    # What the replay disproves is lost, as it must be.
    return played, [0, 1], lambda run: 1000 * run.wall / min(1000, max(options.sizes))
