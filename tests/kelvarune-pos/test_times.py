"""What is told of times, against plain SQL over what the database holds; the advice, against every
order that there is."""

import contextlib
import csv
import io
import itertools
import json
import math
import random
import sqlite3
import subprocess
import xml.etree.ElementTree as ET

import jsonschema
import pytest
from conftest import BIN, goal, obligations, po, rows
from test_commands import documented
from test_junit import SCHEMA as JUNIT

PROGRAM = "kelvarune-pos"
DOCUMENTED = documented()
DRIVERS = [("a", "one"), ("a", "two"), ("b", "one")]

# The last play of each driver on each goal; an entry counts for its goals in equal shares.
LATEST = """
WITH play AS (SELECT entries.id, run, driver, goal, verdict, wall / goals AS wall, cpu / goals AS cpu,
                     prover_wall, time_limit FROM entries JOIN verdicts ON entry = entries.id),
last AS (SELECT play.*, tag, number, mechanism || '/' || drivers.driver AS name FROM play
         JOIN goals ON goals.id = goal JOIN drivers ON drivers.id = play.driver
         WHERE play.id = (SELECT max(id) FROM play AS p WHERE p.driver = play.driver AND p.goal = play.goal))
"""
SUMS = """count(*), sum(verdict IS 'Proved'), sum(verdict IS 'Disproved'), sum(wall), sum(cpu),
sum(iif(verdict IS 'Proved', 0, wall)), max(wall)"""


class Past:
    """A history with these plays, made with SQL in a database that the program has made."""

    def __init__(self, directory):
        tools = "".join(f'<{role} name="t" path="/bin/true"/>' for role in ("writer", "prover", "reader"))
        (directory / "m.xml").write_text(f'<mechanism><driver name="d">{tools}</driver></mechanism>')
        (directory / "comp.pog").write_text("<Proof_Obligations/>")
        (directory / "comp.pos").write_bytes(ET.tostring(obligations(po("T", goal()))))
        subprocess.run([BIN / "kelvarune-play", "-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog"],
                       cwd=directory, check=False, capture_output=True)
        self.path, self.entries = directory / "comp.history", 0
        self.ask("DELETE FROM verdicts", "DELETE FROM entries", "DELETE FROM run_drivers",
                 "DELETE FROM runs", "DELETE FROM drivers", "DELETE FROM goals")
        for number, (mechanism, driver) in enumerate(DRIVERS, 1):
            self.ask(f"INSERT INTO drivers VALUES ({number}, '{mechanism}', '{driver}')",
                     f"INSERT INTO mechanisms VALUES (1, '{mechanism}', 'x', 'x', 'always')")

    def ask(self, *questions):
        with contextlib.closing(sqlite3.connect(self.path)) as database, database:
            for question in questions:
                found = database.execute(question).fetchall()
        return found

    def run(self, number, *entries, took=None):
        """Entries are (driver, [(goal, verdict)...], wall of the prover)."""
        with contextlib.closing(sqlite3.connect(self.path)) as database, database:
            put = lambda table, rows: database.executemany(
                f"INSERT OR IGNORE INTO {table} VALUES ({', '.join('?' * len(rows[0]))})", rows)
            put("runs", [(number, number, took, 0, "h", "p 1", 2, "c")])
            put("run_drivers", [(number, i, i + 1) for i in range(len(DRIVERS))])
            put("goals", [(name, f"T{name // 5}", name % 5 + 1) for _, verdicts, _ in entries
                          for name, _ in verdicts])
            put("entries (id, run, driver, started, goals, wall, cpu, prover_wall, time_limit)",
                [(self.entries + i, number, driver, number, len(verdicts), wall + 0.01, wall / 2, wall, 2)
                 for i, (driver, verdicts, wall) in enumerate(entries)])
            put("verdicts", [(self.entries + i, position, name, verdict)
                             for i, (_, verdicts, _) in enumerate(entries)
                             for position, (name, verdict) in enumerate(verdicts)])
            self.entries += len(entries)


@pytest.fixture
def past(case):
    return Past(case.root)


@pytest.fixture
def filled(case, past):
    """Three runs of three drivers over 40 goals, some of them in entries together, at random."""
    rng = random.Random(7)
    for run in (1, 2, 3):
        entries = []
        for driver in (1, 2, 3):
            names = rng.sample(range(40), 30)
            while names:
                group = [names.pop() for _ in range(min(len(names), rng.choice([1, 1, 3])))]
                verdicts = [(name, rng.choice(["Proved", "Proved", "Unknown", "Disproved", None]))
                            for name in group]
                entries.append((driver, verdicts, rng.choice([0.01, 0.1, 1, 1.8]) * (1 + rng.random() / 9)))
        past.run(run, *entries, took=run + 9)
    case.pos(*[po(f"T{i}", *[goal()] * 5) for i in range(8)])
    return past


def seen(case, *args, status=0):
    found = json.loads(case.run(*args, "--json", status=status, out=None).out)
    jsonschema.Draft202012Validator(DOCUMENTED).validate(found)
    return found


def near(found, expected):
    return found == pytest.approx(expected, rel=1e-6, abs=2e-6)


def quantile(values, share):
    return sorted(values)[max(1, math.ceil(share * len(values))) - 1]


def check_times(past, times, where):
    names = ("goals", "proved", "disproved", "wall", "cpu", "wallWithoutProof", "slowest")
    assert near([times[name] for name in names], list(past.ask(f"{LATEST} SELECT {SUMS} FROM {where}")[0]))
    walls = [row[0] for row in past.ask(f"{LATEST} SELECT wall FROM {where}")]
    assert near([times["median"], times["ninety"]], [quantile(walls, 0.5), quantile(walls, 0.9)])


def test_every_figure_is_a_sum_or_quantile_of_the_database(case, filled):
    # By driver and in all; also in the statistics.
    times = seen(case, "times", "comp.pos")
    for kind in (times, seen(case, "stats", "comp.pos")["times"]):
        check_times(filled, kind["total"], "last")
        assert len(kind["drivers"]) == len(DRIVERS)
        for driver in kind["drivers"]:
            check_times(filled, driver, f"last WHERE name = '{driver['mechanism']}/{driver['driver']}'")
    # By goal: the page's and JUnit's as well.
    goals = dict(filled.ask(f"{LATEST} SELECT tag || '.' || number, sum(wall) FROM last GROUP BY 1"))
    by_goal = {f"{each['tag']}.{each['number']}": each["wall"] for each in times["goals"]}
    assert near(by_goal, goals) and list(by_goal.values()) == sorted(by_goal.values(), reverse=True)
    junit = ET.fromstring(case.run("report", "--junit", "comp.pos", out=None).out)
    cases = {part.get("name"): float(part.get("time")) for part in junit.iter("testcase")}
    sums = [float(junit.get("time")), sum(float(s.get("time")) for s in junit)]
    assert cases == pytest.approx(goals, abs=0.001)
    assert sums == pytest.approx([sum(goals.values())] * 2, abs=0.01)
    case.run("report", "--junit", "-o", "out.xml", "comp.pos", out=None)
    case.run("--noout", "--schema", JUNIT, "out.xml", program="/usr/bin/xmllint", err=None)
    table = csv.reader(io.StringIO(case.run("times", "comp.pos", "--csv", out=None).out.decode()))
    assert near(sum(float(row[7]) for row in list(table)[1:]), sum(goals.values()))
    for number, run in enumerate(seen(case, "history", "comp.pos")["runs"], 1):
        check_times(filled, run["times"], f"play WHERE run = {number}")
        check_times(filled, seen(case, "times", "comp.pos", "--run", number)["total"],
                    f"play WHERE run = {number}")
        assert (run["took"], run["status"]) == (9, 0)
    page = case.run("report", "--html", "comp.pos", out=None).out.decode()
    data = json.loads(page.split('id="data">')[1].split("</script>")[0])["history"]
    assert near(sum(play[1] for plays in data["plays"] for play in plays) / 1e6, sum(goals.values()))
    assert near([run["wall"] / 1e6 for run in data["runs"]],
                [row[0] for row in filled.ask(f"{LATEST} SELECT sum(wall) FROM play GROUP BY run")])


def test_flaky_and_compare_say_what_sql_says(case, filled):
    found = seen(case, "flaky", "comp.pos", status=1)["flaky"]
    unsteady = filled.ask(f"""{LATEST} SELECT name, tag, number FROM last JOIN
      (SELECT driver AS d, goal AS g FROM play GROUP BY driver, goal
       HAVING count(DISTINCT ifnull(verdict, '')) > 1) ON d = driver AND g = goal""")
    close = filled.ask(f"""{LATEST} SELECT name, tag, number FROM last
      WHERE verdict IN ('Proved', 'Disproved') AND prover_wall >= 0.8 * time_limit""")
    name = lambda each: (f"{each['mechanism']}/{each['driver']}", each["tag"], each["number"])
    assert {name(each) for each in found if len(each["verdicts"]) > 1} == set(unsteady) != set()
    assert {name(each) for each in found if each["timeLimit"]} == set(close) != set()
    difference = seen(case, "compare", "comp.pos", 1, 2, status=1)
    both = f"""{LATEST} SELECT old.wall, new.wall FROM play AS old JOIN play AS new
               ON old.driver = new.driver AND old.goal = new.goal AND old.run = 1 AND new.run = 2"""
    pairs = filled.ask(both)
    assert near([difference[key] for key in ("common", "old", "new")],
                [len(pairs), sum(a for a, _ in pairs), sum(b for _, b in pairs)])
    slower = [(a, b) for a, b in pairs if b - a > max(0.1, a / 5)]
    assert near(sorted((each["old"], each["new"]) for each in difference["slower"]), sorted(slower))
    lost = filled.ask(f"""{LATEST}, tried AS (SELECT run, goal, max(verdict IS 'Proved') AS proved
      FROM play GROUP BY run, goal) SELECT tag, goals.number FROM tried AS old JOIN tried AS new
      ON old.goal = new.goal AND old.run = 1 AND new.run = 2 JOIN goals ON goals.id = old.goal
      WHERE old.proved AND NOT new.proved""")
    assert {(each["tag"], each["number"]) for each in difference["lost"]} == set(lost) != set()


@pytest.mark.rounds(3)
def test_no_order_is_better_than_the_advised_one(case, past, rng):
    """Without limits that help: all provers end in less than the least limit."""
    wall = {(driver, name): rng.random() / 3 for driver in (1, 2, 3) for name in range(12)}
    proves = {pair: rng.random() < 0.5 for pair in wall}
    past.run(1, *[(driver, [(name, "Proved" if proves[driver, name] else "Unknown")], wall[driver, name])
                  for driver, name in wall])
    def cost(order):
        done = set()
        total = 0
        for driver in order:
            for name in set(range(12)) - done:
                total += wall[driver, name] + 0.01
                done |= {name} if proves[driver, name] else set()
        return total, done
    possible = {name for driver, name in wall if proves[driver, name]}
    orders = [order for size in range(4) for order in itertools.permutations((1, 2, 3), size)
              if order not in ((1, 3, 2), (2, 3, 1)) and cost(order)[1] == possible]
    advice = seen(case, "advise", "comp.pos")
    assert near([advice["wall"], advice["advisedWall"]], [cost((1, 2, 3))[0], min(cost(o)[0] for o in orders)])
    steps = [DRIVERS.index((step["mechanism"], step["driver"])) + 1 for step in advice["steps"]]
    assert near(cost(steps)[0], advice["advisedWall"])
    assert [(each["driver"], {goal["number"] + 5 * int(goal["tag"][1:]) - 1 for goal in each["goals"]})
            for each in advice["hanging"]] == [
        (driver, {name for name in possible if proves[i, name]
                  and not any(proves[other, name] for other in {1, 2, 3} - {i})})
        for i, (_, driver) in enumerate(DRIVERS, 1)]
    assert (advice["pairsKnown"], advice["pairs"], advice["estimates"]) == (36, 36, 0)


def test_limits_are_advised_where_they_save_time_and_cost_no_proof(case, past):
    past.run(1, *[(1, [(name, "Proved")], 0.4) for name in range(5)],
             *[(1, [(name, "Unknown")], 9) for name in range(5, 10)],
             *[(2, [(name, "Proved")], 3) for name in range(5, 8)])
    advice = seen(case, "advise", "comp.pos")
    first = advice["steps"][0]
    assert (first["driver"], first["timeLimit"]) == ("one", 0.8) and advice["leftOut"] == []
    assert near([advice["wall"], first["wall"]], [5 * 0.41 + 5 * 9.01 + 3 * 3.01 + 2 * 3.01,
                                                  5 * 0.41 + 5 * 0.81])
    assert advice["estimates"] == 2  # the second driver has never tried the last two goals


def test_prune(case, filled):
    case.run("prune", "comp.pos", "--keep", 1, out="comp.history: dropped 2 runs\n")
    assert [run["run"] for run in seen(case, "history", "comp.pos")["runs"]] == [3]
    assert filled.ask("SELECT count(*) FROM entries WHERE run <> 3 UNION "
                      "SELECT count(*) FROM verdicts WHERE entry NOT IN (SELECT id FROM entries)") == [(0,)]


@rows("args, words", {
    "no history": (["times", "other.pos"], "other.history: no such file; kelvarune-play records one"),
    "none named": (["report", "--html", "comp.pos", "--history", "no"], "no: no such file"),
    "no run": (["times", "comp.pos", "--run", "9"], "no run 9; kelvarune-pos history comp.pos lists them"),
    "no driver": (["times", "comp.pos", "--driver", "x"], "nothing that was asked for is in it"),
    "no number": (["compare", "comp.pos", "1", "x"], '"x" is no run'),
    "keep nothing": (["prune", "comp.pos"], "--keep")})
def test_refusals(case, filled, args, words):
    status = 0 if args[0] == "report" else 2
    assert words in case.run(*args, status=status, out=None, err=None).err.decode()
