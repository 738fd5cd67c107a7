"""What is wrong with files: told with the place, and nothing is changed."""

import os

import pytest
from conftest import goal, obligations, po, rows

import xml.etree.ElementTree as ET

PROGRAM = "kelvarune-goals"

CHECK = "(assert true)\n(check-sat)\n"
GIVE_UP = "1 file cannot be used, nothing was changed; --skip-broken leaves it out"


def link(target):
    return lambda path: path.symlink_to(target)


def unreadable(path):
    path.write_text(CHECK)
    path.chmod(0)


AS_ANYBODY = () if os.geteuid() else ("setpriv", "--bounding-set=-dac_override,-dac_read_search")


@rows("make, lines", {
    "nothing": (lambda path: None, ["no goals in ROOT/src, nothing was changed"]),
    "no goals": (lambda path: path.write_text("(assert true)"),
                 ["no goals in ROOT/src, nothing was changed"]),
    "broken": (lambda path: path.write_text("(check-sat)\n(assert (\n"),
               ["ROOT/src/a.smt2:2:1: *", GIVE_UP]),
    "NUL": (lambda path: path.write_bytes(b"(check-sat)\n\0"),
            ["ROOT/src/a.smt2:2:1: *", GIVE_UP]),
    "deep": (lambda path: path.write_text("(" * 1_000_000), ["ROOT/src/a.smt2:1:*", GIVE_UP]),
    "unreadable": (unreadable, ["ROOT/src/a.smt2: cannot be read: Permission denied", GIVE_UP]),
    "link to itself": (link("a.smt2"), [
        "ROOT/src/a.smt2: cannot be read: Too many levels of symbolic links", GIVE_UP]),
    "pipe": (os.mkfifo, ["ROOT/src/a.smt2: cannot be read: it is no regular file", GIVE_UP])})
def test_refused(case, make, lines):
    case.path("src").mkdir()
    make(case.path("src/a.smt2"))
    run = case.run("import", "-o", "c", "src", status=2, out="", err=None, under=AS_ANYBODY)
    told = run.err.decode().replace(str(case.root), "ROOT").splitlines()
    for line, want in zip(told, lines, strict=True):
        assert line.removeprefix("kelvarune-goals: ").startswith(want.rstrip("*")), told
        assert want.endswith("*") or line.endswith(want)
    assert not list(case.root.glob("c.*")) and not list(case.root.glob(".c*"))
    case.write("src/good.smt2", CHECK)
    case.run("import", "-o", "c", "src", "--skip-broken", out=None, err=None, under=AS_ANYBODY)
    case.run("list", "c.pog", out="good.1  Unproved  src/good.smt2:2\n")


def test_odd_names(case):
    src = os.fsencode(case.path("src"))
    for name in (b"a b.smt2", b"a_b.smt2", b"a?b.p", b"\xff\n.smt2", "é.smt2".encode(), b"%41.smt2",
                 b".hidden.smt2", b"sub/x.smt2", b"x.ax", b"none.txt"):
        path = os.path.join(src, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="ascii") as file:
            file.write("fof(c,conjecture,p).\n" if name.endswith(b".p") else
                       f"(declare-const x{len(name)} Int)\n{CHECK}")
    os.symlink("..", os.path.join(src, b"sub/up"))  # round and round
    os.symlink(".", os.path.join(src, b"here"))
    lists = []
    for name in ("c", "d"):
        case.run("import", "-o", name, "src", out=None)
        lists.append(case.run("digests", f"{name}.pog", out=None).out)
    assert lists[0] == lists[1]
    tags = [line.split("\t")[0] for line in lists[0].decode().splitlines()]
    assert tags == ["_41", "a_b", "a_b~2", "a_b~3", "é", "__", "sub/x"]
    case.run("export", "c.pog", "out", out="out: 7 goals\n")
    case.run("import", "-o", "e", os.fsdecode(src + b"/\xff\n.smt2"), out="e.pos: 1 goal in 1 obligation\n")


@rows("name, content, line", {
    "another format": ("c.pog", b"<pog/>", "c.pog: is there already and not made by this program"),
    "cut off": ("c.pos", b"<Proof_Obligations>", "c.pos:1:20: not well-formed"),
    "no statuses": ("c.pos", b"<other/>", "c.pos:1:7: no status file: its root element is other")})
def test_what_is_there(case, name, content, line):
    case.write("src/a.smt2", CHECK)
    case.write(name, content)
    err = case.run("import", "-o", "c", "src", status=2, out="", err=None).err.decode()
    assert err.startswith(f"kelvarune-goals: {line}") and case.path(name).read_bytes() == content
    assert len(list(case.root.glob("c.*"))) == 1


@pytest.mark.parametrize("adopt", [False, True])
def test_a_status_file_written_by_hand(case, adopt):
    case.write("src/a.smt2", CHECK)
    case.write("c.pos", ET.tostring(obligations(po("a", goal(state="Proved(1)", status="Proved")))))
    end = " had no digest, --adopt takes such goals as unchanged; as it was: c.pos.~1~\n"
    case.run("import", "-o", "c", "src", *["--adopt"] * adopt,
             out="c.pos: 1 goal: 1 kept, 0 moved, 0 changed, 0 added, 0 removed; 1 goal had no "
                 "digest\n" if adopt else
                 "c.pos: 1 goal: 0 kept, 0 moved, 1 changed, 0 added, 0 removed; 1 goal" + end)
    case.run("list", "c.pog", out=("a.1  Proved  " if adopt else "a.1  Unproved  ") + "src/a.smt2:2\n")
