"""What importing files with goals costs beside reading them, and looking at digests beside a run."""

import shutil
import subprocess
import time

import generate
from measure import WrongResult, machine, median, say, successful, table

FILES_PER_DIRECTORY = 1000
TIME_LIMIT = 2.0
BYTES_LIMIT = 200
CHECK_LIMIT = 1.3


def importing(options, scratch):
    """Imports and reads the same files in turn, prints the tables, returns everything."""
    goals = options.import_goals
    few = goals // 10
    for name, count in (("few", few), ("many", goals)):
        _write_scripts(scratch / name, count)
    result = {"machine": machine(scratch), "goals": goals, "rounds": []}
    for number in range(options.rounds):
        say(f"import, round {number + 1} of {options.rounds}")
        result["rounds"].append(_round(options, scratch, number % 2))
    _show_times(result["rounds"], goals)
    result["bytes"] = _bytes_per_goal(options, scratch, few, goals)
    result["check"] = _check(options, scratch)
    return result


def _script(number):
    """A goal as verifiers write it, of some 3 KB."""
    lines = [f"(declare-fun x{i} () Int) ; a variable of the program" for i in range(20)]
    lines += [f"(assert (=> (> x{i % 20} {number + i}) (and (< x{(i + 1) % 20} {i * 7})"
              f" (= (+ x{(i + 3) % 20} 1) x{(i + 5) % 20}))))" for i in range(30)]
    return "(set-logic QF_LIA)\n" + "\n".join(lines) + "\n(check-sat)\n"


def _write_scripts(directory, count):
    for number in range(count):
        path = directory / f"d{number // FILES_PER_DIRECTORY}" / f"f{number}.smt2"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(_script(number))


def _round(options, scratch, read_first):
    for path in scratch.glob("many.p*"):
        path.unlink()
    commands = {"import": [options.tools / "kelvarune-goals", "import", "-o", scratch / "many",
                           scratch / "many"],
                "read": ["find", scratch / "many", "-type", "f", "-exec", "cat", "{}", "+"],
                "sync": [options.tools / "kelvarune-goals", "sync", scratch / "many.pog"]}
    order = ("read", "import", "sync") if read_first else ("import", "read", "sync")
    return {name: successful(commands[name], scratch).figures() for name in order}


def _show_times(rounds, goals):
    rows = []
    for name in ("read", "import", "sync"):
        wall, cpu = (median(sample[name][kind] for sample in rounds) for kind in ("wall", "cpu"))
        ratios = [median(sample[name][kind] / sample["read"][kind] for sample in rounds)
                  for kind in ("wall", "cpu")]
        target = [TIME_LIMIT, "yes" if ratios[0] <= TIME_LIMIT else "NO"]
        rows.append([name, wall, cpu, *ratios, *(target if name == "import" else ["", ""])])
    print(f"{goals} goals in as many files: seconds, medians of rounds\n")
    table(["", "wall", "CPU", "wall/read", "CPU/read", "limit", "met"], rows)


def _peak_bytes(command):
    """Of a run, as the system has it a moment before the end. What rusage says is never less than
    what this script has."""
    peak = 0
    with subprocess.Popen([str(word) for word in command], stdout=subprocess.DEVNULL) as process:
        while process.poll() is None:
            try:
                with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
                    lines = [line for line in file if line.startswith("VmHWM:")]
            except OSError:
                break
            peak = max([peak, *(int(line.split()[1]) * 1024 for line in lines)])
            time.sleep(0.001)
    if process.returncode:
        raise WrongResult(f"{command} ended with status {process.returncode}")
    return peak


def _bytes_per_goal(options, scratch, few, goals):
    peaks = {}
    for name in ("few", "many"):
        for path in scratch.glob(f"{name}.p*"):
            path.unlink()
        peaks[name] = _peak_bytes([options.tools / "kelvarune-goals", "import", "-o",
                                   scratch / name, scratch / name])
    each = (peaks["many"] - peaks["few"]) / (goals - few)
    print("Importing: bytes of memory\n")
    table([f"{few} goals", f"{goals} goals", "per goal", "limit", "met"],
          [[peaks["few"], peaks["many"], each, BYTES_LIMIT, "yes" if each <= BYTES_LIMIT else "NO"]])
    return {**peaks, "each": each}


def _check(options, scratch):
    """A run of kelvarune-play that has nothing to play, with and without a look at the digests."""
    goals = options.bulk_goals
    _write_scripts(scratch / "play", goals)
    command = [options.tools / "kelvarune-goals", "import", "-o", scratch / "play", scratch / "play"]
    successful(command, scratch)
    pos = scratch / "play.pos"
    pos.write_text(pos.read_text().replace('"Unproved"/>', '"Proved(0)"/>').replace(
        'status="Unproved"', 'status="Proved"'))
    generate.write(generate.Component(2), scratch / "component")
    mechanism = scratch / "component" / "bench.xml"
    mechanism.write_text(mechanism.read_text().replace("group=", 'ext="po2" group='))
    play = [options.tools / "kelvarune-play", "-i", options.tools, "-m", mechanism,
            "-s", pos, "-p", scratch / "play.pog"]
    successful(play, scratch)  # registers the mechanism
    samples = {"with": [], "without": []}
    for number in range(2 * options.rounds):
        for kind in sorted(samples, reverse=bool(number % 2)):
            more = ["--no-check"] if kind == "without" else []
            samples[kind].append(successful([*play, *more], scratch).figures()["cpu"])
    ratio = median(a / b for a, b in zip(samples["with"], samples["without"]))
    print(f"kelvarune-play on {goals} goals with nothing to play: seconds of processor time\n")
    table(["without digests", "with", "with/without", "limit", "met"],
          [[*(median(samples[kind]) for kind in ("without", "with")), ratio, CHECK_LIMIT,
            "yes" if ratio <= CHECK_LIMIT else "NO"]])
    shutil.rmtree(scratch / "play")
    return {**samples, "ratio": ratio}
