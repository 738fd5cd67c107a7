"""Hostile files, and things in their place that are none. The program may refuse them, or end
by an uncaught error where a status or a setting does not exist; it never crashes otherwise, hangs,
or damages the POS file."""

import os
import xml.etree.ElementTree as ET

import pytest

from conftest import ABORTED, FILES, LIMIT_S, REPLAY, candidate, po, rows

FILE_OF = {"pos": "comp.pos", "mechanism": "m.xml", "resources": "res"}


@pytest.fixture
def component(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(4)])
    return case


def play(case):
    for args in (("-M", ".", *FILES), (*REPLAY, "-r", "res")):
        run = case.run(*args, status=None, err=None, limit_s=3 * LIMIT_S)
        expected = any(w in run.err for w in (b"map::at", b"out_of_range", b"filesystem_error"))
        assert run.status in (0, 1) or (run.status == ABORTED and expected), run
    return run


GOALS = "".join(ET.tostring(po(f"T{i}", candidate()), encoding="unicode") for i in range(4))
LAUGHS = "".join(f'<!ENTITY l{i} "{f"&l{i - 1};" * 10}">' for i in range(1, 10))
NESTED = "".join(f'<!ENTITY d{i} "<a>&d{i - 1};&d{i - 1};</a>">' for i in range(1, 30))

# The head of a document, and its body.
DOCUMENTS = {
    "entities": (f'<!DOCTYPE P [<!ENTITY l0 "ha">{LAUGHS}]>', GOALS + "&l9;"),
    "entities that nest": (f'<!DOCTYPE P [<!ENTITY d0 "x">{NESTED}]>', "&d29;"),
}


@pytest.mark.parametrize("kind, root", [("pos", "Proof_Obligations"), ("mechanism", "mechanism")])
@rows("head, body", DOCUMENTS)
def test_hostile_documents(component, kind, root, head, body):
    data = f"{head}<{root}>{body}</{root}>".encode()
    path = component.write(FILE_OF[kind], data)
    run = play(component)
    assert kind != "pos" or run.status == 0 or path.read_bytes() == data


@pytest.mark.parametrize("kind", FILE_OF)
@rows("put", {"nothing": lambda path: None, "a directory": os.mkdir, "a FIFO": os.mkfifo} | {
    f"a link to {target}": lambda path, target=target: path.symlink_to(target)
    for target in ("/dev/zero", "/dev/full", "/dev/tty", "/proc/self/mem", "nowhere", "comp.pos")})
def test_things_that_are_no_files(component, kind, put):
    def mode():
        return path.lstat().st_mode if os.path.lexists(path) else None

    path = component.path(FILE_OF[kind])
    path.unlink(missing_ok=True)
    put(path)
    before = mode()
    play(component)
    assert mode() == before
