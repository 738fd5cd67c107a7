"""The POS file as a document: what is read, what is kept and how it is written."""

import re
import xml.etree.ElementTree as ET

import pytest

from conftest import (ONE_PROOF, SLOWNESS, candidate, canonical, concluded, goal, mech,
                      obligations, po, replayed, rows)


@pytest.fixture
def proving(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    return case


@rows("head, encoding", {
    "none": ("", "utf-8"),
    "UTF-8 after a mark": ("\ufeff<?xml version='1.0' encoding='UTF-8'?>", "utf-8"),
    "ISO-8859-1": ("<?xml version='1.0' encoding='iso-8859-1'?>\n", "latin-1")})
def test_encodings(proving, head, encoding):
    tag, note = "\u00c9t\u00e9 \u00df", "\u00e6\u00f8"
    body = ET.tostring(obligations(po(tag, candidate()), author="G\u00e9r\u00f4me", note=note),
                       encoding="unicode")
    proving.write("comp.pos", (head + body).encode(encoding, "xmlcharrefreplace"))
    proving.replay(env={"LC_ALL": "C"},
                   out=replayed(("d1", 1, [(tag, "+")]), proved=1, externally=1))
    proving.pos_is(po(tag, concluded()), note=note)
    saved, declared = proving.path("comp.pos").read_bytes(), re.search("encoding='(.*)'", head)
    want = f'encoding="{declared[1]}"' if declared else "<P"
    assert want.encode() in saved.replace(b"'", b'"')
    proving.replay(out=replayed(("d1", 0), proved=1, externally=1))  # it can be read again


def test_the_same_document_is_always_written_the_same(proving):
    names = "alpha beta gamma delta epsilon zeta eta theta".split()
    part = candidate()
    for child in part.iter():
        child.attrib |= dict.fromkeys(names, "1")
    path = proving.pos(po("T0", part), po("T1", candidate()), **dict.fromkeys(names, "2"))
    before, results = path.read_bytes(), set()
    for jobs in "1112":
        path.write_bytes(before)
        proving.replay("-c", jobs)
        results.add(path.read_bytes())
    assert len(results) == 1


def test_the_layout_of_the_saved_file(proving):
    path = proving.pos(po("T0", candidate()))
    proving.replay(out=ONE_PROOF)
    lines = path.read_text().splitlines()
    assert [line.index("<") for line in lines] == [0, 4, 8, 8, 12, 12, 16, 12, 8, 4, 0]
    assert lines[2:3] + lines[-4:] == [
        "        <Tag>T0</Tag>", "            </Mechanism>", "        </Simple_Goal>",
        "    </Proof_Obligation>", "</Proof_Obligations>"]


def test_what_is_foreign_is_kept(proving):
    text = """<?xml version="1.0"?>
<!-- head --><Anything author="{}" version="&lt;3&gt;"><!-- in -->
<Header a="1">words &amp; <b>more</b> words</Header>
<Proof_Obligation id="7"><Tag>a &lt; b<!-- c --></Tag><Tag>second</Tag><Definition name="D"/>
<Simple_Goal {}><Ref_Goal num="1"/><Proof_State proofState="Unproved" methodList="m"/>
<Proof_State proofState="Proved(0)"/><iapa><status value="Valid"/></iapa>
<Mechanism name="n" status="Unknown"/><Mechanism name="m" {}><Driver name="d1" status="Proved"/>
<Note>x</Note></Mechanism><Mechanism name="m" status="Unproved"><Driver name="d1"/></Mechanism>
</Simple_Goal><Other/></Proof_Obligation></Anything>"""
    after = text.format("proof_director", 'status="Proved"', 'status="Proved"')
    for options in ([], ["-x"]):  # Tags are shown as they read, in XML output too.
        proving.write("comp.pos", text.format("me", "", ""))
        proving.replay(*options, out=replayed(("d1", 1, [("a < b", "+")]), proved=1, externally=1,
                                              xml=bool(options)))
        saved = proving.path("comp.pos").read_bytes()
        assert canonical(saved) == canonical(after.encode())


@pytest.mark.parametrize("content", [b"", b"<P><Proof_Obligation/></P>"])
def test_files_without_goals(proving, content):
    path = proving.write("comp.pos", content)
    proving.replay(out=replayed(("d1", 0)))
    assert path.read_bytes() == content


def test_text_in_a_goal_does_not_make_its_whole_obligation_be_written_anew(proving):
    goals = [candidate() if i < 200 else goal(mech(d1="Unknown")) for i in range(20000)]
    for part in goals:
        part.text = "x"
    proving.pos(po("T0", *goals))
    proving.replay(out=None, under=("prlimit", "--cpu=4") if SLOWNESS == 1 else ())
