"""The examples in the manual pages of the file formats are what they claim to be."""

import contextlib
import re
import sqlite3

from conftest import BIN, PROJECT, candidate, po


def blocks(page):
    """The blocks of the page, in order: their language and text."""
    text = (PROJECT / "docs/man" / page).read_text()
    return re.findall(r"^```(\w+)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def test_mechanism(case):
    [(_, example), (_, commands), (_, printed)] = blocks("kelvarune-mechanism.5.md")
    case.write("m.xml", example)
    for tool in ("kelvarune-smt-writer", "z3", "kelvarune-smt-reader"):
        case.script(tool, "")
    case.run("check", "-i", "tools", "m.xml", program="kelvarune-mech",
             out="m.xml: 2 drivers, 0 errors, 0 warnings\n")


    case.write("commands", f"set -e\n{commands}")
    run = case.run("commands", program="/bin/sh", env={"PATH": f"{BIN}:/usr/bin:/bin"}, out=None)
    assert run.out.decode().endswith(f"Unproved 0\n{printed}")


def test_obligations(case):
    [(_, example)] = blocks("kelvarune-pog.5.md")
    case.write("queue.pog", example)
    run = case.run("list", "queue.pog", program="kelvarune-goals")
    assert b"push.1    queue/push.smt2:14  expects unsat\n" in run.out


def test_history(case):
    case.mechanism()
    case.pos(po("T0", candidate()))
    case.run("-m", "m.xml", "-s", "comp.pos", "-p", "comp.pog", program="kelvarune-play", out=None)
    page = (PROJECT / "docs/man/kelvarune-history.5.md").read_text()
    told = dict(re.findall(r"^## (\w+)\n(.*?)(?=^##? )", page.replace("\\", ""), re.M | re.S))
    with contextlib.closing(sqlite3.connect(case.path("comp.history"))) as database:
        tables = [name for (name,) in database.execute(
            "SELECT name FROM sqlite_master WHERE type = 'table'")]
        assert sorted(told) == sorted(tables)
        for table in tables:
            names = {re.sub("^(?:writer|prover|reader)_", "", row[1])
                     for row in database.execute(f"PRAGMA table_info({table})")}
            assert names <= set(re.findall(r"\w+", told[table])), table
        for question in re.findall(r'sqlite3 .*?"(.*?)"', page, re.DOTALL):
            database.execute(question)


def test_project_file(case):
    [(_, example), _] = blocks("kelvarune.toml.5.md")
    case.write("kelvarune.toml", example)
    for name in ("drives/motor.pog", "drives/brake.pos", "drives/brake.pog", "theory/a.smt2"):
        case.write(name, "")
    for name in ("scripts/queue", "theory/lists"):
        case.path(name).mkdir(parents=True)
    case.run("zebra", program="kelvarune-play", status=2, err="kelvarune-play: no component is "
             "called zebra; there are motor, queue, lemmas\n")


def test_status_file(case):
    [(_, example), (_, goals)] = blocks("kelvarune-pos.5.md")
    case.write("comp.pos", example)
    case.run("goals", "comp.pos", program="kelvarune-pos", out=goals)
    case.run("check", "comp.pos", program="kelvarune-pos", out=None)


def test_resource_file(case):
    [(_, resources), (_, prover)] = blocks("kelvarune-resource.5.md")
    case.write("site.res", resources)
    case.script("provers/z3-4.8/bin/z3", "exit 7")
    case.script("provers/cvc5/bin/cvc5", "exit 8")
    for resource, status in {"Z3": 7, "Cvc5": 8}.items():
        case.write("m.xml", "<mechanism><driver name='d' ext='e'><writer path='writer'/>"
                   + prover.replace("Z3", resource)
                   + "<reader path='reader'/></driver></mechanism>")
        run = case.run("check", "--tools", "-r", "site.res", "-i", "tools", "m.xml", status=1,
                       program="kelvarune-mech")
        assert f"prover exited with status {status} after" in run.out.decode(), run
