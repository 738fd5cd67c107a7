#!/usr/bin/env python3
"""Lets every file-system call of every save go wrong in turn, and fills the disk.

The path of the POS file names a complete document at every moment, and after every fault; a save
that fails is told in one line per reason; the run goes on, and the next save that works writes
everything. Links, modes and owners of the POS file survive, and so do the bytes of one that is not
well-formed. What a save keeps of every file is tested with the class that writes it; here are the
files that need care of the program.
"""

import contextlib
import errno
import itertools
import os
import shutil
import signal
import subprocess

from campaign import (AS_NOBODY, FILES, Campaign, disk_settings, goal, has_faulty_disk, mech, po)

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
    run = scratch.play(*args, env=env)
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
            scratch.assertGreaterEqual(now, proved, f"verdicts of state {number}")
            proved = now
    final = scratch.path("comp.pos").read_bytes()
    return sum(scratch.states(final)) if final != before else 0


def complaint(error):
    return f"Cannot save POS file comp.pos: {os.strerror(error)}.\n".encode()


def one_call(scratch, campaign, layout, fault, number):
    LAYOUTS[layout](scratch)
    before = scratch.path("comp.pos").read_bytes()
    settings = FAULTS[fault]
    run, _ = play(scratch, FAULT_AT=str(number), **settings)
    killed = settings["FAULT_ACTION"].startswith("kill")
    scratch.assertEqual(-signal.SIGKILL if killed else 0, run.status, run)
    # A refusal means that nothing can be renamed here, and so the file is written in place.
    proved = assert_complete(scratch, before, in_place=fault == "EACCES")
    shown = run.out.count(b"+")
    error = int(settings.get("FAULT_ERRNO", "0"))
    if killed:
        scratch.assertLessEqual(shown - proved, 1, run)
    else:
        scratch.assertIn(run.err, (b"", complaint(error)), run)
        if not run.err and error not in NOT_WRITABLE:
            scratch.assertGreaterEqual(proved, shown, f"unsaved, none the wiser\n{run}")
        if shown or b"Error comp .pos" not in run.out:
            scratch.assertEqual(GOALS, shown, f"the run did not go on\n{run}")
        if fault in HARMLESS:
            scratch.assertEqual((GOALS, b""), (proved, run.err), run)
        campaign.note(f"sweep of {layout}", "verdicts told as unsaved", max(shown - proved, 0))
    if layout == "malformed" and proved:
        scratch.assertEqual(before, scratch.path("comp.pos~").read_bytes())
    # The disk is well again: the next run saves the rest and tidies up.
    run = scratch.play()
    proved = assert_complete(scratch, before, in_place=True)
    scratch.assertEqual((0, b"", GOALS), (run.status, run.err, proved), run)
    if run.out.count(b"+"):
        scratch.assertEqual([], scratch.temporaries())


def sweep(campaign, layout):
    name = f"sweep of {layout}"
    if not campaign.wants(name):
        return
    calls = []

    def untouched(scratch):
        LAYOUTS[layout](scratch)
        run, counted = play(scratch)
        scratch.assertEqual((0, b"", GOALS), (run.status, run.err, sum(scratch.states())), run)
        scratch.assertEqual([], scratch.temporaries())
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
    run, _ = play(scratch, "-M", "mechanisms", *FILES, "-c", jobs, FAULT_AT="1",
                  **FAULTS["full from there on"])
    scratch.assertEqual(complaint(errno.ENOSPC), run.err)


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


@contextlib.contextmanager
def small_disk(scratch, campaign, goals, prover):
    """Puts a component's POS file on a small disk, and a link in its place."""
    with Tmpfs(scratch.path("small"), "64k") as disk:
        if disk is None:
            campaign.note("full disk", "skipped (mounting is not permitted)")
        else:
            scratch.component(goals, prover=prover)
            shutil.move(scratch.path("comp.pos"), disk.path / "comp.pos")
            scratch.path("comp.pos").symlink_to("small/comp.pos")
        yield disk


def full_disk(scratch, campaign, jobs, leave, hard_link):
    """The disk is full for the first saves; then the prover of a late goal makes room. A file with
    another hard link is written in place."""
    goals = 40  # Several pages: the document grows while the disk is full.
    free = f"read -r i j; [ $i = {goals - 5} ] && rm -f small/filler; echo $i $j\n"
    with small_disk(scratch, campaign, goals, free) as disk:
        if disk is None:
            return
        if hard_link:
            os.link(disk.path / "comp.pos", disk.path / "other.pos")
        disk.fill(leave)
        run = scratch.play(*scratch.argv("-c", jobs))
        scratch.assertEqual(0, run.status, run)
        scratch.assertIn(run.err, (b"", complaint(errno.ENOSPC)))
        campaign.note("full disk", "runs that told of it", 1 if run.err else 0)
        scratch.assertEqual([True] * goals, scratch.states(), run)
        scratch.assertEqual([], scratch.temporaries())


def stopped_on_full_disk(scratch, campaign, jobs):
    """A SIGTERM while the disk is full: what was saved last stays."""
    busy = 'read -r i j; [ "$i" = 2 ] && { : >busy; exec sleep 300; }; echo $i $j\n'
    with small_disk(scratch, campaign, GOALS, busy) as disk:
        if disk is None:
            return
        disk.fill()
        before = scratch.path("comp.pos").read_bytes()
        process = scratch.start(*scratch.argv("-c", jobs))
        scratch.wait_for(scratch.path("busy").exists, "the last goal")
        scratch.wait_for(lambda: scratch.path("stdout").read_bytes().count(b"+") == 2, "marks")
        process.send_signal(signal.SIGTERM)
        run = scratch.end(process)
        scratch.assertEqual((1, complaint(errno.ENOSPC)), (run.status, run.err), run)
        if scratch.path("comp.pos").read_bytes() != before:
            scratch.states()
        scratch.assertEqual([], scratch.temporaries())


# --- What a save keeps ----------------------------------------------------------------------------


def replay(scratch, proved=GOALS, user=(), argv=(), err=b""):
    """An undisturbed run, after which that many goals are proved."""
    run = scratch.play(*argv, user=user)
    scratch.assertEqual((0, err), (run.status, run.err), run)
    if proved is not None:
        scratch.assertEqual(proved, sum(scratch.states()), run)


def keep_chain_of_links(scratch):
    linked(scratch)
    scratch.path("comp.pos").rename(scratch.path("second"))
    scratch.path("comp.pos").symlink_to(scratch.path("second"))
    replay(scratch)
    scratch.assertEqual(str(scratch.path("second")), os.readlink(scratch.path("comp.pos")))
    scratch.assertEqual("elsewhere/comp.pos", os.readlink(scratch.path("second")))
    scratch.assertEqual(["comp.pos"], os.listdir(scratch.path("elsewhere")))


def keep_mode(scratch):
    for mode in (0o600, 0o640, 0o666, 0o444, 0o2755):
        plain(scratch)
        scratch.path("comp.pos").chmod(mode)
        writable = mode & 0o200 or os.geteuid() == 0
        replay(scratch, proved=GOALS if writable else 0)
        scratch.assertEqual(oct(mode), oct(scratch.path("comp.pos").stat().st_mode & 0o7777))


def keep_without_directory(scratch):
    """As an ordinary user in a directory where nothing can be created: written in place."""
    if os.geteuid() != 0:
        return
    linked(scratch)
    for folder in (scratch.root, scratch.path("work")):
        folder.chmod(0o777)
    scratch.path("elsewhere").chmod(0o755)
    os.chown(scratch.path("elsewhere/comp.pos"), 65534, 65534)
    inode = scratch.path("comp.pos").stat().st_ino
    replay(scratch, user=AS_NOBODY)
    scratch.assertEqual(inode, scratch.path("comp.pos").stat().st_ino)


def keep_mount_point(scratch):
    """A POS file that is mounted over another cannot be renamed over: written in place."""
    plain(scratch)
    scratch.path("comp.pos").rename(scratch.path("elsewhere.pos"))
    scratch.write("comp.pos", "")
    bind = ["mount", "--bind", str(scratch.path("elsewhere.pos")), str(scratch.path("comp.pos"))]
    if os.geteuid() != 0 or subprocess.run(bind, stderr=subprocess.DEVNULL).returncode != 0:
        return
    try:
        replay(scratch)
        scratch.assertEqual([], scratch.temporaries())
    finally:
        subprocess.run(["umount", "--lazy", str(scratch.path("comp.pos"))], check=True)


def keep_malformed_bytes(scratch):
    malformed(scratch)
    scratch.path("comp.pos").chmod(0o640)
    before = scratch.path("comp.pos").read_bytes()
    # Well-formed after the first run: the next one leaves the copy alone.
    for jobs in (1, 8):
        replay(scratch, argv=scratch.argv("-c", jobs))
        scratch.assertEqual(before, scratch.path("comp.pos~").read_bytes())
        scratch.assertEqual(0o640, scratch.path("comp.pos~").stat().st_mode & 0o777)


def keep_malformed_without_backup(scratch):
    """Where no copy can be made the file is not touched."""
    malformed(scratch)
    scratch.path("comp.pos~").mkdir()
    before = scratch.path("comp.pos").read_bytes()
    replay(scratch, proved=None, err=complaint(errno.EISDIR))
    scratch.assertEqual(before, scratch.path("comp.pos").read_bytes())


def keep_long_name(scratch):
    """The temporary file finds room for its name beside the longest name there is."""
    plain(scratch)
    name = "n" * 251 + ".pos"
    scratch.path("comp.pos").rename(scratch.path(name))
    replay(scratch, proved=None, argv=scratch.argv("-s", name))
    scratch.assertEqual([True] * GOALS, scratch.states(scratch.path(name).read_bytes()))


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
