"""What a run costs beside its entries: loading, reporting, memory, drivers without work, and one
entry that holds all the goals."""

import re
import resource
import shutil
import subprocess
import time

import generate
from measure import (
    WrongResult,
    fresh_copy,
    kelvarune_command,
    machine,
    median,
    run,
    say,
    successful,
    table,
)

IDLE_DRIVERS = 100
SAMPLES_PER_ROUND = 3
SMALL_STACK_BYTES = 512 << 10  # leaves 128 KB for the arguments of a command
LONG_ARGUMENTS_GOALS = 10000  # have some 350 KB of arguments


def fixed(options, scratch):
    """Measures, prints the table, returns everything for the JSON file."""
    result = {"machine": machine(scratch), "checks": []}
    # Smaller documents take less time than the system needs to hand a trace over.
    sizes = [goals for goals in options.sizes if goals >= 1000] or options.sizes
    for goals in sizes:
        result["checks"] += _document_checks(goals, options, scratch)
    goals = options.bulk_goals
    result["checks"] += _idle_driver_checks(goals, options, scratch)
    result["checks"] += _full_group_checks(goals, options, scratch)
    result["checks"].append(_long_arguments_check(options, scratch))
    print("Costs beside the entries: medians of rounds\n")
    headings = ["check", "goals", "found", "beside", "found/beside", "limit", "met"]
    table(headings, [[check[heading] for heading in headings] for check in result["checks"]])
    return result


def _check(name, goals, found, limit, beside=None, ratio=None):
    """One line of the table. With `beside` the limit is for the ratio."""
    if ratio is None and beside is not None:
        ratio = found / beside
    met = (found if ratio is None else ratio) <= limit
    values = (name, goals, found, beside, ratio, limit, "yes" if met else "NO")
    keys = ("check", "goals", "found", "beside", "found/beside", "limit", "met")
    return dict(zip(keys, values))


def _make(name, component, scratch):
    directory = scratch / name
    shutil.rmtree(directory, ignore_errors=True)
    generate.write(component, directory)
    return directory


# ---- Loading, reporting, memory


def _document_checks(goals, options, scratch):
    idle = _make("idle", generate.Component(goals, todo=0, text=options.text), scratch)
    few = generate.Component(goals, todo=5, text=options.text)
    busy = _make("busy", few, scratch)
    samples = []
    for number in range(options.rounds):
        say(f"load and report, {goals} goals, round {number + 1} of {options.rounds}")
        samples += [_document_sample(idle, options, scratch) for _ in range(SAMPLES_PER_ROUND)]
    copy = fresh_copy(busy, scratch)
    played = successful(kelvarune_command(options.tools, copy), scratch)
    if generate.check(few, copy / "comp.pos"):
        raise WrongResult("kelvarune lost verdicts")
    file_mb = (idle / "comp.pos").stat().st_size / (1 << 20)
    memory = 1.3 * median(sample["bare peak"] for sample in samples) + file_mb
    return [
        _sampled_check("load, ms / bare parse", goals, samples, "load", "parse"),
        _sampled_check("free and report, ms / bare parse and free", goals, samples, "report",
                       "parse and free"),
        _check("peak MB / (1.3 bare document + file)", goals, played.peak, 1.0, memory),
    ]


def _document_sample(idle, options, scratch):
    """Milliseconds of the bare document and of kelvarune, one right after the other."""
    bare = successful([options.tools / "bench-parse", idle / "comp.pos"], scratch)
    seconds = dict(re.findall(r"^(\w+) ([\d.e-]+)$", bare.output, re.M))
    parse, free = (1000 * float(seconds[key]) for key in ("parse", "free"))
    load, report = _load_and_report(fresh_copy(idle, scratch), options)
    return {
        "parse": parse,
        "parse and free": parse + free,
        "load": 1000 * load,
        "report": 1000 * report,
        "bare peak": bare.peak,
    }


def _sampled_check(name, goals, samples, key, bare_key):
    """A ratio to what the XML library takes: the median of the samples' ratios."""
    found, beside = (median(sample[each] for sample in samples) for each in (key, bare_key))
    ratio = median(sample[key] / sample[bare_key] for sample in samples)
    return _check(name, goals, found, 1.2, beside, ratio)


def _load_and_report(directory, options):
    """Seconds from the start of loading to its end, and from the end of the director to the report,
    which begins with freeing the document; by the traces of a run that has nothing to do."""
    times = {}
    command = [str(word) for word in kelvarune_command(options.tools, directory, trace=1)]
    with subprocess.Popen(
        command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
    ) as process:
        for line in process.stdout:
            times[line.strip().decode().replace("-- ProofDirector -- ", "")] = time.perf_counter()
    if process.returncode != 0:
        raise WrongResult(f"kelvarune ended with status {process.returncode}")
    load = times["Loading POS file completed."] - times["Start loading POS file."]
    report = times["End of proof"] - times["Destroyed ProofDirector for component comp"]
    return load, report


# ---- Drivers without work


def _idle_driver_checks(goals, options, scratch):
    cases = {
        "nothing left to do": {"todo": 0, "registered": ("d1",)},
        "all goals wait for another driver": {"todo": -1, "registered": ("gone",)},
    }
    checks = []
    for name, settings in cases.items():
        beyond = []
        for number in range(options.rounds):
            say(f"{IDLE_DRIVERS} drivers, {name}, round {number + 1} of {options.rounds}")
            walls = {}
            for drivers in (0, IDLE_DRIVERS):
                component = generate.Component(goals, drivers=drivers, **settings)
                directory = _make(f"drivers{drivers}", component, scratch)
                result = successful(kelvarune_command(options.tools, directory), scratch)
                walls[drivers] = result.wall
                if result.output.count("Proof driver ") != drivers:
                    raise WrongResult("kelvarune did not play every driver")
            beyond.append(1000 * (walls[IDLE_DRIVERS] - walls[0]))
        title = f"{IDLE_DRIVERS} drivers beyond the load, {name}, ms"
        checks.append(_check(title, goals, median(beyond), 1000))
    return checks


# ---- All goals in one entry


def _full_group_checks(goals, options, scratch):
    component = generate.Component(goals, group="full")
    full = _make("full", component, scratch)
    idle = _make("idle", generate.Component(goals, todo=0), scratch)
    beyond = []
    for number in range(options.rounds):
        say(f"all goals in one entry, round {number + 1} of {options.rounds}")
        copy = fresh_copy(idle, scratch)
        nothing = successful(kelvarune_command(options.tools, copy), scratch)
        copy = fresh_copy(full, scratch)
        result = successful(kelvarune_command(options.tools, copy), scratch)
        complaints = generate.check(component, copy / "comp.pos")
        if complaints:
            raise WrongResult(f"kelvarune, all goals in one entry: {complaints[0]}")
        beyond.append(1000 * (result.wall - nothing.wall))
    return [_check("all goals in one entry beyond the load, ms", goals, median(beyond), 2000)]


def _long_arguments_check(options, scratch):
    """More arguments than the system takes: the writer cannot be started, and that is all."""

    def shrink_stack():
        resource.setrlimit(resource.RLIMIT_STACK, (SMALL_STACK_BYTES, SMALL_STACK_BYTES))

    goals = LONG_ARGUMENTS_GOALS
    directory = _make("long", generate.Component(goals, group="full"), scratch)
    say("arguments beyond the system's limit")
    result = run(kelvarune_command(options.tools, directory), scratch, before_exec=shrink_stack)
    if result.status != 0 or "Writer had an error." not in result.errors:
        raise WrongResult(f"kelvarune with too long arguments: {result.status}, {result.errors}")
    return _check("too long arguments refused, whole run, ms", goals, 1000 * result.wall, 5000)
