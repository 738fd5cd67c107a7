"""kelvarune beside the floor, the obvious program, and what one would pick instead.

Per size, three components are played: with nothing to do, with one entry and with many (fewer for
the obvious program, which would take hours). The first gives the fixed cost of a run. The second
has also what only the first save costs. An entry costs what the third takes beyond the second,
divided by the entries that it has more.
"""

import functools
import itertools
import math
import re
import shlex
import shutil
import subprocess

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

PROGRAMS = ("floor", "truncating", "naive", "kelvarune")
MECHANISM_DRIVER = f"{generate.MECHANISM}_d1"

# Of medians, by number of goals. kelvarune / floor and kelvarune / truncating, by number of jobs;
# naive / kelvarune.
FLOOR_TARGETS = {
    1: {100: 1.5, 1000: 1.4, 10000: 1.2, 50000: 1.3},
    4: {100: 1.6, 1000: 1.6, 10000: 1.3, 50000: 1.4},
}
TRUNCATING_TARGETS = {1: {1000: 1.5, 10000: 1.05}, 4: {1000: 1.5, 10000: 0.6}}
NAIVE_TARGETS = {100: 2, 1000: 8, 10000: 60, 50000: 100}


def compare(options, scratch):
    """Measures, prints the tables, returns everything for the JSON file."""
    result = {"machine": machine(scratch), "runs": [], "chains": []}
    for goals, entries, naive in zip(options.sizes, options.entries, options.naive_entries):
        components = _components(goals, entries, naive, options, scratch)
        chains = _available_chains() if goals in options.chains_at else {}
        for number in range(options.rounds):
            say(f"{goals} goals, round {number + 1} of {options.rounds}")
            for program in _rotated(PROGRAMS, number):
                result["runs"] += _play(program, components, number, options, scratch)
            for chain, jobs in itertools.product(chains, options.jobs):
                result["chains"].append(
                    _play_chain(chain, chains[chain], components, number, jobs, options, scratch)
                )
    result["summary"] = _summary(result["runs"])
    _print_summary(result, options)
    return result


def _components(goals, entries, naive_entries, options, scratch):
    components = {}
    todos = {"idle": 0, "one": 1, "many": entries, "many for naive": naive_entries}
    for name, todo in todos.items():
        todo = min(todo, goals)
        component = generate.Component(goals, todo=todo, seed=options.seed, text=options.text)
        directory = scratch / name
        shutil.rmtree(directory, ignore_errors=True)
        generate.write(component, directory)
        components[name] = (component, directory)
    return components


def _rotated(programs, number):
    """Another order every round, so that nobody always runs after the same neighbour."""
    shift = number % len(programs)
    return programs[shift:] + programs[:shift]


def _play(program, components, number, options, scratch):
    """The runs of one program in one round: one record per number of jobs."""
    figures = {
        name: _measure(program, *components[name], 1, options, scratch) for name in ("idle", "one")
    }
    component, directory = components["many for naive" if program == "naive" else "many"]
    records = []
    for jobs in options.jobs:
        many = _measure(program, component, directory, jobs, options, scratch)
        record = {"program": program, "goals": component.goals, "jobs": jobs, "round": number}
        records.append({**record, "entries": component.todo, **figures, "many": many})
    return records


def _measure(program, component, directory, jobs, options, scratch):
    copy = fresh_copy(directory, scratch)
    if program == "kelvarune":
        command = kelvarune_command(options.tools, copy, jobs)
    else:
        tool = options.tools / f"bench-{program}"
        command = [tool, copy, options.tools, jobs, *component.reader_arguments()]
    result = successful(command, scratch)
    if program in ("floor", "truncating"):
        complaints = _check_counts(component, result.output)
    else:
        complaints = generate.check(component, copy / "comp.pos")
    if complaints:
        raise WrongResult(f"{program}: {complaints[0]} ({len(complaints)} such)")
    return result.figures()


def _check_counts(component, output):
    wanted = {}
    for address in component.todo_addresses():
        verdict = component.verdict(*address)
        wanted[verdict] = wanted.get(verdict, 0) + 1
    counts = re.findall(r"^([A-Z]\w+) (\d+)$", output, re.M)
    found = {verdict: int(count) for verdict, count in counts}
    return [] if found == wanted else [f"found {found}, expected {wanted}"]


# ---- What a user would pick instead


def _available_chains():
    """The programs that can run the chains, by name: their paths. Says which are missing."""
    found = {}
    for name in ("xargs", "parallel", "ninja", "make"):
        path = shutil.which(name)
        if path and name == "parallel" and not _is_gnu_parallel(path):
            path = None
        if path:
            found[name] = path
        else:
            say(f"{name} is not installed and left out")
    return found


def _is_gnu_parallel(path):
    version = subprocess.run([path, "--version"], capture_output=True, text=True, check=False)
    return version.stdout.startswith("GNU parallel")


def _chain_lines(component, directory, tools):
    """One shell command per entry that stores the entry's verdict in a file; and those files."""
    reader = shlex.join([str(tools / "bench-reader"), *component.reader_arguments()])
    writer, prover = (shlex.quote(str(tools / f"bench-{tool}")) for tool in ("writer", "prover"))
    for obligation, goal in component.todo_addresses():
        po2 = shlex.quote(str(directory / f"tmp/comp_{MECHANISM_DRIVER}_{obligation}_{goal}.po2"))
        verdict = directory / f"verdict_{obligation}_{goal}"
        pog = shlex.quote(str(directory / "comp.pog"))
        command = (
            f"{writer} -a {obligation} {goal} -i {pog} -o {po2}"
            f" && {prover} < {po2} | {reader} > {shlex.quote(str(verdict))}"
        )
        yield command, verdict


def _chain_command(name, path, lines, directory, jobs):
    """Writes the input of the program and returns the command that runs it."""
    commands = directory / "commands.txt"
    if name == "ninja":
        rules = ["rule chain", "  command = $line"]
        for line, verdict in lines:
            rules += [f"build {_ninja(verdict)}: chain", f"  line = {line.replace('$', '$$')}"]
        commands.write_text("\n".join([*rules, ""]))
        return [path, "--quiet", "-C", directory, "-f", commands, f"-j{jobs}"]
    if name == "make":
        rules = ["all: " + " ".join(verdict.name for _, verdict in lines)]
        for line, verdict in lines:
            rules += [f"{verdict.name}:", "\t@" + line.replace("$", "$$")]
        commands.write_text("\n".join([*rules, ""]))
        return [path, "-s", "-C", directory, "-f", commands, f"-j{jobs}"]
    commands.write_text("".join(line + "\n" for line, _ in lines))
    if name == "parallel":
        return [path, "--will-cite", "-j", jobs, "-a", commands]
    return [path, "-a", commands, "-d", "\n", "-n", 1, "-P", jobs, "sh", "-c"]


def _ninja(path):
    return re.sub(r"([$ :])", r"$\1", str(path))


def _play_chain(name, path, components, number, jobs, options, scratch):
    component, pristine = components["many"]
    directory = fresh_copy(pristine, scratch)
    lines = list(_chain_lines(component, directory, options.tools))
    command = _chain_command(name, path, lines, directory, jobs)
    result = run(command, scratch)
    if result.status != 0:
        raise WrongResult(f"{name}: {result.errors[:1000]}")
    for (_, file), address in zip(lines, component.todo_addresses()):
        if file.read_text().strip() != component.verdict(*address):
            raise WrongResult(f"{name}: no verdict of {address}")
    record = {"program": name, "goals": component.goals, "jobs": jobs, "round": number}
    return {**record, "entries": component.todo, "many": result.figures()}


# ---- Results


def per_entry(figure, record):
    """Milliseconds that one more entry costs."""
    if record["entries"] < 2:
        return math.nan
    spent = record["many"][figure] - record["one"][figure]
    return 1000 * spent / (record["entries"] - 1)


def gross(record, figure="wall"):
    """Milliseconds per entry with all that the run costs besides."""
    return 1000 * record["many"][figure] / record["entries"]


def _summary(records):
    rows = []
    for key, group in _grouped(records, ("goals", "jobs", "program")):
        rows.append(
            {
                **key,
                "entries": group[0]["entries"],
                "wall per entry ms": median(per_entry("wall", record) for record in group),
                "cpu per entry ms": median(per_entry("cpu", record) for record in group),
                "gross wall per entry ms": median(gross(record) for record in group),
                "first entry ms": median(
                    1000 * (record["one"]["wall"] - record["idle"]["wall"]) for record in group
                ),
                "fixed wall ms": median(1000 * record["idle"]["wall"] for record in group),
                "fixed cpu ms": median(1000 * record["idle"]["cpu"] for record in group),
                "peak MB": max(record["many"]["peak"] for record in group),
            }
        )
    return rows


def _grouped(records, fields):
    """Groups of records that agree in the fields, in the order of their first appearance."""
    groups = {}
    for record in records:
        groups.setdefault(tuple(record[field] for field in fields), []).append(record)
    return [(dict(zip(fields, key)), group) for key, group in groups.items()]


def ratios(records, numerator, denominator, goals, jobs, measure):
    """The ratio of two programs in each round."""
    found = {}
    for record in records:
        if (record["goals"], record["jobs"]) == (goals, jobs):
            found.setdefault(record["program"], {})[record["round"]] = measure(record)
    above, below = found.get(numerator, {}), found.get(denominator, {})
    return [above[number] / below[number] for number in above if below.get(number, 0) > 0]


def _print_summary(result, options):
    print("Per program: milliseconds, medians of rounds\n")
    headings = ["program", "goals", "jobs", "entries", "wall/entry", "CPU/entry", "gross/entry"]
    headings += ["first entry", "fixed", "fixed CPU", "peak MB"]
    keys = ["program", "goals", "jobs", "entries", "wall per entry ms", "cpu per entry ms"]
    keys += ["gross wall per entry ms", "first entry ms", "fixed wall ms", "fixed cpu ms"]
    keys += ["peak MB"]
    table(headings, [[row[key] for key in keys] for row in result["summary"]])
    _print_ratios(result, options)
    _print_growth(result, options)
    if result["chains"]:
        _print_chains(result, options)


def _print_ratios(result, options):
    print("Ratios of wall per entry: medians of the ratios of each round\n")
    result["ratios"] = []
    for goals, jobs in itertools.product(options.sizes, options.jobs):
        wanted = [
            ("kelvarune", "floor", FLOOR_TARGETS.get(jobs, {}).get(goals), False),
            ("kelvarune", "truncating", TRUNCATING_TARGETS.get(jobs, {}).get(goals), False),
            ("naive", "kelvarune", NAIVE_TARGETS.get(goals), True),
        ]
        for above, below, target, at_least in wanted:
            cost = (functools.partial(per_entry, figure) for figure in ("wall", "cpu"))
            wall, cpu = (
                ratios(result["runs"], above, below, goals, jobs, measure) for measure in cost
            )
            ratio = median(wall) if wall else None
            met = None
            if target and ratio is not None:
                met = ratio >= target if at_least else ratio <= target
            result["ratios"].append(
                {
                    "ratio": f"{above} / {below}",
                    "goals": goals,
                    "jobs": jobs,
                    "median": ratio,
                    "lowest": min(wall, default=None),
                    "highest": max(wall, default=None),
                    "target": target,
                    "met": met,
                    "of CPU": median(cpu) if cpu else None,
                }
            )
    _print_records(result["ratios"])


def _print_records(records):
    verdicts = {True: "yes", False: "NO", None: None}
    rows = [
        [verdicts[value] if key == "met" else value for key, value in record.items()]
        for record in records
    ]
    table(list(records[0]), rows)


def _print_growth(result, options):
    smallest, largest = min(options.sizes), max(options.sizes)
    if smallest == largest:
        return
    print(f"Growth of wall per entry from {smallest} to {largest} goals\n")
    cost = {
        (row["program"], row["jobs"], row["goals"]): row["wall per entry ms"]
        for row in result["summary"]
    }
    result["growth"] = [
        {
            "program": program,
            "jobs": jobs,
            "growth": cost[program, jobs, largest] / cost[program, jobs, smallest],
        }
        for program, jobs in itertools.product(PROGRAMS, options.jobs)
    ]
    _print_records(result["growth"])


def _print_chains(result, options):
    """With all that a run costs, because the others cannot be measured otherwise."""
    print("Beside programs that run the same chains and record nothing: gross wall per entry\n")
    records = result["chains"] + result["runs"]
    programs = ["kelvarune", "floor", *dict.fromkeys(run["program"] for run in result["chains"])]
    result["chain ratios"] = []
    for goals, jobs in itertools.product(options.chains_at, options.jobs):
        for program in programs:
            group = [
                record
                for record in records
                if (record["program"], record["goals"], record["jobs"]) == (program, goals, jobs)
            ]
            if not group:
                continue
            values = ratios(records, program, "kelvarune", goals, jobs, gross)
            result["chain ratios"].append(
                {
                    "program": program,
                    "goals": goals,
                    "jobs": jobs,
                    "gross ms": median(gross(record) for record in group),
                    "CPU ms": median(gross(record, "cpu") for record in group),
                    "/ kelvarune": median(values),
                }
            )
    _print_records(result["chain ratios"])
