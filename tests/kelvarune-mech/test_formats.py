"""The examples in the manual pages of the file formats are what they claim to be."""

import re

from conftest import PROJECT


def blocks(page):
    """The blocks of the page, in order: their language and text."""
    text = (PROJECT / "docs/man" / page).read_text()
    return re.findall(r"^```(\w+)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)


def test_mechanism(case):
    [(_, example)] = blocks("kelvarune-mechanism.5.md")
    case.write("m.xml", example)
    for tool in ("kelvarune-smt-writer", "z3", "kelvarune-smt-reader"):
        case.script(tool, "")
    case.run("check", "-i", "tools", "m.xml", program="kelvarune-mech",
             out="m.xml: 2 drivers, 0 errors, 0 warnings\n")


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
