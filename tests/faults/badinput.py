#!/usr/bin/env python3
"""Feeds the program with damaged and hostile POS, mechanism and resource files, and with things in
their place that are no files. It may refuse them, or end by an uncaught out-of-range error where a
status or a setting does not exist; it never crashes otherwise, hangs, or damages the POS file.
"""

import os
import pathlib
import resource
import signal
import socket

from campaign import AS_NOBODY, FILES, LIMIT_S, OPEN, PROGRAM, SLOWNESS, Campaign, po

import xml.etree.ElementTree as ET

GOALS = 4
HUGE = 100_000_000 if SLOWNESS == 1 else 10_000_000
DEEP = 100_000
LONG = 1_000_000
RESOURCES = b"""! a comment
MVL*tool*path: /somewhere
MVL.other.name: \\
  next line
MVL*tool*path: again
"""
KINDS = {"pos": "comp.pos", "mechanism": "m.xml", "resources": "res"}
EXPECTED_END = (b"out_of_range", b"filesystem_error", b"map::at")


def arrange(scratch):
    scratch.component(GOALS)
    scratch.write("res", RESOURCES)


def play_all(scratch, **options):
    """With the mechanism named, and with those that the POS file names; returns the first run."""
    runs = [scratch.play(*argv, **options)
            for argv in (scratch.argv("-r", "res"), ["-M", ".", *FILES])]
    for run in runs:
        by_exception = run.status == -signal.SIGABRT and any(w in run.err for w in EXPECTED_END)
        scratch.assertTrue(run.status in (0, 1) or by_exception, run)
    return runs[0]


# --- Damage ---------------------------------------------------------------------------------------


def damage(random, data):
    """A stretch is left out, doubled, or replaced by NUL bytes or by rubbish, or some bits turn."""
    begin, end = sorted(random.randrange(len(data) + 1) for _ in range(2))
    stretch = data[begin:end]
    turned = bytearray(stretch)
    for _ in range(random.choice((1, 2, 5, 20)) if stretch else 0):
        turned[random.randrange(len(turned))] ^= 1 << random.randrange(8)
    return data[:begin] + random.choice(
        (b"", stretch * 2, b"\0" * len(stretch), random.randbytes(len(stretch)), bytes(turned))
    ) + random.choice((b"", data[end:], data[end:]))


def damaged(scratch, random, kind):
    arrange(scratch)
    path = scratch.path(KINDS[kind])
    data = damage(random, path.read_bytes())
    path.write_bytes(data)
    try:
        play_all(scratch)
    except AssertionError as error:
        raise AssertionError(f"input {data!r}\n{error}") from error


# --- Hostile documents ----------------------------------------------------------------------------


def document(body, root="Proof_Obligations", head=""):
    return f"{head}<{root}>{body}</{root}>".encode()


def goals_text():
    return "".join(ET.tostring(po(f"T{i}", OPEN), encoding="unicode") for i in range(GOALS))


LAUGHS = "".join(f'<!ENTITY l{i} "{f"&l{i - 1};" * 10}">' for i in range(1, 10))
LOUD_DEEP = "".join(f'<!ENTITY d{i} "<a>&d{i - 1};&d{i - 1};</a>">' for i in range(1, 30))

DOCUMENTS = {
    "huge attribute": lambda: document(goals_text()).replace(
        b"<Proof_Obligations", b'<Proof_Obligations note="' + b"x" * HUGE + b'"', 1),
    "huge text": lambda: document(goals_text() + "y" * HUGE),
    "huge name": lambda: document("<" + "n" * LONG + "/>"),
    "many attributes": lambda: document(
        "<a " + " ".join(f'a{i}="1"' for i in range(100000)) + "/>"),
    "deep": lambda: document(goals_text() + "<a>" * DEEP + "</a>" * DEEP),
    "deep as can be": lambda: document(goals_text() + "<a>" * 999 + "</a>" * 999),
    "deep goals": lambda: document("<Proof_Obligation><Simple_Goal>" * (DEEP // 2)),
    "deep behind a DOCTYPE": lambda: document(
        "<a>" * DEEP, head="<!DOCTYPE a [<!-- ' --><?p ' ?><!ELEMENT a ANY>]>"),
    "deep groups in a DTD": lambda: document(
        goals_text(), head=f"<!DOCTYPE a [<!ELEMENT a {'(' * DEEP}b{')' * DEEP}>]>"),
    "many wide": lambda: document("<a/>" * 300000),
    "entities": lambda: document(
        goals_text() + "&l9;", head=f'<!DOCTYPE P [<!ENTITY l0 "ha">{LAUGHS}]>'),
    "entities that nest": lambda: document(
        "&d29;", head=f'<!DOCTYPE P [<!ENTITY d0 "x">{LOUD_DEEP}]>'),
    "entities in a circle": lambda: document(
        "&a;", head='<!DOCTYPE P [<!ENTITY a "&b;"><!ENTITY b "&a;">]>'),
    "entity that is a file": lambda: document(
        "&a;", head='<!DOCTYPE P [<!ENTITY a SYSTEM "/dev/zero">]>'),
    "DTD that is a file": lambda: document(goals_text(), head='<!DOCTYPE P SYSTEM "/dev/zero">'),
    "UTF-16": lambda: document(goals_text()).decode().encode("utf-16"),
    "EBCDIC": lambda: document(
        goals_text(), head="<?xml version='1.0' encoding='IBM037'?>").decode().encode("cp037"),
    "wrong encoding": lambda: b"<?xml version='1.0' encoding='UTF-16'?>" + document(goals_text()),
    "invalid UTF-8": lambda: document(goals_text()).replace(b"T1", b"\xff\xfe\xc0\x80\xed\xa0\x80"),
    "NUL bytes": lambda: document(goals_text()).replace(b"T1", b"T\0\0"),
    "only NUL bytes": lambda: bytes(LONG),
    "empty": lambda: b"",
    "one byte": lambda: b"<",
    "binary": lambda: pathlib.Path(PROGRAM).read_bytes()[:LONG],
    "index as large as can be": lambda: document(
        '<Proof_Obligation num="99999999999999999999"><Simple_Goal status=""/></Proof_Obligation>'),
}
RESOURCE_FILES = {
    "huge line": lambda: b"MVL*tool*path: " + b"x" * HUGE + b"\n",
    "long lines": lambda: (b"MVL*tool*path: " + b"x" * LONG + b"\n") * 20,
    "many continuations": lambda: b"MVL*a*b: \\\n" * 200000,
    "many resources": lambda: b"".join(b"MVL*t*n%d: v\n" % i for i in range(3000)),
    "one resource again and again": lambda: b"! c\nMVL*a*b: c\n" * 100000,
    "NUL bytes": lambda: b"MVL*a\0*b: c\nMVL*\0\n\0\n",
    "only NUL bytes": lambda: bytes(LONG),
    "binary": lambda: pathlib.Path(PROGRAM).read_bytes()[:LONG],
}


def hostile(scratch, kind, make):
    arrange(scratch)
    path = scratch.path(KINDS[kind])
    data = make()
    if kind == "mechanism":
        data = data.replace(b"Proof_Obligations", b"mechanism")
    path.write_bytes(data)
    run = play_all(scratch, limit_s=6 * LIMIT_S)
    if kind == "pos" and run.status != 0:
        scratch.assertTrue(path.read_bytes() == data, "a run that failed changed the file")


# --- Things that are no files ---------------------------------------------------------------------


def put_socket(path):
    with socket.socket(socket.AF_UNIX) as server:
        server.bind(str(path))


def put_link_to(target):
    return lambda path: path.symlink_to(target)


def put_loop(path):
    path.symlink_to(path.with_name("loop"))
    path.with_name("loop").symlink_to(path)


def put_locked(path):
    path.write_bytes(b"<a/>")
    path.chmod(0)


THINGS = {"nothing": lambda path: None, "a directory": os.mkdir, "a FIFO": os.mkfifo,
          "a socket": put_socket, "/dev/null": put_link_to("/dev/null"),
          "/dev/zero": put_link_to("/dev/zero"), "/dev/full": put_link_to("/dev/full"),
          "/dev/tty": put_link_to("/dev/tty"), "a link to nothing": put_link_to("nowhere"),
          "a link to itself": put_loop, "a link to a directory": put_link_to("work"),
          "/proc/self/mem": put_link_to("/proc/self/mem"), "a locked file": put_locked}


def thing(scratch, kind, put):
    arrange(scratch)
    path = scratch.path(KINDS[kind])
    path.unlink()
    put(path)
    user = ()
    if os.geteuid() == 0 and put is put_locked:
        user = AS_NOBODY
        for folder in (scratch.root, scratch.path("work")):
            folder.chmod(0o777)

    def mode():
        return path.lstat().st_mode if os.path.lexists(path) else None
    was = mode()
    play_all(scratch, user=user)
    scratch.assertEqual(was, mode(), f"{path} became something else")


def main():
    campaign = Campaign(__doc__, rounds=8)
    # What needs more than any document here is worth may not take the machine down.
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    for kind in KINDS:
        for name, put in THINGS.items():
            campaign.round("things in place of files", f"{name} for {kind}", thing, kind, put)
    for kind in ("pos", "mechanism"):
        for name, make in DOCUMENTS.items():
            if kind == "mechanism" and name in ("huge attribute", "huge text"):
                continue  # The same reader; once is slow enough.
            campaign.round("hostile documents", f"{name} as {kind}", hostile, kind, make)
    for name, make in RESOURCE_FILES.items():
        campaign.round("hostile resource files", name, hostile, "resources", make)
    for kind in KINDS:
        for number in range(3 * campaign.rounds):
            campaign.round("damaged files", f"{kind} {number}", damaged, campaign.random, kind)
    campaign.exit()


if __name__ == "__main__":
    main()
