"""SIGTERM at every stage of a run: verdicts reached so far are saved, secondary files are removed,
tools do not survive, and the status is 1."""

import fcntl
import os
import signal
import struct
import termios
import time
import unittest

from harness import (FILES, PROVER, ReplayCase, SLOWNESS, candidate, driver_pass, goal,
                     mech, parsed, po, proving, report)

PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")


class InTheMiddle(ReplayCase):
    """Goal 2 of four keeps its tool busy until the signal comes."""

    def begin(self, jobs, role="prover"):
        body = {"writer": f'[ "$2" = 2 ] && {{ : >"{self.root}/busy"; exec sleep 1000; }}\n',
                "prover": f'case $1 in *_2_0.po2) : >"{self.root}/busy"; exec sleep 1000;; esac\n'
                          + PROVER,
                "reader": f'read -r i j; [ "$i" = 2 ] && {{ : >"{self.root}/busy"; '
                          'exec sleep 1000; }\necho Proved\n'}
        if role == "writer":
            body["writer"] += "exec " + str(self.path("tools/writer")) + ' "$@"'
        self.script("busy", body[role])
        if role != "reader":
            self.answers({"*": "Proved"})
        self.mechanism(self.driver(stdin=False, **{role: "busy"}), trust="always")
        self.pos(*[po(f"T{i}", candidate()) for i in range(4)])
        process = self.start("-m", "m.xml", *FILES, "-c", str(jobs))
        self.wait_for(self.path("busy").exists, "the busy tool")
        done = 2 if jobs == 1 else 3
        self.wait_for(lambda: self.proved_on_disk() == done, "the other verdicts")
        return process

    def proved_on_disk(self):
        try:
            document = parsed(self.path("comp.pos").read_bytes())
        except Exception:  # It is just being written.
            return None
        return sum(e.get("status") == "Proved" for e in document.iter("Simple_Goal"))

    def end(self, process):
        process.send_signal(signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual(1, run.status, str(run))
        self.assertNotIn(b"TOTAL", run.out)
        return run

    def test_what_was_reached_is_saved_again(self):
        for jobs in (1, 4):
            for role in ("prover", "reader"):
                with self.subTest(jobs=jobs, role=role):
                    self.path("busy").unlink(missing_ok=True)
                    process = self.begin(jobs, role)
                    # What a stop saves is the document in memory, whole.
                    self.write("comp.pos", "spoiled")
                    self.end(process)
                    open_goals = (2, 3) if jobs == 1 else (2,)
                    self.assertPos(*[po(f"T{i}", candidate() if i in open_goals else PROVED)
                                     for i in range(4)])
                    self.assertWorkIsEmpty()

    def test_a_busy_writer_does_not_delay_the_end(self):
        for jobs in (1, 4):
            with self.subTest(jobs=jobs):
                self.path("busy").unlink(missing_ok=True)
                process = self.begin(jobs, "writer")
                self.end(process)
                self.assertEqual(2 if jobs == 1 else 3, self.proved_on_disk())
                self.assertWorkIsEmpty()

    def test_a_removed_file_is_not_created_anew(self):
        process = self.begin(1)
        self.path("comp.pos").unlink()
        self.end(process)
        self.assertFalse(self.path("comp.pos").exists())

    def test_two_signals_are_as_good_as_one(self):
        process = self.begin(4)
        process.send_signal(signal.SIGTERM)
        self.end(process)
        self.assertEqual(3, self.proved_on_disk())
        self.assertWorkIsEmpty()

    def test_other_signals_are_not_handled(self):
        process = self.begin(1)
        process.send_signal(signal.SIGUSR1)
        run = self.finish(process)
        self.assertEqual(-signal.SIGUSR1, run.status, str(run))
        self.assertEqual(2, self.proved_on_disk())


class AtItsEnds(ReplayCase):
    """A full pipe as standard output stops the program at a chosen place."""

    def start_with_room(self, room, *args, pages=1):
        """Starts the program when its standard output takes only so many bytes more."""
        self.reading, writing = os.pipe()
        self.addCleanup(os.close, self.reading)
        size = fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, pages * 4096)
        os.write(writing, b"#" * (size - room))
        process = self.start(*args, stdout=writing)
        os.close(writing)
        return process

    def waiting(self):
        return struct.unpack("i", fcntl.ioctl(self.reading, termios.FIONREAD, b"\0" * 4))[0]

    def assertEnds(self, process):
        """Sends the signal while the program waits to print; nobody ever reads what it prints."""
        time.sleep(0.2 * SLOWNESS)
        self.assertIsNone(process.poll(), "it did not wait")
        process.send_signal(signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual((1, b""), (run.status, run.err), str(run))

    def setUp(self):
        super().setUp()
        self.answers({"*": "Proved"})
        self.mechanism(trust="always")
        self.pos(po("T0", candidate()))

    def test_before_the_file_is_loaded(self):
        before = self.path("comp.pos").read_bytes()
        # The proving line is printed by a director that has not loaded anything yet.
        self.assertEnds(self.start_with_room(0, "-m", "m.xml", *FILES))
        self.assertEqual(before, self.path("comp.pos").read_bytes())

    def test_before_any_mechanism(self):
        self.pos(po("T0", goal()))
        before = self.path("comp.pos").read_bytes()
        self.assertEnds(self.start_with_room(0, "-M", ".", *FILES))
        self.assertEqual(before, self.path("comp.pos").read_bytes())

    def test_between_two_verdicts(self):
        # The program waits for a free page of the pipe, so the output must be more than a few.
        document = [po(f"T{i}" + "-" * 400, candidate()) for i in range(40)]
        for jobs in ("1", "4"):
            with self.subTest(jobs=jobs):
                self.pos(*document)
                process = self.start_with_room(4 * 4096, "-m", "m.xml", *FILES, "-c", jobs,
                                               pages=4)
                self.wait_for(lambda: self.waiting() > 2 * 4096, "the first pass")
                self.settled(self.waiting)
                self.assertEnds(process)
                shown = os.read(self.reading, 4 * 4096).count(b"+")
                saved = parsed(self.path("comp.pos").read_bytes()).iter("Simple_Goal")
                self.assertGreater(shown, 0)
                self.assertGreaterEqual(sum(e.get("status") == "Proved" for e in saved), shown)
                self.assertWorkIsEmpty()

    def test_unimpeded(self):
        self.expect("-m", "m.xml", *FILES, out=proving() + driver_pass("d1", 1, [("T0", "+")])
                    + report(proved=1, externally=1))


class AtAnyMoment(ReplayCase):
    def test_the_file_is_whole_and_holds_at_least_what_was_shown(self):
        goals = 40
        self.answers({"*": "Proved"})
        self.mechanism(trust="always")
        for round_, jobs in enumerate("1144" * 4):
            with self.subTest(round=round_, jobs=jobs):
                self.pos(*[po(f"T{i}", candidate()) for i in range(goals)])
                process = self.start("-m", "m.xml", *FILES, "-c", jobs)
                time.sleep((0.02 + 0.015 * round_) * SLOWNESS)
                process.send_signal(signal.SIGTERM)
                run = self.finish(process)
                self.assertIn(run.status, (0, 1, -signal.SIGTERM), str(run))
                document = parsed(self.path("comp.pos").read_bytes())
                states = [e.get("status") for e in document.iter("Simple_Goal")]
                self.assertEqual(goals, len(states))
                self.assertGreaterEqual(states.count("Proved"), run.out.count(b"+"), str(run))
                self.assertWorkIsEmpty()


if __name__ == "__main__":
    unittest.main()
