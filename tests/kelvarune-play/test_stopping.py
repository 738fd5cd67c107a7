"""SIGINT, SIGTERM and SIGHUP: tools end with all that they started, secondary files go, what was
proved is saved, and the status tells the signal."""

import random
import signal
import time
import unittest

from harness import FILES, SLOWNESS, goal, mech, parsed, po
from playcase import STOP_SIGNALS, PlayCase, take_signals

PROVED = goal(mech("m", "Proved", d1="Proved"), status="Proved")
OPEN = goal(mech("m", d1="Unproved"))


class Stopping(PlayCase):
    """Of four goals the last but one keeps its tool busy until the signal comes."""

    BUSY = "{mark}; exec sleep 1000"
    # What the tool runs is not the tool itself, in a process group of its own for good measure.
    WRAPPED = "set -m; ({mark}; exec sleep 1000) & wait"

    def begin(self, jobs, role="prover", body=BUSY):
        return self.start_busy(jobs, role, goal(), body, preexec_fn=take_signals)

    def assertStops(self, process, number, jobs):
        sent = time.monotonic()
        status = process.wait(20 * SLOWNESS)
        self.assertLess(time.monotonic() - sent, 2 * SLOWNESS)
        self.assertEqual({}, {pid: words for pid, words in self.running().items()
                              if "kelvarune" not in words.split(" ")[0]})
        self.assertEqual(128 + number, status)
        run = self.finish(process)
        self.assertNotIn(b"TOTAL", run.out)
        self.assertEqual(b"", run.err)
        self.assertWorkIsEmpty()
        self.assertPos(*[po(f"T{i}", PROVED if i < 2 or (i, jobs) == (3, "4") else OPEN)
                         for i in range(4)])

    def test_each_signal_at_each_tool(self):
        rows = [(number, "prover", self.BUSY) for number in STOP_SIGNALS]
        rows += [(number, "prover", self.WRAPPED) for number in STOP_SIGNALS]
        rows += [(signal.SIGINT, "writer", self.BUSY), (signal.SIGINT, "reader", self.BUSY)]
        for number, role, body in rows:
            for jobs in ("1", "4"):
                with self.subTest(signal=number, role=role, body=body, jobs=jobs):
                    process = self.begin(jobs, role, body)
                    # What a stop saves is the document in memory, whole.
                    self.write("comp.pos", "spoiled")
                    process.send_signal(number)
                    self.assertStops(process, number, jobs)

    def test_all_signals_together(self):
        # As a terminal that is closed and a service manager may send them.
        for jobs in ("1", "4") * 3:
            with self.subTest(jobs=jobs):
                process = self.begin(jobs, body=self.WRAPPED)
                for number in STOP_SIGNALS:
                    process.send_signal(number)
                    time.sleep(0.001)
                process.wait(20 * SLOWNESS)
                self.assertIn(process.returncode - 128, STOP_SIGNALS)
                self.assertStops(process, process.returncode - 128, jobs)

    def test_an_ignored_hang_up_stays_ignored(self):
        process = self.start_busy("1", "prover", goal(), preexec_fn=lambda: signal.signal(
            signal.SIGHUP, signal.SIG_IGN))
        process.send_signal(signal.SIGHUP)
        time.sleep(0.3 * SLOWNESS)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        self.assertEqual(128 + signal.SIGTERM, self.finish(process).status)

    def test_at_any_moment(self):
        goals = 30
        self.answers({"*": "Proved"})
        self.mechanism(self.driver("d1"), self.driver("d2"), trust="redundancy")
        moments = random.Random(4)
        for round_ in range(9):
            number, jobs = STOP_SIGNALS[round_ % 3], "14"[round_ % 2]
            with self.subTest(round=round_, signal=number, jobs=jobs):
                self.pos(*[po(f"T{i}", goal()) for i in range(goals)])
                process = self.start("-m", "m.xml", *FILES, "-c", jobs, preexec_fn=take_signals)
                time.sleep(moments.uniform(0.01, 0.3) * SLOWNESS)
                process.send_signal(number)
                run = self.finish(process)
                # Early enough it meets the default action, late enough a run that has completed.
                self.assertIn(run.status, (0, 128 + number, -number), str(run))
                document = parsed(self.path("comp.pos").read_bytes())
                self.assertEqual(goals, len(list(document.iter("Simple_Goal"))))
                drivers = [e.get("status") for e in document.iter("Driver")]
                shown = run.out.split(b"TOTAL")[0]
                self.assertGreaterEqual(drivers.count("Proved"),
                                        shown.count(b"+") + shown.count(b"*"), str(run))
                self.assertWorkIsEmpty()


if __name__ == "__main__":
    unittest.main()
