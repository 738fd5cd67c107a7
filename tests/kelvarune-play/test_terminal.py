"""The status line: on a terminal it is there while the program works and leaves no trace, however
the program ends; anywhere else there is nothing of it."""

import os
import pty
import re
import select
import termios
import time
from signal import SIGCONT, SIGHUP, SIGINT, SIGQUIT, SIGTERM

import pyte
import pytest
from conftest import LIMIT_S, REPLAY, SLOWNESS, goal, po, replayed, rows

PROGRAM = "kelvarune-play"

LINE = re.compile(r"d1: (\d+)/6, (\d+) proved, (\d+) running, (\d+) s elapsed"
                  r"(?:, about (\d+) s left for d1)?")
WIDE = 130  # columns, for the longest line of the results
RESULTS = replayed(("d1", 6, [(f"T{i}", "++") for i in range(3)]), proved=6, externally=6)


class Screen(pyte.HistoryScreen):
    """Keeps each text that stood in the last row."""

    def __init__(self, rows, columns):
        super().__init__(columns or WIDE, rows or 24)
        self.last_lines = []

    def set_margins(self, top=None, bottom=None):
        """Unlike in pyte, zero stands for the whole screen."""
        super().set_margins(*((1, self.lines) if top == 0 else (top, bottom)))

    def restore_cursor(self):
        self.last_lines += filter(None, [self.display[-1].rstrip()])
        super().restore_cursor()

    def text(self):
        """Everything that was written and not erased."""
        scrolled_off = ["".join(line[column].data for column in range(self.columns))
                        for line in self.history.top]
        return "\n".join(line.rstrip() for line in scrolled_off + self.display).strip() + "\n"


@pytest.fixture
def terminal(case):
    terminal = Terminal(case)
    yield terminal
    os.close(terminal.slave)
    os.close(terminal.master)


class Terminal:
    """A new terminal, and a run in its foreground whose prover waits for `release`."""

    def __init__(self, case):
        self.case, self.hold = case, case.write("hold", "")
        case.script("slow", f"sleep {0.1 * SLOWNESS}\nread -r a\n"
                            f"while [ -e {self.hold} ]; do sleep 0.02; done\necho $a")
        case.answers({"*": "Proved"})
        case.mechanism(case.driver(prover="slow"), trust="always")
        case.pos(*[po(f"T{i}", goal(), goal()) for i in range(3)])
        self.master, self.slave = pty.openpty()
        self.settings = termios.tcgetattr(self.slave)

    def begin(self, *more, streams=("stdin", "stdout", "stderr"), size=(24, WIDE), term="xterm",
              args=REPLAY):
        self.screen = Screen(*size)
        self.stream = pyte.ByteStream(self.screen)
        termios.tcsetwinsize(self.slave, size)
        self.process = self.case.start(
            *args, *more, env={"TERM": term}, **dict.fromkeys(streams, self.slave),
            under=("setsid", "--ctty"))

    def read_until(self, condition):
        deadline = time.monotonic() + LIMIT_S
        while self.read() or not condition():
            assert time.monotonic() < deadline, self.screen.text()

    def read(self):
        """Shows on the screen what has come; whether there was something."""
        come = select.select([self.master], [], [], 0.01)[0]
        if come:
            self.stream.feed(os.read(self.master, 65536))
        return come

    def shown(self):
        return [line for line in map(LINE.fullmatch, self.screen.last_lines) if line]

    def check_whole(self):
        assert self.screen.margins in (None, (0, self.screen.lines - 1)), "a row is kept apart"
        assert "elapsed" not in self.screen.text()

    def end(self, status=0):
        self.hold.unlink(missing_ok=True)
        self.read_until(lambda: self.process.poll() is not None)
        assert self.process.returncode == status, self.screen.text()
        assert termios.tcgetattr(self.slave) == self.settings
        self.check_whole()


@rows("jobs, size", {"few rows": (1, (5, WIDE)), "size not known": (1, (0, 0)),
                     "several jobs": (2, (24, WIDE))})
def test_a_line_while_it_works_and_the_results_as_ever(terminal, jobs, size):
    terminal.begin("-c", str(jobs), size=size)
    terminal.read_until(terminal.shown)
    terminal.end()
    want, got = RESULTS.expandtabs(), terminal.screen.text()
    if jobs > 1:  # then the marks come in any order
        want, got = (sorted("".join(text.split())) for text in (want, got))
    assert got == want
    for line in terminal.shown():
        ended, proved, running = (int(line[group]) for group in (1, 2, 3))
        assert proved <= ended and running <= jobs and (line[5] is not None) == (3 <= ended < 6)


def test_results_elsewhere_and_a_narrow_terminal(terminal):
    terminal.begin(streams=["stdin", "stderr"], size=(24, 28))
    terminal.read_until(lambda: terminal.screen.last_lines)
    terminal.end()
    assert terminal.case.path("stdout").read_text() == RESULTS
    assert set(map(len, terminal.screen.last_lines)) == {27}
    assert terminal.screen.text() == "\n"


@rows("options", {"errors elsewhere": {"streams": ["stdin", "stdout"]},
                  "a dumb terminal": {"term": "dumb"}})
def test_nothing_of_it(terminal, options):
    terminal.hold.unlink()
    terminal.begin(**options)
    terminal.end()
    assert terminal.case.path("stderr").read_bytes() == b""
    assert (terminal.screen.last_lines, terminal.screen.text()) == ([], RESULTS.expandtabs())


@rows("jobs, number, status", {
    "Ctrl-C": ("4", b"\x03", 128 + SIGINT), "SIGTERM": ("1", SIGTERM, 128 + SIGTERM),
    "SIGHUP": ("4", SIGHUP, 128 + SIGHUP), "SIGQUIT": ("1", SIGQUIT, -SIGQUIT)})
def test_stopped(terminal, jobs, number, status):
    terminal.begin("-c", jobs)
    terminal.read_until(terminal.shown)
    if isinstance(number, bytes):
        os.write(terminal.master, number)
    else:
        terminal.process.send_signal(number)
    terminal.read_until(lambda: terminal.process.poll() is not None)
    terminal.end(status)
    lines = terminal.screen.text().splitlines()
    told = "kelvarune-play: stopped: 0 of 6 entries of m/d1 done, all saved"
    assert (told in lines) == (status > 0), lines


def test_suspended_and_continued(terminal):
    terminal.begin()
    terminal.read_until(terminal.shown)
    os.write(terminal.master, b"\x1a")
    terminal.read_until(lambda: os.waitid(os.P_PID, terminal.process.pid,
                                          os.WSTOPPED | os.WNOHANG | os.WNOWAIT))
    terminal.check_whole()
    terminal.screen.last_lines.clear()
    terminal.process.send_signal(SIGCONT)
    terminal.read_until(terminal.shown)
    terminal.end()


def test_a_halted_terminal_holds_nothing_up(terminal):
    terminal.begin(streams=["stdin", "stderr"])
    terminal.read_until(terminal.shown)
    termios.tcflow(terminal.slave, termios.TCOOFF)
    terminal.process.send_signal(SIGTERM)
    assert terminal.process.wait(LIMIT_S) == 128 + SIGTERM


def test_a_project_has_one_line_and_is_stopped_as_one(terminal):
    case = terminal.case
    case.write("kelvarune.toml", 'components = ["?.pos"]\nmechanisms = ["m.xml"]\n')
    for name in "ab":
        for suffix in ("pos", "pog"):
            case.write(f"{name}.{suffix}", case.path(f"comp.{suffix}").read_bytes())
    terminal.begin("-c", "3", args=())
    line = re.compile(r"0/2 components, 2 playing; 0/0 entries, 0 proved, \d+ s elapsed")
    terminal.read_until(lambda: any(map(line.fullmatch, terminal.screen.last_lines)))
    case.wait_for(lambda: len(case.calls("writer")) > 2)
    os.write(terminal.master, b"\x03")
    terminal.end(128 + SIGINT)
    lines = terminal.screen.text().splitlines()
    assert lines.count("kelvarune-play: stopped: 0 of 6 entries of m/d1 done, all saved") == 2, lines
    assert lines[-1] == "kelvarune-play: stopped: 0 of 2 components done.", lines
