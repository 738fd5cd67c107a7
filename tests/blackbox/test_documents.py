"""The POS file as a document: what is read, what is kept and how it is written."""

import re
import xml.etree.ElementTree as ET

import pytest

from conftest import (ONE_PROOF, candidate, canonical, concluded, element, obligations, po,
                      replayed, rows)


@pytest.fixture
def proving(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    return case


@rows("head, encoding", {
    "none": ("", "utf-8"),
    "UTF-8 after a mark": ("\ufeff<?xml version='1.0' encoding='UTF-8'?>", "utf-8"),
    "ISO-8859-1": ("<?xml version='1.0' encoding='iso-8859-1'?>\n", "latin-1"),
    "US-ASCII": ("<?xml version='1.0' encoding='US-ASCII'?>", "ascii")})
@pytest.mark.parametrize("locale", ["C.UTF-8", "C"])
def test_encodings(proving, head, encoding, locale):
    tag, note = "\u00c9t\u00e9 \u00df", "\u00e6\u00f8"
    body = ET.tostring(obligations(po(tag, candidate()), author="G\u00e9r\u00f4me", note=note),
                       encoding="unicode")
    proving.write("comp.pos", (head + body).encode(encoding, "xmlcharrefreplace"))
    proving.replay(env={"LC_ALL": locale}, out=replayed(("d1", 1, [(tag, "+")]), proved=1,
                                                        externally=1))
    proving.pos_is(po(tag, concluded()), note=note)
    declared = re.findall(b"encoding='[^']*'", head.encode())
    saved = proving.path("comp.pos").read_bytes()
    assert re.findall(b"encoding='[^']*'", saved.replace(b'"', b"'")) == declared
    proving.replay(out=replayed(("d1", 0), proved=1, externally=1))  # it can be read again


def test_the_same_document_is_always_written_the_same(proving):
    names = ["alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta", "theta"]
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

    # Nor does another run over the saved file turn it over.
    first = results.pop()
    reset = first.replace(b'"Proved"', b'"Unproved"')
    path.write_bytes(re.sub(rb'(<Driver[^>]*)"Unproved"', rb'\1"Proved"', reset))
    proving.replay(out=replayed(("d1", 2, [("T0", "+"), ("T1", "+")]), proved=2, externally=2))
    assert path.read_bytes() == first


def test_the_layout_of_the_saved_file(proving):
    path = proving.pos(po("T0", candidate()))
    proving.replay(out=ONE_PROOF)
    assert re.sub(r'( \w+="[^"]*")+', "", path.read_text()) == """\
<Proof_Obligations>
    <Proof_Obligation>
        <Tag>T0</Tag>
        <Simple_Goal>
            <Proof_State/>
            <Mechanism>
                <Driver/>
            </Mechanism>
        </Simple_Goal>
    </Proof_Obligation>
</Proof_Obligations>
"""


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


def test_odd_obligations(proving):
    proving.pos(po("T0"), element("Proof_Obligation", candidate()), po("", candidate()),
                element("Other", po("X", candidate())), po("T3", candidate()), po("T4"))
    proving.replay(out=replayed(("d1", 3, [("T0", ""), ("", "+"), ("", "+"), ("T3", "+")]),
                                proved=3, externally=3))


@pytest.mark.parametrize("content", [b"", b"hello", b"<P><Proof_Obligation/></P>"])
def test_files_without_goals(proving, content):
    path = proving.write("comp.pos", content)
    proving.replay(out=replayed(("d1", 0)))
    assert path.read_bytes() == content


def test_a_file_broken_off_is_read_as_far_as_it_goes(proving):
    whole = ET.tostring(obligations(po("T0", candidate()), po("T1", candidate())))
    proving.write("comp.pos", whole.replace(b"</Proof_Obligations>", b"<Proof_Obl"))
    proving.replay(out=replayed(("d1", 2, [("T0", "+"), ("T1", "+")]), proved=2, externally=2))
    proving.pos_is(po("T0", concluded()), po("T1", concluded()))


def test_a_file_that_vanishes_is_not_created_anew(proving):
    proving.script("unlink", f"rm '{proving.root}/comp.pos'\nexec cat")
    proving.mechanism(proving.driver(prover="unlink"), trust="always")
    proving.pos(po("T0", candidate()))
    proving.replay(out=replayed(("d1", 1, [("T0", "+")])).replace(
        "End of", "ErrorFile not readable comp.pos\nEnd of"))
    assert not proving.path("comp.pos").exists()
