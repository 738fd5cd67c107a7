#!/usr/bin/env python3
"""Makes components to measure with.

A component is a directory with a POS file, a POG file, the mechanism "bench" that plays the instant
tools, a directory for secondary files, and entries.txt, which gives the baselines the work of the
first driver: one entry per line, as pairs of indexes of obligation and goal.

A replay works on those goals that are unproved and on which a driver has concluded before. So the
goals that are to be proved carry drivers that say "Proved" and are "Unproved" otherwise; all other
goals are proved and done.
"""

import argparse
import dataclasses
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

MECHANISM = "bench"
# Drivers of another mechanism that give a goal its usual size of some 700 bytes.
OTHER_DRIVERS = ("propositional", "arithmetic", "quantifiers", "sets", "relations", "sequences")


@dataclasses.dataclass(frozen=True)
class Component:
    """What a component is made of. `todo` is the number of goals still to be proved, spread evenly
    over the document. `proved` and `unknown` are the shares of those verdicts in per cent; the rest
    is disproved. `registered` replaces the names of the drivers in the POS file. With `text` every
    goal holds a text beside its elements."""

    goals: int
    obligations: int = 0  # 0: one for every ten goals
    todo: int = -1  # -1: all
    drivers: int = 1
    group: str = "none"
    proved: int = 70
    unknown: int = 20
    seed: int = 1
    registered: tuple = None
    text: bool = False

    def driver_names(self):
        return [f"d{number + 1}" for number in range(self.drivers)]

    def addresses(self):
        """Every goal's indexes of obligation and goal, in document order."""
        obligations = min(self.obligations or max(1, self.goals // 10), self.goals)
        for obligation in range(obligations):
            first = self.goals * obligation // obligations
            end = self.goals * (obligation + 1) // obligations
            for goal in range(end - first):
                yield obligation, goal

    def todo_addresses(self):
        """The goals still to be proved, in document order."""
        todo = self.goals if self.todo < 0 else min(self.todo, self.goals)
        chosen = {number * self.goals // todo for number in range(todo)}
        return [address for index, address in enumerate(self.addresses()) if index in chosen]

    def reader_arguments(self, driver=0):
        return [str(self.proved), str(self.unknown), str(self.seed + 37 * driver)]

    def verdict(self, obligation, goal, driver=0):
        """What bench-reader says."""
        draw = (obligation * 7919 + goal * 104729 + self.seed + 37 * driver) % 100
        if draw < self.proved:
            return "Proved"
        return "Unknown" if draw < self.proved + self.unknown else "Disproved"

    def entries(self):
        """The first driver's entries: lists of addresses."""
        todo = self.todo_addresses()
        if self.group == "full":
            return [todo]
        if self.group == "none":
            return [[address] for address in todo]
        lists = {}
        for address in todo:
            lists.setdefault(address[0], []).append(address)
        return list(lists.values())

    def statuses_before(self, todo):
        """The statuses of a goal, of its mechanism and of its drivers."""
        names = self.driver_names() if self.registered is None else self.registered
        status = "Unproved" if todo else "Proved"
        return status, status, dict.fromkeys(names, "Proved")

    def statuses_after(self, obligation, goal):
        """The same for a goal that was to be proved, after a replay: each driver has its turn until
        one proves or disproves."""
        _, _, drivers = self.statuses_before(True)
        for number, name in enumerate(drivers):
            drivers[name] = self.verdict(obligation, goal, number)
            if drivers[name] != "Unknown":
                return drivers[name], drivers[name], drivers
        return "Unproved", "Unknown", drivers


def write(component, directory):
    """Makes the component in `directory`, which may exist."""
    directory = pathlib.Path(directory)
    (directory / "tmp").mkdir(parents=True, exist_ok=True)
    _write_pos(component, directory / "comp.pos")
    (directory / "comp.pog").write_text('<?xml version="1.0"?>\n<Proof_Obligations/>\n')
    (directory / f"{MECHANISM}.xml").write_text(_mechanism(component))
    with open(directory / "entries.txt", "w") as file:
        for entry in component.entries():
            file.write(" ".join(f"{i} {j}" for i, j in entry) + "\n")


def _mechanism(component):
    lines = ['<?xml version="1.0" encoding="UTF-8"?>', '<mechanism trust="always">']
    for number, name in enumerate(component.driver_names()):
        lines += [
            f'  <driver name="{name}" group="{component.group}">',
            '    <writer name="writer" path="bench-writer"/>',
            '    <prover name="prover" path="bench-prover"/>',
            '    <reader name="reader" path="bench-reader">',
            *[f'      <param value="{value}"/>' for value in component.reader_arguments(number)],
            "    </reader>",
            "  </driver>",
        ]
    return "\n".join([*lines, "</mechanism>", ""])


def _write_pos(component, path):
    todo = set(component.todo_addresses())
    last = None
    with open(path, "w") as file:
        file.write('<?xml version="1.0" encoding="UTF-8"?>\n<Proof_Obligations>\n')
        for obligation, goal in component.addresses():
            if obligation != last:
                if last is not None:
                    file.write("    </Proof_Obligation>\n")
                file.write(f"    <Proof_Obligation>\n        <Tag>Operation_{obligation}</Tag>\n")
                last = obligation
            file.write(_goal(component, obligation, goal, (obligation, goal) in todo))
        if last is not None:
            file.write("    </Proof_Obligation>\n")
        file.write("</Proof_Obligations>\n")


def _goal(component, obligation, goal, todo):
    status, mechanism_status, drivers = component.statuses_before(todo)
    others = dict.fromkeys(OTHER_DRIVERS, "Unknown")
    text = f"            <Note>goal {goal} of {obligation}</Note>\n" if component.text else ""
    return (
        f'        <Simple_Goal status="{status}">\n'
        + text
        + '            <Proof_State proofState="Unproved" hypotheses="12"/>\n'
        + _mechanism_element("other", "Unproved", others)
        + _mechanism_element(MECHANISM, mechanism_status, drivers)
        + "        </Simple_Goal>\n"
    )


def _mechanism_element(name, status, drivers):
    lines = [f'            <Mechanism name="{name}" status="{status}">\n']
    for driver, verdict in drivers.items():
        lines.append(f'                <Driver name="{driver}" status="{verdict}"/>\n')
    return "".join([*lines, "            </Mechanism>\n"])


def check(component, path):
    """Compares every goal of the POS file at `path` with what a replay must have made of it.
    Returns a list of complaints. Reads goal by goal, so that it stays small."""
    todo = set(component.todo_addresses())
    complaints = []
    addresses = component.addresses()
    for _, element in ElementTree.iterparse(path):
        if element.tag == "Proof_Obligation":
            element.clear()
        if element.tag != "Simple_Goal":
            continue
        address = next(addresses, None)
        if address is None:
            return complaints + ["more goals than there were"]
        mechanism = element.find(f"Mechanism[@name='{MECHANISM}']")
        drivers = {driver.get("name"): driver.get("status") for driver in mechanism}
        found = (element.get("status"), mechanism.get("status"), drivers)
        wanted = (
            component.statuses_after(*address)
            if address in todo
            else component.statuses_before(False)
        )
        if found != wanted:
            complaints.append(f"goal {address}: found {found}, expected {wanted}")
        element.clear()
    if next(addresses, None) is not None:
        complaints.append("fewer goals than there were")
    return complaints


def main():
    parser = argparse.ArgumentParser(description="Makes a component to measure with.")
    parser.add_argument("directory")
    parser.add_argument("--goals", type=int, default=1000)
    parser.add_argument("--obligations", type=int, default=0, help="default: one for ten goals")
    parser.add_argument("--todo", type=int, default=-1, help="goals to be proved, default: all")
    parser.add_argument("--drivers", type=int, default=1)
    parser.add_argument("--group", choices=("none", "related", "full"), default="none")
    parser.add_argument("--proved", type=int, default=70, help="per cent, default 70")
    parser.add_argument("--unknown", type=int, default=20, help="per cent, default 20")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--text", action="store_true", help="with text in every goal")
    options = vars(parser.parse_args())
    directory = options.pop("directory")
    component = Component(**options)
    if component.goals < 1 or component.proved + component.unknown > 100:
        sys.exit("There must be a goal, and no more than 100 per cent.")
    write(component, directory)


if __name__ == "__main__":
    main()
