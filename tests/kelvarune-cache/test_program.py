"""kelvarune-cache as a mechanism uses it: the real program before tiny script provers.

Environment: KELVARUNE_CACHE_PROGRAM is the program to test.
"""

import os
import pathlib
import signal
import subprocess
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "blackbox"))
from harness import SLOWNESS, ReplayCase  # noqa: E402

PROGRAM = os.environ.get("KELVARUNE_CACHE_PROGRAM", "kelvarune-cache")
LIMIT_S = 60


class Program(ReplayCase):
    def setUp(self):
        super().setUp()
        self.cache, self.runs = self.path("cache"), self.path("runs")

    def environment(self, changes=None):
        usual = {"KELVARUNE_CACHE": str(self.cache), "KELVARUNE_CACHE_MODE": None}
        return super().environment(usual | (changes or {}))

    def prover(self, body, name="prover"):
        """A prover that notes each of its runs before it does what `body` says."""
        return str(self.script(name, f"echo run >>'{self.runs}'\n{body}\n"))

    def run_count(self):
        return len(self.runs.read_text().splitlines()) if self.runs.exists() else 0

    def run_program(self, *words, stdin=b"goal", **changes):
        return subprocess.run([PROGRAM, *words], input=stdin, capture_output=True, timeout=LIMIT_S,
                              env=self.environment(changes))

    def kept(self):
        return [f for f in self.cache.glob("??/*") if f.is_file()]

    def assert_answer(self, run, output, status=0):
        self.assertEqual((run.returncode, run.stdout), (status, output), run.stderr)

    def test_repeats_a_definite_answer(self):
        prover = self.prover("cat; echo; echo unsat; echo noise >&2")
        for _ in range(2):
            self.assert_answer(self.run_program(prover), b"goal\nunsat\n")
        self.assertEqual(self.run_count(), 1)
        self.assert_answer(self.run_program(prover, stdin=b"other"), b"other\nunsat\n")
        self.assertEqual(self.run_count(), 2)

    def test_stores_definite_answers_only(self):
        rows = {
            "last line without end": ("printf 'goal\\nsat'", True),
            "a line in two writes": ("printf uns; sleep 0.1; echo at", True),
            "a long line": ("echo unsat; head -c 1048576 /dev/zero | tr '\\0' x; echo", True),
            "a longer line": ("echo unsat; head -c 1048577 /dev/zero | tr '\\0' x; echo", False),
            "very much": ("echo unsat; yes $(seq 9999) | head -c 70000000", False),
            "no verdict": ("echo hello", False),
            "part of a line": ("echo result: unsat", False),
            "two writes that are no line together": ("printf sat; sleep 0.1; echo urated", False),
            "carriage return": ("printf 'unsat\\r\\n'", False),
            "zero byte": ("printf 'unsat\\0\\n'", False),
            "given up": ("echo unsat; echo unknown", False),
            "given up before": ("echo timeout; echo sat", False),
            "error": ("echo '(error \"x\")'; echo sat", False),
            "exit status": ("echo unsat; exit 1", False),
            "crash": ("echo unsat; kill -SEGV $$", False),
            "killed": ("echo unsat; kill -KILL $$", False),
            "outlived by a writer": ("echo unsat; sleep 5 &", False),
        }
        for number, (name, (body, stored)) in enumerate(rows.items()):
            with self.subTest(name):
                self.runs.unlink(missing_ok=True)
                prover, goal = self.prover(body), b"%d" % number
                first, second = (self.run_program(prover, stdin=goal) for _ in range(2))
                self.assertEqual(self.run_count(), 1 if stored else 2)
                self.assertEqual((first.returncode, first.stdout),
                                 (second.returncode, second.stdout))

    def test_what_makes_it_another_question(self):
        body = "cat >/dev/null; echo unsat"
        prover, other, there = (self.prover(body, n) for n in ("prover", "other", "there/other"))
        goal, twin, missing = (str(self.path(name)) for name in ("goal", "twin", "missing"))
        for file in (goal, twin):
            pathlib.Path(file).write_text("one")

        def runs(*words):
            before = self.run_count()
            self.assert_answer(self.run_program(*words), b"unsat\n")
            return self.run_count() - before

        # Each differs from the one before by what its name tells; is the prover asked again?
        for name, words, asked in [
            ("the first", [prover, "-t", "5", goal], 1),
            ("an argument", [prover, "-t", "6", goal], 1),
            ("an argument more", [prover, "-t", "6", goal, ""], 1),
            ("two arguments run together", [prover, "-t6", goal], 1),
            ("another order", [prover, goal, "-t6"], 1),
            ("the file in an option", [prover, "--file=" + goal, "-t6"], 1),
            ("another prover", [other, "-t6"], 1),
            ("a version text", ["--version-text", "1", other, "-t6"], 1),
            ("another version text", ["--version-text", "2", other, "-t6"], 1),
            ("the same on another machine", ["--version-text", "2", there, "-t6"], 0),
            ("a goal file", ["--goal-file", goal, prover, "-in:" + goal], 1),
            ("another of the same content", ["--goal-file", twin, prover, "-in:" + twin], 0),
            ("in another place", ["--goal-file", twin, prover, "-proof:" + twin], 1),
        ]:
            with self.subTest(name):
                self.assertEqual(runs(*words), asked)
                self.assertEqual(runs(*words), 0, "the same once more")

        pathlib.Path(goal).write_text("two")
        self.assertEqual([runs(prover, "-t", "5", goal), runs(prover, "--file=" + goal, "-t6")],
                         [1, 1], "the file's content")
        self.prover(body + "; exit", "prover")
        self.assertEqual(runs(prover, "-t", "5", goal), 1, "the prover's content")
        self.assertEqual([runs("--goal-file", missing, prover) for _ in range(2)], [1, 1])

    def test_ends_as_the_prover_ends(self):
        for body, status in (("exit 3", 3), ("kill -SEGV $$", -signal.SIGSEGV),
                             ("kill -KILL $$", -signal.SIGKILL)):
            for mode in ("none", "update", "replay", "rebuild"):
                with self.subTest(body=body, mode=mode):
                    run = self.run_program("--mode", mode, self.prover("echo x; " + body))
                    self.assert_answer(run, b"x\n", status)

    def test_keeps_the_exit_status_with_the_answer(self):
        prover = self.prover("echo sat; exit 10")
        for _ in range(2):
            self.assert_answer(self.run_program("--statuses", "0,10,20", prover), b"sat\n", 10)
        self.assertEqual(self.run_count(), 1)

    def test_modes(self):
        new, old = b"new\nunsat\n", b"old\nunsat\n"
        # mode, whether an answer is stored before: output, runs, what is stored afterwards
        rows = [("none", False, new, 1, b""), ("none", True, new, 1, old),
                ("update", False, new, 1, new), ("update", True, old, 0, old),
                ("replay", False, new, 1, b""), ("replay", True, old, 0, old),
                ("rebuild", False, new, 1, new), ("rebuild", True, new, 1, new),
                ("cleanup", False, new, 1, new), ("cleanup", True, old, 0, old),
                ("offline", False, b"", 0, b""), ("offline", True, old, 0, old)]
        say = self.path("say")
        prover = self.prover(f"cat '{say}'; echo unsat")
        for number, (mode, stored, output, runs, after) in enumerate(rows):
            for by_option in (True, False):
                with self.subTest(mode=mode, stored=stored, by_option=by_option):
                    goal = b"%d %d" % (number, by_option)
                    if stored:
                        say.write_text("old\n")
                        self.run_program(prover, stdin=goal)
                    say.write_text("new\n")
                    before = self.run_count()
                    run = (self.run_program("--mode", mode, prover, stdin=goal) if by_option else
                           self.run_program(prover, stdin=goal, KELVARUNE_CACHE_MODE=mode))
                    missing = mode == "offline" and not stored
                    self.assert_answer(run, output, 125 if missing else 0)
                    self.assertEqual(self.run_count() - before, runs)
                    kept = self.run_program("--mode", "offline", prover, stdin=goal)
                    self.assertEqual(kept.stdout, after)

    def test_rebuild_forgets_what_does_not_come_again(self):
        say = self.path("say")
        prover = self.prover(f"cat '{say}'")
        say.write_text("unsat\n")
        self.run_program(prover)
        say.write_text("unknown\n")
        self.assert_answer(self.run_program("--mode", "rebuild", prover), b"unknown\n")
        self.assertEqual(self.kept(), [])

    def test_goal_in_a_file(self):
        prover = self.prover('cat "$2"; echo; echo unsat; wc -c')
        for name, content in (("a", "one"), ("b", "one"), ("b", "two")):
            goal = self.path(name)
            goal.write_text(content)
            run = self.run_program("--goal-file", str(goal), prover, "-x", str(goal))
            self.assert_answer(run, content.encode() + b"\nunsat\n0\n")  # no standard input
        self.assertEqual(self.run_count(), 2)

    def test_a_waiting_input_is_not_read_beside_a_goal_file(self):
        prover, goal = self.prover("echo unsat"), self.path("goal")
        goal.write_text("x")
        readable, writable = os.pipe()  # stays open, as a terminal would
        run = subprocess.run([PROGRAM, "--goal-file", goal, prover, goal], stdin=readable,
                             capture_output=True, timeout=LIMIT_S, env=self.environment())
        os.close(readable), os.close(writable)
        self.assert_answer(run, b"unsat\n")

    def test_input_that_is_a_file_is_read_from_its_position(self):
        prover, goal = self.prover("cat; echo; echo unsat"), self.path("goal")
        goal.write_text("skipped goal")
        for _ in range(2):
            with open(goal, "rb", buffering=0) as file:
                file.seek(8)
                run = subprocess.run([PROGRAM, prover], stdin=file, capture_output=True,
                                     timeout=LIMIT_S, env=self.environment())
            self.assert_answer(run, b"goal\nunsat\n")
        self.assertEqual(self.run_count(), 1)

    def test_passes_arguments_on_untouched(self):
        words = [b"--mode", b"-h", b"", b"a b", b"--", b"\xff\xfe", "\u00e9".encode()]
        prover = self.prover("printf '%s|' \"$@\"")
        for environment in ({}, {"LC_ALL": "C"}):
            for lead in ([], ["--"]):
                run = self.run_program(*lead, prover, *words, **environment)
                self.assert_answer(run, b"|".join(words) + b"|")

    def test_streams_large_output(self):
        size = 200 << 20
        prover = self.prover(f"head -c {size} /dev/zero; echo; echo unsat")
        run = subprocess.Popen([PROGRAM, prover], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               env=self.environment())
        received, peak_kb = 0, 0
        while block := run.stdout.read1(1 << 20):
            received += len(block)
            if received < size:
                status = pathlib.Path(f"/proc/{run.pid}/status").read_text()
                if "VmHWM:" in status:  # a program that has just ended has no memory
                    peak_kb = max(peak_kb, int(status.split("VmHWM:")[1].split()[0]))
        self.assertEqual((received, run.wait(LIMIT_S)), (size + 7, 0))
        run.stdout.close()
        if SLOWNESS == 1:  # a sanitizer has its own memory beside the program's
            self.assertLess(peak_kb, 250 << 10)
        self.assertEqual(self.kept(), [])

    def test_output_comes_before_the_prover_ends(self):
        go = self.path("go")
        prover = self.prover(f"echo unsat; while [ ! -e '{go}' ]; do sleep 0.02; done")
        with subprocess.Popen([PROGRAM, prover], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              env=self.environment()) as run:
            self.assertEqual(run.stdout.readline(), b"unsat\n")
            self.assertIsNone(run.poll())
            go.touch()
            self.assertEqual(run.wait(LIMIT_S), 0)

    def test_takes_the_prover_with_it(self):
        pid_file = self.path("pid")
        prover = self.prover(f"echo $$ >'{pid_file}.new'; mv '{pid_file}.new' '{pid_file}'\n"
                             "exec sleep 1000")
        for number in (signal.SIGTERM, signal.SIGKILL, signal.SIGINT):
            for mode in ("none", "update"):
                with self.subTest(signal=number, mode=mode):
                    pid_file.unlink(missing_ok=True)
                    run = subprocess.Popen([PROGRAM, "--mode", mode, prover],
                                           stdin=subprocess.DEVNULL, env=self.environment())
                    self.wait_for(pid_file.exists, "the prover")
                    pid = pid_file.read_text().strip()
                    run.send_signal(number)
                    self.assertEqual(run.wait(LIMIT_S), -number)
                    self.wait_for(lambda: not os.path.exists(f"/proc/{pid}/cwd"), "its end")

    def test_many_writers_at_once(self):
        prover = self.prover("cat; echo; echo unsat; head -c 100000 /dev/zero")
        goals = [b"%d" % (number % 10) for number in range(60)]
        script = "\n".join(f"printf {int(goal)} | '{PROGRAM}' --max-size 512K '{prover}' | "
                           f"sed -n 1p" for goal in goals)
        lists = [subprocess.Popen(["sh", "-c", script], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, env=self.environment()) for _ in range(8)]
        for run in lists:
            output, errors = run.communicate(timeout=LIMIT_S)
            self.assertEqual((output.split(), errors), (goals, b""))
        used = sum(file.stat().st_size for file in self.kept())
        self.assertLessEqual(used, 512 << 10)
        self.assertGreater(used, 0)
        self.assertEqual(list(self.cache.glob("??/.new-*")), [])
        self.assertLess(self.run_count(), 8 * 60)

    def test_does_without_a_cache_directory(self):
        self.cache.write_text("not a directory")
        run = self.run_program(self.prover("cat; echo; echo unsat"))
        self.assert_answer(run, b"goal\nunsat\n")
        self.assertEqual(run.stderr.decode(),
                         f"kelvarune-cache: cannot keep the answer in {self.cache}\n")

    def test_clean_up(self):
        self.run_program(self.prover("echo unsat"))
        self.assert_answer(self.run_program("--mode", "cleanup"), b"")
        self.assertEqual(len(self.kept()), 1)
        time.sleep(0.01)
        self.assert_answer(self.run_program("--mode", "cleanup", "--unused-for", "1e-9"), b"")
        self.assertEqual(self.kept(), [])

    def test_refuses_what_it_cannot_do(self):
        plain = self.path("plain")
        plain.write_text("")
        rows = [((), 125), (("--mode", "often", "true"), 125), (("--max-size", "big", "true"), 125),
                (("--statuses", "x", "true"), 125), (("--definite", "(", "true"), 125),
                (("--unused-for", "-1", "true"), 125), (("--nothing", "true"), 125),
                ((self.path("missing"),), 127), (("no-such-program-anywhere",), 127),
                ((plain,), 127)]
        for words, status in rows:
            with self.subTest(words):
                run = self.run_program(*words)
                self.assert_answer(run, b"", status)
                self.assertEqual(len(run.stderr.splitlines()), 1, run.stderr)
        self.assertEqual(self.run_program(plain, KELVARUNE_CACHE_MODE="off").returncode, 125)
        self.assertIn(b"--max-size", self.run_program("--help").stdout)


if __name__ == "__main__":
    unittest.main()
