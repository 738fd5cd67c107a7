"""SIGTERM at every stage of a run: verdicts reached so far are saved, secondary files are removed,
tools do not survive, and the status is 1."""

import fcntl
import os
import signal
import time
import unittest

from harness import FILES, ReplayCase, SLOWNESS, candidate, goal, mech, po

PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")


class InTheMiddle(ReplayCase):
    """Goal 2 of four keeps its tool busy until the signal comes."""

    def begin(self, jobs, role="prover"):
        return self.start_busy(str(jobs), role, candidate())

    def end(self, process):
        for _ in range(2):  # Twice is as good as once.
            process.send_signal(signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual(1, run.status, str(run))
        self.assertNotIn(b"TOTAL", run.out)
        return run

    def test_what_was_reached_is_saved_again(self):
        for jobs in (1, 4):
            for role in ("prover", "reader"):
                with self.subTest(jobs=jobs, role=role):
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
                process = self.begin(jobs, "writer")
                self.end(process)
                self.assertEqual(2 if jobs == 1 else 3, self.proved_on_disk())
                self.assertWorkIsEmpty()

    def test_a_removed_file_is_not_created_anew(self):
        process = self.begin(1)
        self.path("comp.pos").unlink()
        self.end(process)
        self.assertFalse(self.path("comp.pos").exists())

    def test_other_signals_are_not_handled(self):
        process = self.begin(1)
        process.send_signal(signal.SIGUSR1)
        run = self.finish(process)
        self.assertEqual(-signal.SIGUSR1, run.status, str(run))
        self.assertEqual(2, self.proved_on_disk())


class AtItsEnds(ReplayCase):
    """A full pipe as standard output stops the program at a chosen place."""

    def assertEnds(self, *args):
        """Sends the signal while the program waits to print; nobody ever reads what it prints."""
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        os.write(writing, b"#" * fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096))
        process = self.start(*args, stdout=writing)
        os.close(writing)
        time.sleep(0.2 * SLOWNESS)
        self.assertIsNone(process.poll(), "it did not wait")
        before = self.path("comp.pos").read_bytes()
        process.send_signal(signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual((1, b""), (run.status, run.err), str(run))
        self.assertEqual(before, self.path("comp.pos").read_bytes())

    def test_before_the_file_is_loaded(self):
        self.mechanism()
        self.pos(po("T0", candidate()))
        # The proving line is printed by a director that has not loaded anything yet.
        self.assertEnds("-m", "m.xml", *FILES)

    def test_before_any_mechanism(self):
        self.pos(po("T0", goal()))
        self.assertEnds("-M", ".", *FILES)


if __name__ == "__main__":
    unittest.main()
