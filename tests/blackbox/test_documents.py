"""The POS file as a document: what is read, what is kept and how it is written."""

import re
import unittest
import xml.etree.ElementTree as ET

from harness import (ReplayCase, candidate, driver_pass, element, goal, mech, obligations, outline,
                     parsed, po, proving, report)

PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")
ONE = report(proved=1, externally=1)


class Documents(ReplayCase):
    def setUp(self):
        super().setUp()
        self.answers({"*": "Proved"})
        self.mechanism(trust="always")

    def test_encodings(self):
        tag = "\u00c9t\u00e9 \u00df"
        body = ET.tostring(obligations(po(tag, candidate()), author="G\u00e9r\u00f4me",
                                       note="\u00e6\u00f8"), encoding="unicode")
        rows = {"none": ("", "utf-8"),
                "UTF-8": ("<?xml version='1.0' encoding='UTF-8'?>", "utf-8"),
                "UTF-8 after a mark": ("\ufeff<?xml version='1.0' encoding='UTF-8'?>", "utf-8"),
                "ISO-8859-1": ("<?xml version='1.0' encoding='ISO-8859-1'?>", "latin-1"),
                "iso-8859-1": ("<?xml version='1.0' encoding='iso-8859-1'?>\n", "latin-1"),
                "US-ASCII": ("<?xml version='1.0' encoding='US-ASCII'?>", "ascii")}
        for locale in ("C.UTF-8", "C"):
            for name, (declaration, encoding) in rows.items():
                with self.subTest(locale=locale, encoding=name):
                    self.write("comp.pos",
                               (declaration + body).encode(encoding, "xmlcharrefreplace"))
                    self.replay(out=proving() + driver_pass("d1", 1, [(tag, "+")]) + ONE,
                                env={"LC_ALL": locale})
                    self.assertPos(po(tag, PROVED), note="\u00e6\u00f8")
                    if declaration:
                        self.assertIn(f"encoding='{name.split()[0]}'".encode(),
                                      self.path("comp.pos").read_bytes().replace(b'"', b"'"))
                    # What was written can be replayed again.
                    self.replay(out=proving() + driver_pass("d1", 0) + ONE)

    def test_the_same_document_is_always_written_the_same(self):
        names = ["alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta", "theta"]
        part = goal(mech(d1="Proved"))
        for child in part.iter():
            child.attrib |= dict.fromkeys(names, "1")
        self.pos(po("T0", part), po("T1", candidate()), **dict.fromkeys(names, "2"))
        before = self.path("comp.pos").read_bytes()
        results = set()
        for jobs in ("1", "1", "1", "2"):
            self.write("comp.pos", before)
            self.replay("-c", jobs)
            results.add(self.path("comp.pos").read_bytes())
        self.assertEqual(1, len(results))

        # Nor does another run over the saved file turn it over.
        first = results.pop()
        reset = re.sub(rb'"Proved"', rb'"Unproved"', first)
        reset = re.sub(rb'(<Driver[^>]*)"Unproved"', rb'\1"Proved"', reset)
        self.write("comp.pos", reset)
        self.replay(out=proving() + driver_pass("d1", 2, [("T0", "+"), ("T1", "+")])
                    + report(proved=2, externally=2))
        self.assertEqual(first, self.path("comp.pos").read_bytes())

    def test_the_layout_of_the_saved_file(self):
        self.pos(po("T0", candidate()))
        self.replay(out=proving() + driver_pass("d1", 1, [("T0", "+")]) + ONE)

        def sorted_attributes(match):
            return " ".join([match[1], *sorted(re.findall(r'\w+="[^"]*"', match[2]))])

        text = re.sub(r'(<\w+)((?: \w+="[^"]*")+)', sorted_attributes,
                      self.path("comp.pos").read_text())
        self.assertEqual("""\
<Proof_Obligations author="proof_director">
    <Proof_Obligation>
        <Tag>T0</Tag>
        <Simple_Goal status="Proved">
            <Proof_State proofState="Unproved"/>
            <Mechanism name="m" status="Proved">
                <Driver name="d1" status="Proved"/>
            </Mechanism>
        </Simple_Goal>
    </Proof_Obligation>
</Proof_Obligations>
""", text)

    def test_what_is_foreign_is_kept(self):
        text = """<?xml version="1.0"?>
<!-- head --><Anything author="me" version="&lt;3&gt;"><!-- in -->
<Header a="1">words &amp; <b>more</b> words</Header>
<Proof_Obligation id="7"><Tag>a &lt; b<!-- c --></Tag><Tag>second</Tag><Definition name="D"/>
<Simple_Goal {}><Ref_Goal num="1"/><Proof_State proofState="Unproved" methodList="m"/>
<Proof_State proofState="Proved(0)"/><iapa><status value="Valid"/></iapa>
<Mechanism name="n" status="Unknown"/><Mechanism name="m" {}><Driver name="d1" status="Proved"/>
<Note>x</Note></Mechanism><Mechanism name="m" status="Unproved"><Driver name="d1"/></Mechanism>
</Simple_Goal><Other/></Proof_Obligation></Anything>"""
        self.write("comp.pos", text.format("", ""))
        self.replay(out=proving() + driver_pass("d1", 1, [("a < b", "+")]) + ONE)
        expected = text.format('status="Proved"', 'status="Proved"').replace('"me"',
                                                                             '"proof_director"')
        self.assertEqual(outline(parsed(expected)),
                         outline(parsed(self.path("comp.pos").read_bytes())))
        self.assertIn(b"<!-- head -->", self.path("comp.pos").read_bytes())

        # Tags are shown as they read, in XML output too.
        self.write("comp.pos", text.format("", ""))
        self.replay("-x", out="<proof>\n" + proving(xml=True)
                    + driver_pass("d1", 1, [("a < b", "+")], xml=True)
                    + report(proved=1, externally=1, xml=True))

    def test_odd_obligations(self):
        self.pos(po("T0"), element("Proof_Obligation", candidate()), po("", candidate()),
                 element("Other", po("X", candidate())), po("T3", candidate()), po("T4"))
        self.replay(out=proving() + driver_pass(
            "d1", 3, [("T0", ""), ("", "+"), ("", "+"), ("T3", "+")])
            + report(proved=3, externally=3))

    def test_files_without_goals(self):
        for name, content in {"empty": b"", "not XML": b"hello", "no obligations": b"<P/>",
                              "no goals": b"<P><Proof_Obligation/></P>"}.items():
            with self.subTest(name):
                self.write("comp.pos", content)
                self.replay(out=proving() + driver_pass("d1", 0) + report())
                self.assertEqual(content, self.path("comp.pos").read_bytes())

    def test_a_file_broken_off_is_read_as_far_as_it_goes(self):
        whole = ET.tostring(obligations(po("T0", candidate()), po("T1", candidate())))
        self.write("comp.pos", whole.replace(b"</Proof_Obligations>", b"<Proof_Obl"))
        self.replay(out=proving() + driver_pass("d1", 2, [("T0", "+"), ("T1", "+")])
                    + report(proved=2, externally=2))
        self.assertPos(po("T0", PROVED), po("T1", PROVED))


if __name__ == "__main__":
    unittest.main()
