"""Whether a project keeps all jobs busy until its end."""

import xml.etree.ElementTree as ET

import generate
from measure import WrongResult, machine, median, run, say, table

LIMIT = 1.1
COMPONENTS = 20
DRIVERS = 2


def project(options, scratch):
    """Plays components whose tools sleep: as a project, one after the other, and under make."""
    goals = options.project_goals
    jobs = options.project_jobs
    components = [generate.Component(goals, drivers=DRIVERS, proved=70, unknown=30,
                                     seed=options.seed + 1000 * number)
                  for number in range(4 if options.quick else COMPONENTS)]
    work, chain = _bounds(components)
    bound = max(work / jobs, chain)
    ways = {"project": _as_project, "one by one": _one_by_one, "make -j": _under_make}
    rounds = []
    for number in range(options.project_rounds):
        figures = {}
        for name, play in ways.items():
            say(f"project, round {number + 1} of {options.project_rounds}: {name}")
            _make(components, options, scratch)
            figures[name] = play(components, jobs, options, scratch)
            _check(components, name, scratch)
        rounds.append(figures)
    print(f"Project: seconds for {len(components)} components of {goals} goals by {jobs} jobs whose "
          f"tools sleep {work:.1f} s; the longest chain of one component is {chain:.1f} s\n")
    rows = [["bound", bound, 1.0, None, None]]
    for name in ways:
        wall = median(each[name] for each in rounds)
        judged = [LIMIT, "yes" if wall <= LIMIT * bound else "NO"] if name == "project" else []
        rows.append([name, wall, wall / bound, *(judged or [None, None])])
    table(["way", "seconds", "of bound", "limit", "met"], rows)
    return {"machine": machine(scratch), "goals": goals, "jobs": jobs, "work": work, "chain": chain,
            "rounds": rounds}


def _seconds(component, driver, obligation, goal):
    """How long bench-sleeper sleeps."""
    seed = component.seed + driver
    return (5 + (obligation * 7919 + goal * 104729 + seed * 15485863) % 496) / 1000


def _bounds(components):
    """All that the tools sleep, and the most that must be slept in turn: a driver starts when the
    one before it has ended."""
    work = chain = 0
    for component in components:
        longest = []
        left = list(component.addresses())
        for driver in range(DRIVERS):
            times = [_seconds(component, driver, *address) for address in left]
            work += sum(times)
            longest.append(max(times, default=0))
            left = [address for address in left
                    if component.verdict(*address, driver) == "Unknown"]
        chain = max(chain, sum(longest))
    return work, chain


def _name(number):
    return f"c{number:02}"


def _make(components, options, scratch):
    lines = ['name = "bench"', f'installdir = ["{options.tools}"]', 'components = ["c*.pog"]']
    for number, component in enumerate(components):
        name = _name(number)
        mechanism = ET.Element("mechanism", trust="always")
        for driver in range(DRIVERS):
            parent = ET.SubElement(mechanism, "driver", name=f"d{driver + 1}", ext="po2")
            for role, arguments in {"writer": [], "prover": [str(component.seed + driver)],
                                    "reader": component.reader_arguments(driver)}.items():
                path = "bench-sleeper" if role == "prover" else f"bench-{role}"
                tool = ET.SubElement(parent, role, name=role, path=path)
                for argument in arguments:
                    ET.SubElement(tool, "param", value=argument)
        ET.ElementTree(mechanism).write(scratch / f"{name}.xml")
        pos = ET.Element("Proof_Obligations")
        for obligation, goal in component.addresses():
            if goal == 0:
                parent = ET.SubElement(pos, "Proof_Obligation")
                ET.SubElement(parent, "Tag").text = f"Operation_{obligation}"
            ET.SubElement(parent, "Simple_Goal", status="Unproved")
        ET.ElementTree(pos).write(scratch / f"{name}.pos")
        (scratch / f"{name}.pog").write_text("<Proof_Obligations/>\n")
        (scratch / f"{name}.history").unlink(missing_ok=True)
        lines += [f"[component.{name}]", f'mechanisms = ["{name}.xml"]']
    (scratch / "kelvarune.toml").write_text("\n".join(lines) + "\n")


def _command(number, options, scratch):
    path = scratch / _name(number)
    return [options.tools / "kelvarune-play", "-i", options.tools, "-m", f"{path}.xml",
            "-s", f"{path}.pos", "-p", f"{path}.pog"]


def _played(command, scratch):
    played = run(command, scratch)
    if played.status != 0:
        raise WrongResult(f"{command[0]}: status {played.status} {played.errors[:500]}")
    return played.wall


def _as_project(components, jobs, options, scratch):
    del components
    return _played([options.tools / "kelvarune-play", "--config", scratch / "kelvarune.toml",
                    "-c", jobs], scratch)


def _one_by_one(components, jobs, options, scratch):
    return sum(_played([*_command(number, options, scratch), "-c", jobs], scratch)
               for number in range(len(components)))


def _under_make(components, jobs, options, scratch):
    names = [_name(number) for number in range(len(components))]
    rules = [f"{name}:\n\t{' '.join(map(str, _command(number, options, scratch)))} -c 1\n"
             for number, name in enumerate(names)]
    makefile = scratch / "Makefile"
    makefile.write_text(f"all: {' '.join(names)}\n.PHONY: all {' '.join(names)}\n" + "".join(rules))
    return _played(["make", "-s", "-f", makefile, f"-j{jobs}"], scratch)


def _check(components, way, scratch):
    for number, component in enumerate(components):
        goals = ET.parse(scratch / f"{_name(number)}.pos").iter("Simple_Goal")
        for address, goal in zip(component.addresses(), goals):
            verdicts = [component.verdict(*address, driver) for driver in range(DRIVERS)]
            wanted = "Proved" if "Proved" in verdicts else "Unproved"
            if goal.get("status") != wanted:
                raise WrongResult(f"{way}: {_name(number)} {address} is {goal.get('status')}")
