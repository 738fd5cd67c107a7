"""The JUnit report: CI servers take it, and read in it why a goal did not pass."""

import pathlib
import xml.etree.ElementTree as ET

import pytest
from conftest import element, goal, mech, needs, obligations, po, rows
from test_commands import component

PROGRAM = "kelvarune-pos"
pytestmark = needs("xmllint")
SCHEMA = pathlib.Path(__file__).with_name("junit-10.xsd")


@pytest.fixture
def report(case):
    """The report on a component, which the schema allows."""
    def report(tree, *args):
        case.write("comp.pos", ET.tostring(tree))
        text = case.run("report", "--junit", *args, "comp.pos").out.decode()
        case.run("report", "--junit", *args, "-o", "out.xml", "comp.pos", out="")
        assert case.path("out.xml").read_text() == text
        case.run("--noout", "--schema", SCHEMA, "out.xml", program="/usr/bin/xmllint", err=None)
        return ET.fromstring(text)
    return report


@rows("args, open", {"usually": ([], "skipped"), "failing": (["--unproved=failed"], "failure")})
def test_outcomes_and_their_counts(report, args, open):
    root = report(component(), *args)
    for node in [root, *root.iter("testsuite")]:
        tags = {"tests": "testcase", "failures": "failure"}
        tags |= {"skipped": "skipped"} if node is not root else {}
        assert {name: node.get(name) for name in tags} == {
            name: str(len(list(node.iter(tag)))) for name, tag in tags.items()}
    assert {c.get("name"): next((o.tag for o in c if o.tag != "system-out"), "passed")
            for c in root.iter("testcase")} == {
        "init.1.1": "passed", "init.1.2": "passed", "open.2.1": "passed", "open.2.2": open,
        "open.2.3": "failure", "open.2.4": open}


@rows("part, lines", {
    "disproved": (mech("m", "Disproved", a="Disproved", b="Proved", c="Unknown", d="Unknown"),
                  "Disproved by m/a\nProved, but not counted: m/b\nUnknown: m/c, m/d"),
    "reset": (mech("m", a="Disproved", b="Unproved"),
              "Disproved, but not counted: m/a\nUnproved: m/b"),
    "iapa": (element("iapa", element("status", value="invalid")), "iapa: invalid"),
    "control characters": (mech("a\x85", x="Unknown"), "Unknown: a\ufffd/x")})
def test_a_case_says_who_concluded_what(report, part, lines):
    outcome, = report(obligations(po("o", goal(part, status="Disproved")))).iter("failure")
    assert [outcome.get("message"), outcome.text] == ["o.1: Disproved", lines]
