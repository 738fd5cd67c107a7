"""The status line: on a terminal it is there while the program works and leaves no trace, however
the program ends; anywhere else there is nothing of it."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time
import unittest

from harness import FILES, LIMIT_S, PROGRAM, SLOWNESS, driver_pass, goal, po, proving, report
from playcase import PlayCase, take_signals
from screen import Screen

LINE = re.compile(r"d1: (\d+)/6, (\d+) proved, (\d+) running, \d+ s elapsed"
                  r"(?:, about (\d+) s left for d1)?")


WIDE = 130  # columns, for the longest line of the results


class Terminal(PlayCase):
    def setUp(self):
        super().setUp()
        # Slow enough for a few lines of status.
        self.script("slow", f"sleep {0.1 * SLOWNESS}\ncat")
        self.answers({"*": "Proved"})
        self.mechanism(self.driver(prover="slow"), trust="always")
    RESULTS = (proving() + driver_pass("d1", 6, [(f"T{i}", "++") for i in range(3)])
               + report(proved=6, externally=6))

    def size(self, rows, columns):
        fcntl.ioctl(self.slave, termios.TIOCSWINSZ, struct.pack("4H", rows, columns, 0, 0))

    def begin(self, *more, stdout=None, stderr=None, rows=24, columns=WIDE, **env):
        """Starts a run on untouched goals in the foreground of a new terminal."""
        self.pos(*[po(f"T{i}", goal(), goal()) for i in range(3)])
        self.master, self.slave = pty.openpty()
        self.addCleanup(os.close, self.slave)
        self.addCleanup(os.close, self.master)
        self.settings = termios.tcgetattr(self.slave)
        self.size(rows, columns)
        self.screen = Screen(rows or 24, columns or WIDE)

        def take_terminal():
            fcntl.ioctl(self.slave, termios.TIOCSCTTY, 0)
            take_signals()
        self.process = subprocess.Popen(
            [PROGRAM, "-m", "m.xml", *FILES, *more], cwd=self.root, start_new_session=True,
            stdin=self.slave, stdout=stdout or self.slave, stderr=stderr or self.slave,
            preexec_fn=take_terminal, env=self.environment({"TERM": "xterm"} | env))
        self.addCleanup(self.process.wait)
        self.addCleanup(self.kill_all)

    def hold(self):
        """Makes the tools of the next run wait for as long as there is the file "hold"."""
        self.script("slow", f"while [ -e '{self.root}/hold' ]; do sleep 0.02; done\ncat")
        self.write("hold", "")

    def read(self, limit_s):
        """Shows on the screen what comes within a while; False when nothing came."""
        if not select.select([self.master], [], [], limit_s)[0]:
            return False
        self.screen.feed(os.read(self.master, 65536))
        return True

    def read_until(self, condition):
        deadline = time.monotonic() + LIMIT_S
        while not condition():
            self.assertLess(time.monotonic(), deadline, self.screen.text())
            self.read(0.01)

    def shown(self):
        return [m for m in map(LINE.fullmatch, self.screen.last_lines) if m]

    def end(self, status=0):
        self.read_until(lambda: self.process.poll() is not None)
        while self.read(0):
            pass
        self.assertEqual(status, self.process.returncode, self.screen.text())
        self.assertTrue(self.screen.is_whole(), "the last row is still kept apart")
        self.assertEqual(self.settings, termios.tcgetattr(self.slave))
        self.assertNotIn("elapsed", self.screen.text())

    def test_a_line_while_it_works_and_the_results_as_ever(self):
        for rows, columns, jobs in ((5, WIDE, 1), (0, 0, 1), (24, WIDE, 2)):
            with self.subTest(rows=rows, jobs=jobs):
                self.begin("-c", str(jobs), rows=rows, columns=columns)
                self.end()
                want, got = self.RESULTS.expandtabs(), self.screen.text()
                if jobs > 1:  # then the marks come in any order
                    want, got = (sorted("".join(text.split())) for text in (want, got))
                self.assertEqual(want, got)
                self.assertTrue(self.shown(), self.screen.last_lines)
                for line in self.shown():
                    ended, proved, running, _ = (int(n or -1) for n in line.groups())
                    self.assertLessEqual(proved, ended)
                    self.assertLessEqual(running, jobs)
                    self.assertEqual(line[4] is not None, 3 <= ended < 6, line[0])

    def test_an_estimate_is_no_shorter_than_the_wait(self):
        self.script("slow", f"read -r a\ncase $a in '2 1') sleep {1.7 * SLOWNESS};; esac\necho $a")
        self.begin()
        self.end()
        self.assertGreaterEqual(max(int(m[4] or 0) for m in self.shown()), 1.5 * SLOWNESS)

    def test_results_elsewhere_and_a_narrow_terminal(self):
        with open(self.path("results"), "wb") as results:
            self.begin(stdout=results, columns=30)
        self.end()
        self.assertEqual(self.RESULTS, self.path("results").read_text())
        self.assertEqual({29}, set(map(len, self.screen.last_lines)))
        self.assertEqual("\n", self.screen.text())

    def test_nothing_of_it_elsewhere_and_on_a_dumb_terminal(self):
        with open(self.path("errors"), "wb") as errors:
            self.begin(stderr=errors)
        self.end()
        self.assertEqual(b"", self.path("errors").read_bytes())
        self.assertEqual(([], self.RESULTS.expandtabs()),
                         (self.screen.last_lines, self.screen.text()))
        self.begin(TERM="dumb")
        self.end()
        self.assertEqual([], self.screen.last_lines)

    def test_resized(self):
        self.hold()
        self.begin()
        self.read_until(self.shown)
        for rows, columns in ((12, WIDE), (20, WIDE), (20, WIDE + 9), (3, WIDE)):
            self.size(rows, columns)
            self.screen.resize(rows, columns)
            self.read_until(lambda: not self.screen.is_whole())
        self.path("hold").unlink()
        self.end()
        self.assertEqual(self.RESULTS.expandtabs(), self.screen.text())

    def test_interrupted(self):
        self.hold()
        for number, jobs in ((None, "1"), (None, "4"), (signal.SIGTERM, "1"),
                             (signal.SIGHUP, "4")):
            with self.subTest(jobs=jobs, signal=number):
                self.begin("-c", jobs)
                self.read_until(self.shown)
                sent = time.monotonic()
                if number is None:
                    os.write(self.master, b"\x03")
                else:
                    self.process.send_signal(number)
                self.end(128 + (number or signal.SIGINT))
                self.assertLess(time.monotonic() - sent, 2 * SLOWNESS)
                self.assertWorkIsEmpty()

    def test_unhandled_signals(self):
        self.hold()
        for number in (signal.SIGQUIT, signal.SIGABRT, signal.SIGPIPE):
            with self.subTest(signal=number):
                self.begin()
                self.read_until(self.shown)
                self.process.send_signal(number)
                self.end(-number)

    def test_suspended_and_continued(self):
        self.hold()
        self.begin()
        self.read_until(self.shown)
        os.write(self.master, b"\x1a")
        self.read_until(lambda: os.waitid(os.P_PID, self.process.pid,
                                          os.WSTOPPED | os.WNOHANG | os.WNOWAIT))
        while self.read(0):
            pass
        self.assertTrue(self.screen.is_whole())
        self.assertNotIn("elapsed", self.screen.text())
        self.screen.last_lines.clear()
        self.process.send_signal(signal.SIGCONT)
        self.read_until(self.shown)
        self.path("hold").unlink()
        self.end()

    def test_a_halted_terminal_holds_nothing_up(self):
        self.hold()
        with open(self.path("results"), "wb") as results:
            self.begin(stdout=results)
        self.read_until(self.shown)
        termios.tcflow(self.slave, termios.TCOOFF)
        time.sleep(0.5 * SLOWNESS)
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(128 + signal.SIGTERM, self.process.wait(2 * SLOWNESS))


if __name__ == "__main__":
    unittest.main()
