"""Runs that meet: none takes another's secondary files for its own, none undoes another's results,
and what a killed run leaves keeps nobody waiting. `--rounds 50` starts them at more moments.
"""

import os
import signal
import time

import pytest

from conftest import candidate, goal, mech, parsed, po, rows

GOALS = 4
RUNS = rows("runs", {"two": 2, "five": 5})

# A goal is as the obligations say, which go from the writer through the prover to the reader.
WRITER = 'while [ "$1" != -o ]; do [ "$1" = -i ] && pog=$2; shift; done\ncat "$pog" >"$2"\n'


@pytest.fixture
def meet(case, rng):
    """Starts runs at random moments of the first and waits for their ends; may kill some."""
    def run(commands, kills):
        processes = []
        for command in commands:
            processes.append(case.start(*command, env={"DELAY": f"0.0{rng.randrange(10)}"}))
            time.sleep(rng.random() * 0.2)
        for process in processes[:kills]:
            process.kill()
        for process in processes:
            process.wait(60)
        return [process.returncode == 0 for process in processes]
    case.script("writer", WRITER)
    case.script("prover", "sleep $DELAY; exec cat\n")
    case.script("reader", "exec cat\n")
    return run


def statuses(case, path):
    return [part.get("status") for part in parsed(case.path(path).read_bytes()).iter("Simple_Goal")]


@pytest.mark.rounds(2)
@RUNS
@pytest.mark.parametrize("kills", [0, 1])
def test_components_of_one_name_in_one_directory(case, rng, meet, runs, kills):
    case.mechanism(case.driver(), trust="always")
    verdicts = [rng.choice(["Proved", "Disproved"]) for _ in range(runs)]
    commands = []
    for i, verdict in enumerate(verdicts):
        case.pos(*[po(f"T{j}", candidate()) for j in range(GOALS)])
        case.path(f"{i}").mkdir()
        case.path("comp.pos").rename(case.path(f"{i}/comp.pos"))
        case.write(f"{i}/comp.pog", verdict + "\n")
        commands.append(("-m", "m.xml", "-s", f"{i}/comp.pos", "-p", f"{i}/comp.pog", "-d", "work",
                         "-c", rng.choice([1, 3])))
    ended = meet(commands, kills)
    for i, verdict in enumerate(verdicts):
        assert set(statuses(case, f"{i}/comp.pos")) <= {verdict, "Unproved"}
        assert "Unproved" not in statuses(case, f"{i}/comp.pos") or not ended[i]
    assert kills or not os.listdir(case.path("work"))


@pytest.mark.rounds(2)
@RUNS
@pytest.mark.parametrize("kills", [0, 1])
def test_mechanisms_on_one_status_file(case, meet, runs, kills):
    # Mechanism i proves all goals of obligation i, and no other goal.
    answers = "".join(f"*_m{i}_d1_{i}_*) echo Proved >\"$2\" ;;\n" for i in range(runs))
    case.script("writer", f'while [ "$1" != -o ]; do shift; done\ncase $2 in\n{answers}'
                          '*) echo Unknown >"$2" ;;\nesac\n')
    for i in range(runs):
        case.mechanism(case.driver(), path=f"m{i}.xml", trust="always")
    every = [mech(f"m{i}", d1="Proved") for i in range(runs)]
    case.pos(*[po(f"T{i}", *[goal(*every) for _ in range(GOALS)]) for i in range(runs)])
    commands = [("-m", f"m{i}.xml", "-s", "comp.pos", "-p", "comp.pog", "-d", "work")
                for i in range(runs)]
    ended = meet(commands, kills)
    found = statuses(case, "comp.pos")
    for i in range(runs):
        proved = found[GOALS * i:GOALS * (i + 1)].count("Proved")
        assert proved == GOALS or not ended[i]
    assert kills or not list(case.root.rglob("*.kelvarune-lock"))


@pytest.mark.parametrize("subject", ["comp.pos", "work/comp_m_d1"])
def test_waiting(case, busy, subject):
    first = busy()
    options = ["-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog", "-d", "work"]
    if subject != "comp.pos":
        case.path("other.pos").write_bytes(case.path("comp.pos").read_bytes())
        options[3] = "other.pos"
    second = case.start(*options)
    line = (f"Waiting for process {first.pid} on {os.uname().nodename} (kelvarune), which uses "
            f"{subject}.\n")
    case.wait_for(lambda: line in case.path("stderr").read_text(), case.path("stderr").read_text)
    second.send_signal(signal.SIGTERM)
    assert second.wait(5) == 1
    third = case.start(*options)
    first.kill()
    locks = lambda: [path for path in case.root.rglob("*.kelvarune-lock")
                     if path.read_text().startswith(f"{third.pid} ")]
    case.wait_for(lambda: len(locks()) == 2)  # what the first has left keeps nobody out
    third.terminate()
    assert third.wait(5) == 1
    assert not locks()
