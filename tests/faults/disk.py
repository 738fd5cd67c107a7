#!/usr/bin/env python3
"""Lets every file-system call of every save go wrong in turn, and fills the disk.

The path of the POS file names a complete document at every moment, and after every fault; a save
that fails is told in one line per reason; the run goes on, and the next save that works writes
everything. Links, modes and owners of the POS file survive, and so do the bytes of one that is not
well-formed.
"""

import errno
import fcntl
import itertools
import os
import shutil
import signal
import subprocess

from campaign import (PROGRAM, TEMPORARY, Campaign, disk_settings, goal, has_faulty_disk, mech,
                      po)

GOALS = 3
MALFORMED_TAIL = b"<Proof_Obl"
NOT_WRITABLE = (errno.EACCES, errno.EROFS)

# How a call goes wrong: the settings of the preloaded library.
FAULTS = {
    **{name: {"FAULT_ACTION": "fail", "FAULT_ERRNO": str(getattr(errno, name))}
       for name in ("ENOSPC", "EIO", "EACCES")},
    "short": {"FAULT_ACTION": "short"},
    "torn, ENOSPC": {"FAULT_ACTION": "torn", "FAULT_ERRNO": str(errno.ENOSPC)},
    "full from there on": {"FAULT_ACTION": "fail", "FAULT_ERRNO": str(errno.ENOSPC),
                           "FAULT_PERSIST": "space"},
    "broken from there on": {"FAULT_ACTION": "fail", "FAULT_ERRNO": str(errno.EIO),
                             "FAULT_PERSIST": "1"},
    "killed before": {"FAULT_ACTION": "kill"},
    "killed after": {"FAULT_ACTION": "killafter"},
}
# Faults that say nothing of the disk but of a wrong approach; all saves must still succeed.
HARMLESS = ("short",)


def plain(scratch):
    scratch.component(GOALS)


def linked(scratch):
    plain(scratch)
    scratch.path("elsewhere").mkdir()
    scratch.path("comp.pos").rename(scratch.path("elsewhere/comp.pos"))
    scratch.path("comp.pos").symlink_to("elsewhere/comp.pos")


def malformed(scratch):
    plain(scratch)
    whole = scratch.path("comp.pos").read_bytes()
    scratch.write("comp.pos", whole.replace(b"</Proof_Obligations>", MALFORMED_TAIL))


LAYOUTS = {"plain": plain, "link": linked, "malformed": malformed}


def play(scratch, *args, **settings):
    """Runs the program with the preloaded library; returns the run and the counted calls."""
    for name in ("calls", "states"):
        shutil.rmtree(scratch.path(name), ignore_errors=True)
        scratch.path(f"{name}.log").unlink(missing_ok=True)
    scratch.path("states").mkdir()
    env = disk_settings(FAULT_WATCH=str(scratch.path("comp.pos")),
                        FAULT_SNAPSHOTS=str(scratch.path("states")),
                        FAULT_LOG=str(scratch.path("calls.log")), **settings)
    run = scratch.end(scratch.start(*(args or scratch.argv()), env=env))
    log = scratch.path("calls.log")
    return run, log.read_text().splitlines() if log.exists() else []


def assert_complete(scratch, before, in_place=False):
    """Every state that the path ever had is a whole document, and none loses a verdict again.
    Written in place, only the last one need be. Returns the number of verdicts in the file."""
    proved = 0
    for number in range(1, 1 if in_place else len(os.listdir(scratch.path("states"))) + 1):
        data = scratch.path(f"states/{number}").read_bytes()
        if data != before:
            now = sum(scratch.states(data))
            if now < proved:
                raise AssertionError(f"state {number} has fewer verdicts than the one before")
            proved = now
    final = scratch.path("comp.pos").read_bytes()
    if final != before:
        return sum(scratch.states(final))
    return 0


def assert_tidied(scratch):
    """A run that saves leaves neither its own temporary files nor those of others."""
    left = [str(p) for p in scratch.root.rglob("*" + TEMPORARY)]
    if left:
        raise AssertionError(f"temporary files left: {left}")


def complaint(error):
    return f"Cannot save POS file comp.pos: {os.strerror(error)}.\n".encode()


def one_call(scratch, campaign, layout, fault, number):
    LAYOUTS[layout](scratch)
    before = scratch.path("comp.pos").read_bytes()
    settings = FAULTS[fault]
    run, _ = play(scratch, FAULT_AT=str(number), **settings)
    killed = settings["FAULT_ACTION"].startswith("kill")
    status = -signal.SIGKILL if killed else 0
    if run.status != status:
        raise AssertionError(f"status {run.status}\n{run}")
    # A refusal means that nothing can be renamed here, and so the file is written in place.
    proved = assert_complete(scratch, before, in_place=fault == "EACCES")
    shown = run.out.count(b"+")
    error = int(settings.get("FAULT_ERRNO", "0"))
    if not killed:
        if run.err not in (b"", complaint(error)):
            raise AssertionError(f"standard error\n{run}")
        not_loaded = shown == 0 and b"Error comp .pos" in run.out
        if proved < shown and not run.err and error not in NOT_WRITABLE:
            raise AssertionError(f"{shown - proved} verdicts are not saved, none the wiser\n{run}")
        if shown != GOALS and not not_loaded:
            raise AssertionError(f"the run did not go on\n{run}")
        if fault in HARMLESS and (proved, run.err) != (GOALS, b""):
            raise AssertionError(f"{proved} verdicts saved\n{run}")
        campaign.note(f"sweep of {layout}", "verdicts told as unsaved", max(shown - proved, 0))
    elif shown - proved > 1:
        raise AssertionError(f"{shown} verdicts shown, {proved} saved\n{run}")
    if layout == "malformed" and proved and scratch.path("comp.pos~").read_bytes() != before:
        raise AssertionError("the original bytes are lost")
    # The disk is well again: the next run saves the rest and tidies up.
    run = scratch.end(scratch.start(*scratch.argv()))
    proved = assert_complete(scratch, before, in_place=True)
    if (run.status, run.err, proved) != (0, b"", GOALS):
        raise AssertionError(f"the next run did not finish the work\n{run}")
    if run.out.count(b"+"):
        assert_tidied(scratch)


def sweep(campaign, layout):
    name = f"sweep of {layout}"
    if not campaign.wants(name):
        return
    calls = []

    def untouched(scratch):
        LAYOUTS[layout](scratch)
        run, counted = play(scratch)
        if (run.status, run.err, sum(scratch.states())) != (0, b"", GOALS):
            raise AssertionError(f"without a fault\n{run}")
        assert_tidied(scratch)
        calls.extend(counted)

    campaign.round(name, "no fault", untouched)
    if not calls:
        return
    kinds = sorted({line.split()[1] for line in calls})
    print(f"{name}: {len(calls)} calls: {', '.join(kinds)}", flush=True)
    # A short run can do with every so many calls of every kind of fault.
    step = max(1, len(calls) * len(FAULTS) // max(campaign.rounds, 1))
    cases = [(number, fault) for number in range(1, len(calls) + 1) for fault in FAULTS]
    for number, fault in cases[campaign.options.seed % step::step]:
        if fault in ("short", "torn, ENOSPC") and "write" not in calls[number - 1]:
            continue
        label = f"call {number} ({calls[number - 1]}), {fault}"
        campaign.round(name, label, one_call, campaign, layout, fault, number)


# --- Reasons are told once ------------------------------------------------------------------------


def two_mechanisms(scratch, jobs):
    """A full disk is told once in the whole run, not once per mechanism."""
    scratch.component(GOALS)
    for name in ("m", "n"):
        scratch.mechanism(scratch.driver("d1"), name=name, trust="always", folder="mechanisms")
    both = goal(mech("m", d1="Proved"), mech("n", d1="Proved"))
    scratch.pos(*[po(f"T{i}", both) for i in range(GOALS)])
    run, _ = play(scratch, "-M", "mechanisms", "-s", "comp.pos", "-p", "comp.pog", "-d", "work",
                  "-c", jobs, FAULT_AT="1", **FAULTS["full from there on"])
    if run.err != complaint(errno.ENOSPC):
        raise AssertionError(f"not told exactly once\n{run}")


# --- A disk that is really full -------------------------------------------------------------------


class Tmpfs:
    """A small file system of its own on `path`; None inside where it cannot be had."""

    def __init__(self, path, size):
        self.path = path
        path.mkdir(exist_ok=True)
        command = ["mount", "-t", "tmpfs", "-o", f"size={size}", "none", str(path)]
        try:
            self.mounted = subprocess.run(command, stderr=subprocess.DEVNULL).returncode == 0
        except OSError:
            self.mounted = False

    def __enter__(self):
        return self if self.mounted else None

    def __exit__(self, *_):
        if self.mounted:
            subprocess.run(["umount", "--lazy", str(self.path)], check=True)

    def fill(self, leave=0):
        """Writes a file `filler` until only `leave` bytes are free."""
        left = os.statvfs(self.path)
        with open(self.path / "filler", "wb") as file:
            file.write(b"#" * (left.f_bavail * left.f_frsize - leave))


def full_disk(scratch, campaign, jobs, leave, hard_link):
    """The disk is full for the first saves; then the prover of a late goal makes room. A file with
    another hard link is written in place."""
    goals = 40  # Several pages: the document grows while the disk is full.
    free = f"read -r i j; [ $i = {goals - 5} ] && rm -f '{{}}'; echo $i $j\n"
    with Tmpfs(scratch.path("small"), "64k") as disk:
        if disk is None:
            campaign.note("full disk", "skipped (mounting is not permitted)")
            return
        scratch.component(goals, prover=free.format(disk.path / "filler"))
        shutil.move(scratch.path("comp.pos"), disk.path / "comp.pos")
        scratch.path("comp.pos").symlink_to("small/comp.pos")
        if hard_link:
            os.link(disk.path / "comp.pos", disk.path / "other.pos")
        disk.fill(leave)
        run = scratch.end(scratch.start(*scratch.argv("-c", jobs)))
        if run.status != 0 or run.err.count(b"Cannot save POS file") > 1:
            raise AssertionError(str(run))
        if run.err not in (b"", complaint(errno.ENOSPC)):
            raise AssertionError(str(run))
        campaign.note("full disk", "runs that told of it", 1 if run.err else 0)
        if scratch.states() != [True] * goals:
            raise AssertionError(f"{sum(scratch.states())} verdicts saved\n{run}")
        assert_tidied(scratch)


def stopped_on_full_disk(scratch, campaign, jobs):
    """A SIGTERM while the disk is full: what was saved last stays."""
    with Tmpfs(scratch.path("small"), "64k") as disk:
        if disk is None:
            return
        scratch.component(GOALS, prover='read -r i j; [ "$i" = 2 ] && { : >busy; exec sleep 300; }'
                                        "; echo $i $j\n")
        shutil.move(scratch.path("comp.pos"), disk.path / "comp.pos")
        scratch.path("comp.pos").symlink_to("small/comp.pos")
        disk.fill()
        before = scratch.path("comp.pos").read_bytes()
        process = scratch.start(*scratch.argv("-c", jobs))
        scratch.wait_for(scratch.path("busy").exists, "the last goal")
        scratch.wait_for(lambda: scratch.path("stdout").read_bytes().count(b"+") == 2, "marks")
        process.send_signal(signal.SIGTERM)
        run = scratch.end(process)
        if run.status != 1 or run.err != complaint(errno.ENOSPC):
            raise AssertionError(str(run))
        if scratch.path("comp.pos").read_bytes() != before:
            scratch.states()
        assert_tidied(scratch)


# --- What a save keeps ----------------------------------------------------------------------------


def replay(scratch, proved=GOALS, program=(), argv=None):
    """An undisturbed run, after which that many goals are proved; returns standard error."""
    command = [*program, PROGRAM, *(argv or scratch.argv())]
    run = scratch.end(scratch.start(*command[1:], program=command[0]))
    if run.status != 0:
        raise AssertionError(str(run))
    if proved is not None and sum(scratch.states()) != proved:
        raise AssertionError(f"{sum(scratch.states())} verdicts saved\n{run}")
    return run.err.decode()


def expect(what, wanted, found):
    if wanted != found:
        raise AssertionError(f"{what}: wanted {wanted!r}, found {found!r}")


def keep_relative_link(scratch):
    linked(scratch)
    replay(scratch)
    expect("link", "elsewhere/comp.pos", os.readlink(scratch.path("comp.pos")))
    expect("entries", ["comp.pos"], os.listdir(scratch.path("elsewhere")))


def keep_chain_of_links(scratch):
    linked(scratch)
    scratch.path("comp.pos").rename(scratch.path("second"))
    scratch.path("comp.pos").symlink_to(scratch.path("second"))
    replay(scratch)
    expect("first link", str(scratch.path("second")), os.readlink(scratch.path("comp.pos")))
    expect("second link", "elsewhere/comp.pos", os.readlink(scratch.path("second")))


def keep_hard_link(scratch):
    plain(scratch)
    os.link(scratch.path("comp.pos"), scratch.path("other name"))
    replay(scratch)
    expect("links", 2, scratch.path("comp.pos").stat().st_nlink)
    expect("other name", scratch.path("comp.pos").read_bytes(),
           scratch.path("other name").read_bytes())


def keep_mode(scratch):
    for mode in (0o600, 0o640, 0o666, 0o444, 0o2755):
        plain(scratch)
        scratch.path("comp.pos").chmod(mode)
        writable = mode & 0o200 or os.geteuid() == 0
        replay(scratch, proved=GOALS if writable else 0)
        expect("mode", oct(mode), oct(scratch.path("comp.pos").stat().st_mode & 0o7777))


def keep_owner(scratch):
    if os.geteuid() != 0:
        return
    plain(scratch)
    os.chown(scratch.path("comp.pos"), 12345, 54321)
    replay(scratch)
    found = scratch.path("comp.pos").stat()
    expect("owner", (12345, 54321), (found.st_uid, found.st_gid))


def keep_attributes(scratch):
    plain(scratch)
    try:
        os.setxattr(scratch.path("comp.pos"), "user.note", b"keep\0me")
    except OSError:
        return  # Not on this file system.
    replay(scratch)
    expect("attribute", b"keep\0me", os.getxattr(scratch.path("comp.pos"), "user.note"))


def keep_without_directory(scratch):
    """As an ordinary user in a directory where nothing can be created: written in place."""
    if os.geteuid() != 0:
        return
    linked(scratch)
    for folder in (scratch.root, scratch.path("work")):
        folder.chmod(0o777)
    scratch.path("elsewhere").chmod(0o755)
    os.chown(scratch.path("elsewhere/comp.pos"), 65534, 65534)
    user = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
    inode = scratch.path("comp.pos").stat().st_ino
    error = replay(scratch, program=user)
    expect("standard error", "", error)
    expect("inode", inode, scratch.path("comp.pos").stat().st_ino)


def keep_mount_point(scratch):
    """A POS file that is mounted over another cannot be renamed over: written in place."""
    plain(scratch)
    scratch.path("comp.pos").rename(scratch.path("elsewhere.pos"))
    scratch.write("comp.pos", "")
    bind = ["mount", "--bind", str(scratch.path("elsewhere.pos")), str(scratch.path("comp.pos"))]
    if os.geteuid() != 0 or subprocess.run(bind, stderr=subprocess.DEVNULL).returncode != 0:
        return
    try:
        error = replay(scratch)
        expect("standard error", "", error)
        expect("entries", [], [n for n in os.listdir(scratch.root) if n.endswith(TEMPORARY)])
    finally:
        subprocess.run(["umount", "--lazy", str(scratch.path("comp.pos"))], check=True)


def keep_malformed_bytes(scratch):
    malformed(scratch)
    scratch.path("comp.pos").chmod(0o640)
    before = scratch.path("comp.pos").read_bytes()
    replay(scratch)
    expect("backup", before, scratch.path("comp.pos~").read_bytes())
    expect("mode", 0o640, scratch.path("comp.pos~").stat().st_mode & 0o777)
    # Well-formed by now: the next runs leave the copy alone.
    replay(scratch, argv=scratch.argv("-c", 8))
    expect("backup", before, scratch.path("comp.pos~").read_bytes())


def keep_malformed_without_backup(scratch):
    """Where no copy can be made the file is not touched."""
    malformed(scratch)
    scratch.path("comp.pos~").mkdir()
    before = scratch.path("comp.pos").read_bytes()
    error = replay(scratch, proved=None)
    expect("standard error", "Cannot save POS file comp.pos: Is a directory.\n", error)
    expect("content", before, scratch.path("comp.pos").read_bytes())


def keep_missing_and_read_only(scratch):
    plain(scratch)
    scratch.path("comp.pos").unlink()
    replay(scratch, proved=None)
    expect("created", False, scratch.path("comp.pos").exists())
    scratch.path("comp.pos").symlink_to("nowhere")
    replay(scratch, proved=None)
    expect("created", False, scratch.path("nowhere").exists())


def keep_long_name(scratch):
    """The temporary file finds room for its name beside the longest name there is."""
    plain(scratch)
    name = "n" * 251 + ".pos"
    scratch.path("comp.pos").rename(scratch.path(name))
    replay(scratch, proved=None, argv=["-m", "m.xml", "-s", name, "-p", "comp.pog", "-d", "work"])
    expect("verdicts", [True] * GOALS, scratch.states(scratch.path(name).read_bytes()))


def keep_strangers(scratch):
    """Files of others with similar names, and a temporary file in use, are none of our business."""
    plain(scratch)
    names = [".comp.pos.1-1.kelvarune-other", ".kelvarune-new", f".other.pos.1-1{TEMPORARY}",
             "comp.pos.bak"]
    for name in names:
        scratch.write(name, "mine")
    with open(scratch.write(f".comp.pos.1-2{TEMPORARY}", "in use"), "rb") as used:
        fcntl.flock(used, fcntl.LOCK_EX)
        scratch.write(f".comp.pos.1-1{TEMPORARY}", "left behind")
        replay(scratch)
    expect("left over", False, scratch.path(f".comp.pos.1-1{TEMPORARY}").exists())
    expect("in use", True, scratch.path(f".comp.pos.1-2{TEMPORARY}").exists())
    for name in names:
        expect(name, b"mine", scratch.path(name).read_bytes())


KEPT = {name[5:].replace("_", " "): action for name, action in list(globals().items())
        if name.startswith("keep_")}


def main():
    campaign = Campaign(__doc__, rounds=150)
    if not has_faulty_disk():
        raise SystemExit("The environment variable KELVARUNE_FAULTY_DISK must name the library.")
    for name, action in KEPT.items():
        campaign.round("kept", name, action)
    for jobs in campaign.jobs:
        campaign.round("told once", f"{jobs} jobs", two_mechanisms, jobs)
        for leave, hard_link in itertools.product((0, 4096, 8192), (False, True)):
            label = f"{jobs} jobs, {leave} bytes left, hard link: {hard_link}"
            campaign.round("full disk", label, full_disk, campaign, jobs, leave, hard_link)
        campaign.round("full disk", f"{jobs} jobs, stopped", stopped_on_full_disk, campaign, jobs)
    for layout in LAYOUTS:
        sweep(campaign, layout)
    campaign.exit()


if __name__ == "__main__":
    main()
