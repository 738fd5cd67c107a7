"""Lets the calls of saving go wrong, the disk fill up and other programs come in. The path names
a complete document at every moment, and a save that fails is reported once per reason. With
`--rounds 1` every call that has to do with the POS file goes wrong in turn, else one of each kind.
"""

import collections
import errno
import os
import re
import signal
import subprocess

import pytest

from conftest import AS_NOBODY, REPLAY, candidate, po, rows

GOALS = 3
CALLS = ("openat,writev,fallocate,ftruncate,fchmod,fchown,flock,fcntl,lseek,fdatasync,fsync,"
         "rename,renameat2,unlink,flistxattr")
STRACE = ("strace", "-y", "-o", "calls")  # the calls, with the paths of descriptors
FOREIGN = "POS file comp.pos was changed by another program; that content is kept as comp.pos~.\n"


def complaint(name):
    return f"Cannot save POS file comp.pos: {os.strerror(getattr(errno, name))}.\n"


def plain(case):
    for path in case.root.rglob("*comp.pos*"):
        path.unlink()
    case.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])


def linked(case):
    plain(case)
    case.path("elsewhere").mkdir(exist_ok=True)
    case.path("comp.pos").rename(case.path("elsewhere/comp.pos"))
    case.path("comp.pos").symlink_to("elsewhere/comp.pos")


def malformed(case):
    linked(case)  # its copy lies in another folder than its temporary files
    case.path("comp.pos").write_bytes(case.path("comp.pos").read_bytes()[:-5])


def temporaries(case):
    return list(case.root.rglob(".*.kelvarune-new"))


@pytest.fixture
def disk(case):
    """The scratch component whose tools prove everything; the prover runs `meanwhile` first."""
    if subprocess.run(["strace", "true"], capture_output=True, check=False).returncode:
        pytest.skip("tracing is not permitted here")
    case.script("meanwhile", "")
    case.script("prover", f"read -r i j; {case.root}/tools/meanwhile $i\necho $i $j\n")
    case.script("reader", "read -r i j; echo Proved\n")
    case.mechanism(trust="always")
    plain(case)
    return case


def traced(case, *options):
    return case.run(*REPLAY, under=(*STRACE, f"-etrace={CALLS}", *options), status=None, err=None)


def calls_of(case):
    """The calls that have to do with the POS file: name and which of that name it is."""
    seen = collections.Counter()
    for line in case.path("calls").read_text().splitlines():
        name = line.partition("(")[0]
        seen[name] += 1
        if "comp.pos" in line or name == "fsync":
            yield name, seen[name]


@pytest.mark.parametrize("layout", [plain, linked, malformed])
@pytest.mark.parametrize("fault", ["error=EIO", "error=ENOSPC", "error=EROFS", "error=EACCES", "signal=KILL"])
def test_each_call_goes_wrong_once(disk, pytestconfig, layout, fault):
    layout(disk)
    before = disk.path("comp.pos").read_bytes()
    traced(disk)
    assert (disk.proved(), temporaries(disk)) == (GOALS, [])
    calls = list(calls_of(disk))
    one_of_each = {**dict(calls), **dict(calls[:-9])}.items()  # and not the last save's
    for name, number in calls if pytestconfig.getoption("--rounds") else one_of_each:
        layout(disk)
        run = traced(disk, f"--inject={name}:{fault}:when={number}")
        shown = run.out.count(b"+")
        saved = disk.proved() if disk.path("comp.pos").read_bytes() != before else 0
        words = f"{name} {number} {run}"
        if fault == "signal=KILL":
            assert run.status == -signal.SIGKILL and saved >= shown - 1, words
        else:
            reported = re.sub("Cannot lock .*no other run is kept away.\n", "", run.err.decode())
            assert reported in ("", complaint(fault[6:])), words
            assert shown == GOALS or b"Error comp .pos" in run.out, words
            assert saved == shown or reported, words
        disk.run(*REPLAY)  # the disk is well again
        assert (disk.proved(), temporaries(disk)) == (GOALS, []), words
        assert layout != malformed or disk.path("comp.pos~").read_bytes() == before, words


def test_everything_is_flushed_before_and_after_the_names_change(disk):
    traced(disk)
    kinds = {"writev": "w", "fdatasync": "d", "renameat2": "x", "fsync": "s"}
    assert "".join(kinds.get(name, "") for name, _ in calls_of(disk)) == "wdxs" * GOALS


@pytest.mark.parametrize("call", ["writev", "ftruncate", "fdatasync", "fsync"])
def test_a_broken_disk_is_reported_once(disk, call):
    before = disk.path("comp.pos").read_bytes()
    disk.run(*REPLAY, err=complaint("EIO"), under=(*STRACE, f"--inject={call}:error=EIO"))
    assert call == "fsync" or disk.path("comp.pos").read_bytes() == before


def hard_linked(case):
    plain(case)
    os.link(case.path("comp.pos"), case.path("hard"))


def test_a_flush_in_place_that_fails_is_reported(disk):
    hard_linked(disk)
    disk.run(*REPLAY, err=complaint("EIO"), under=(*STRACE, "--inject=fdatasync:error=EIO"))


@rows("layout, reason, under", {
    "too large": (plain, "EFBIG", ("prlimit", "--fsize=512")),
    "too large, in place": (hard_linked, "EFBIG", ("prlimit", "--fsize=512")),
    "disk full, in place": (hard_linked, "ENOSPC", STRACE + ("--inject=fallocate:error=ENOSPC",))})
def test_save_that_is_refused_changes_nothing(disk, layout, reason, under):
    layout(disk)
    before = disk.path("comp.pos").read_bytes()
    disk.run(*REPLAY, under=under, err=complaint(reason))
    assert disk.path("comp.pos").read_bytes() == before


@rows("command, err, kept", {"replaced": ("mv next comp.pos", FOREIGN, True),
                             "gone": ("rm comp.pos", complaint("ENOENT"), False)})
def test_another_program_comes_in(disk, command, err, kept):
    disk.write("next", "<Proof_Obligations/>")
    disk.script("meanwhile", f"[ $1 = 0 ] || [ -e done ] || {{ >done; {command}; }}\n")
    run = disk.run(*REPLAY, err=err)
    assert (b"ErrorFile not readable comp.pos\n" not in run.out) == kept
    assert disk.path("comp.pos").exists() == kept and temporaries(disk) == []
    if kept:
        assert disk.path("comp.pos~").read_text() == "<Proof_Obligations/>"
        assert disk.proved() == GOALS


@pytest.mark.skipif(os.geteuid(), reason="takes root")
def test_directory_that_may_not_be_written(disk):
    linked(disk)
    for path in (disk.root, disk.path("work")):
        path.chmod(0o777)
    os.chown(disk.path("comp.pos"), 65534, 65534)
    inode = disk.path("comp.pos").stat().st_ino
    disk.run(*REPLAY, **AS_NOBODY)
    assert (disk.proved(), disk.path("comp.pos").stat().st_ino) == (GOALS, inode)
