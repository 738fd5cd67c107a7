"""Damaged and hostile POS, mechanism and resource files, and things in their place that are no
files. The program may refuse them, or end by an uncaught error where a status or a setting does not
exist; it never crashes otherwise, hangs, or damages the POS file."""

import os
import socket
import xml.etree.ElementTree as ET

import pytest

from conftest import (ABORTED, AS_NOBODY, BIN, FILES, LIMIT_S, REPLAY, candidate, po,
                      rows)

FILE_OF = {"pos": "comp.pos", "mechanism": "m.xml", "resources": "res"}
LARGE = 10_000_000
DEEP = 100_000


@pytest.fixture
def component(case):
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(4)])
    case.write("res", b"! a comment\nMVL*tool*path: /somewhere\nMVL.other.name: \\\n"
                      b"  next line\nMVL*tool*path: again\n")
    return case


def play(case, **options):
    """With the mechanism named, and with those that the POS file names; returns the first run."""
    runs = [case.run(*args, status=None, err=None, limit_s=3 * LIMIT_S, **options)
            for args in ((*REPLAY, "-r", "res"), ("-M", ".", *FILES))]
    for run in runs:
        expected = any(word in run.err for word in (b"map::at", b"out_of_range",
                                                    b"filesystem_error"))
        assert run.status in (0, 1) or (run.status == ABORTED and expected), run
    return runs[0]


@pytest.mark.rounds(15)
@pytest.mark.parametrize("kind", FILE_OF)
def test_damage(component, rng, kind):
    """A stretch is left out, doubled, or replaced by NUL bytes or rubbish, or some bits turn; what
    follows may be missing."""
    data = component.path(FILE_OF[kind]).read_bytes()
    begin, end = sorted(rng.randrange(len(data)) for _ in range(2))
    stretch = data[begin:end + 1]
    turned = bytearray(stretch)
    for _ in range(rng.choice((1, 2, 5, 20))):
        turned[rng.randrange(len(turned))] ^= 1 << rng.randrange(8)
    instead = rng.choice((b"", stretch * 2, bytes(len(stretch)), rng.randbytes(len(stretch)),
                          bytes(turned)))
    component.write(FILE_OF[kind],
                    data[:begin] + instead + rng.choice((b"", data[end + 1:], data[end + 1:])))
    play(component)


GOALS = "".join(ET.tostring(po(f"T{i}", candidate()), encoding="unicode") for i in range(4))
LAUGHS = "".join(f'<!ENTITY l{i} "{f"&l{i - 1};" * 10}">' for i in range(1, 10))
NESTED = "".join(f'<!ENTITY d{i} "<a>&d{i - 1};&d{i - 1};</a>">' for i in range(1, 30))

# The head of a document, and its body.
DOCUMENTS = {
    "huge text": ("", GOALS + "y" * LARGE),
    "many attributes": ("", "<a " + " ".join(f'a{i}="1"' for i in range(100000)) + "/>"),
    "deep as can be": ("", GOALS + "<a>" * 999 + "</a>" * 999),
    "deep goals": ("", "<Proof_Obligation><Simple_Goal>" * (DEEP // 2)),
    "deep behind a DOCTYPE": ("<!DOCTYPE a [<!-- ' --><?p ' ?><!ELEMENT a ANY>]>", "<a>" * DEEP),
    "deep groups in a DTD": (f"<!DOCTYPE a [<!ELEMENT a {'(' * DEEP}b{')' * DEEP}>]>", GOALS),
    "entities": (f'<!DOCTYPE P [<!ENTITY l0 "ha">{LAUGHS}]>', GOALS + "&l9;"),
    "entities that nest": (f'<!DOCTYPE P [<!ENTITY d0 "x">{NESTED}]>', "&d29;"),
    "entity that is a file": ('<!DOCTYPE P [<!ENTITY a SYSTEM "/dev/zero">]>', "&a;"),
    "index as large as can be": ("", '<Proof_Obligation num="99999999999999999999">'
                                     '<Simple_Goal status=""/></Proof_Obligation>'),
}


@pytest.mark.parametrize("kind, root", [("pos", "Proof_Obligations"), ("mechanism", "mechanism")])
@rows("head, body", DOCUMENTS)
def test_hostile_documents(component, kind, root, head, body):
    data = f"{head}<{root}>{body}</{root}>".encode()
    path = component.write(FILE_OF[kind], data)
    run = play(component)
    assert kind != "pos" or run.status == 0 or path.read_bytes() == data


@pytest.mark.parametrize("kind", FILE_OF)
@rows("data", {
    "huge line": b"MVL*tool*path: " + b"x" * LARGE + b"\n",
    "one resource again and again": b"! c\nMVL*a*b: c\n" * 100000,
    "invalid UTF-8": b"<a>\xff\xfe\xc0\x80\xed\xa0\x80</a>",
    "UTF-16": f"<mechanism>{GOALS}</mechanism>".encode("utf-16"),
    "a program": (BIN / "kelvarune").read_bytes()[:LARGE // 10],
})
def test_hostile_bytes(component, kind, data):
    component.write(FILE_OF[kind], data)
    play(component)


def put_socket(path):
    with socket.socket(socket.AF_UNIX) as server:
        server.bind(str(path))


def put_locked(path):
    path.write_bytes(b"<a/>")
    path.chmod(0)


@pytest.mark.parametrize("kind", FILE_OF)
@rows("put", {"nothing": lambda path: None, "a directory": os.mkdir, "a FIFO": os.mkfifo,
              "a socket": put_socket, "a locked file": put_locked} | {
    f"a link to {target}": lambda path, target=target: path.symlink_to(target)
    for target in ("/dev/null", "/dev/zero", "/dev/full", "/dev/tty", "/proc/self/mem", "nowhere",
                   "comp.pos", "m.xml", "work")})
def test_things_that_are_no_files(component, kind, put):
    path = component.path(FILE_OF[kind])
    path.unlink()
    put(path)
    user = AS_NOBODY if put is put_locked else {}
    for folder in (component.root, component.path("work")):
        folder.chmod(0o777)
    before = path.lstat().st_mode if os.path.lexists(path) else None
    play(component, **user)
    assert (path.lstat().st_mode if os.path.lexists(path) else None) == before
