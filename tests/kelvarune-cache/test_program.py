"""kelvarune-cache as a mechanism uses it: the real program before tiny script provers."""

import os
import signal
import subprocess

import pytest
from conftest import BIN, LIMIT_S, SLOWNESS, rows

PROGRAM = "kelvarune-cache"
LIMIT = BIN / "kelvarune-limit"
UNSAT = "cat >/dev/null; echo unsat"


@pytest.fixture
def cache(case):
    return Cache(case)


class Cache:
    def __init__(self, case):
        self.case, self.path = case, case.path

    def prover(self, body, name="prover"):
        """A prover that notes each of its runs before it does what `body` says."""
        self.path("runs").touch()
        return self.case.script(name, f"echo run >>'{self.path('runs')}'\n{body}\n")

    def start(self, *words, env=None, **options):
        usual = {"KELVARUNE_CACHE": str(self.path("cache")), "KELVARUNE_CACHE_MODE": None}
        return self.case.start(*words, env=usual | (env or {}), **options)

    def run(self, *words, stdin=b"goal", **options):
        """Exit status and output of a run."""
        process = self.start(*words, stdin=subprocess.PIPE if isinstance(stdin, bytes) else stdin,
                             stdout=subprocess.PIPE, **options)
        out, _ = process.communicate(stdin if isinstance(stdin, bytes) else None, LIMIT_S)
        return process.returncode, out

    def asked(self, *words, out, status=0, **options):
        """How often the prover was run for this answer."""
        before = self.path("runs").read_text()
        assert self.run(*words, **options) == (status, out), self.path("stderr").read_text()
        return self.path("runs").read_text().removeprefix(before).count("run")

    def kept(self):
        return [file for file in self.path("cache").glob("??/*") if file.is_file()]


@rows("body, stored", {
    "last line without end": ("printf 'goal\\nsat'", True),
    "a line in two writes": ("printf uns; sleep 0.1; echo at", True),
    "a long line": ("echo unsat; head -c 1048576 /dev/zero | tr '\\0' x; echo", True),
    "very much": ("echo unsat; yes $(seq 9999) | head -c 70000000", False),
    "part of a line": ("echo result: unsat", False),
    "two writes that are no line together": ("printf sat; sleep 0.1; echo urated", False),
    "given up": ("echo unsat; echo unknown", False),
    "error": ("echo '(error \"x\")'; echo sat", False),
    "exit status": ("echo unsat; exit 1", False),
    "crash": ("echo unsat; kill -SEGV $$", False),
    "outlived by a writer": ("echo unsat; sleep 5 &", False)})
def test_stores_definite_answers_only(cache, body, stored):
    prover = cache.prover(body)
    status, out = cache.run(prover)
    assert cache.asked(prover, out=out, status=status) == (0 if stored else 1)


def test_what_makes_it_another_question(cache):
    prover, other, there = (cache.prover(UNSAT, n) for n in ("prover", "other", "there/other"))
    goal, twin = (cache.case.write(name, "one") for name in ("goal", "twin"))

    def asked(*words):
        """How often it is asked now, and once more."""
        return [cache.asked(*words, out=b"unsat\n") for _ in range(2)]

    # Each differs from the one before by what its name says; is the prover asked again?
    for name, words, again in [
        ("the first", [prover, "-t", "5", goal], 1),
        ("an argument", [prover, "-t", "6", goal], 1),
        ("two arguments run together", [prover, "-t6", goal], 1),
        ("the file in an option", [prover, f"--file={goal}", "-t6"], 1),
        ("another prover", [other, "-t6"], 1),
        ("a version text", ["--version-text", "1", other, "-t6"], 1),
        ("another version text", ["--version-text", "2", other, "-t6"], 1),
        ("the same on another machine", ["--version-text", "2", there, "-t6"], 0),
        ("a goal file", ["--goal-file", goal, prover, f"-in:{goal}"], 1),
        ("another of the same content", ["--goal-file", twin, prover, f"-in:{twin}"], 0),
        ("in another place", ["--goal-file", twin, prover, f"-proof:{twin}"], 1),
        ("a limit", [LIMIT, "--time", "9", "--", other, "-t6"], 0),
        ("of something else", [LIMIT, "--time", "9", "--", other, "-t7"], 1),
        ("another limit", [LIMIT, "--time", "8", "--", other, "-t7"], 0),
    ]:
        assert asked(*words) == [again, 0], name
    assert cache.asked(other, "-t6", stdin=b"other", out=b"unsat\n") == 1, "another goal"
    goal.write_text("two")
    assert asked(prover, f"--file={goal}", "-t6") == [1, 0], "the file's content"
    cache.prover(UNSAT + "; exit", "other")
    assert asked(other, "-t6") == [1, 0], "the prover's content"
    assert asked("--goal-file", "missing", prover) == [1, 1]


@pytest.mark.parametrize("mode", ["none", "update"])
@rows("body, status", {"exit": ("exit 3", 3), "crash": ("kill -SEGV $$", -signal.SIGSEGV)})
def test_ends_as_the_prover_ends(cache, mode, body, status):
    assert cache.run("--mode", mode, cache.prover(body)) == (status, b"")


def test_keeps_the_exit_status_with_the_answer(cache):
    words = ("--statuses", "0,10,20", cache.prover("echo sat; exit 10"))
    assert [cache.asked(*words, out=b"sat\n", status=10) for _ in range(2)] == [1, 0]


NEW, OLD = b"new\nunsat\n", b"old\nunsat\n"


# Whether an answer is stored before; output, runs, and what is stored afterwards.
@rows("stored, out, runs, after", {
    "none, new": (False, NEW, 1, b""), "none": (True, NEW, 1, OLD),
    "update, new": (False, NEW, 1, NEW), "update": (True, OLD, 0, OLD),
    "replay, new": (False, NEW, 1, b""), "replay": (True, OLD, 0, OLD),
    "rebuild, new": (False, NEW, 1, NEW), "rebuild": (True, NEW, 1, NEW),
    "cleanup, new": (False, NEW, 1, NEW), "cleanup": (True, OLD, 0, OLD),
    "offline, new": (False, b"", 0, b""), "offline": (True, OLD, 0, OLD)})
def test_modes(cache, request, stored, out, runs, after):
    mode = request.node.callspec.id.split(",")[0]
    say = cache.case.write("say", "old\n")
    prover = cache.prover(f"cat '{say}'; echo unsat")
    if stored:
        cache.run(prover)
    say.write_text("new\n")
    assert cache.asked(prover, out=out, status=0 if out else 125,
                       env={"KELVARUNE_CACHE_MODE": mode}) == runs
    assert cache.run("--mode", "offline", prover)[1] == after
    say.write_text("unknown\n")
    cache.run("--mode", "rebuild", prover)
    assert cache.kept() == []  # rebuilding forgets what does not come again


def test_goal_in_a_file(cache):
    prover = cache.prover('cat "$2"; echo; echo unsat; wc -c')
    readable, writable = os.pipe()  # stays open, as a terminal would, and is not read
    for name, content, again in (("a", "one", 1), ("b", "one", 0), ("b", "two", 1)):
        goal = cache.case.write(name, content)
        assert cache.asked("--goal-file", goal, prover, "-x", goal, stdin=readable,
                           out=content.encode() + b"\nunsat\n0\n") == again
    os.close(readable)
    os.close(writable)


def test_passes_arguments_on_untouched(cache):
    words = ["--mode", "-h", "", "a b", "--", os.fsdecode(b"\xff\xfe"), "\u00e9"]
    prover = cache.prover("printf '%s|' \"$@\"")
    for lead, locale in (([], "C"), (["--"], "C.UTF-8")):
        assert cache.run(*lead, prover, *words, env={"LC_ALL": locale}) == (
            0, b"".join(os.fsencode(word) + b"|" for word in words))


def test_streams_large_output(cache):
    # A sanitizer has its own memory beside the program's.
    limit = ("prlimit", f"--as={400 << 20}") if SLOWNESS == 1 else ()
    run = cache.start(cache.prover("head -c 500M /dev/zero; echo; echo unsat"), under=limit,
                      stdout=subprocess.PIPE)
    received = sum(map(len, iter(lambda: run.stdout.read(1 << 20), b"")))
    assert (received, run.wait(LIMIT_S), cache.kept()) == ((500 << 20) + 7, 0, [])


@rows("mode, number", {"none": ("none", signal.SIGTERM), "update": ("update", signal.SIGKILL)})
def test_takes_the_prover_with_it(cache, number, mode):
    run = cache.start("--mode", mode, cache.prover("echo busy; exec sleep 1000"),
                      stdout=subprocess.PIPE)
    assert run.stdout.readline() == b"busy\n"
    run.send_signal(number)
    assert cache.case.finish(run).status == -number  # which waits for the prover, too


def test_many_writers_at_once(cache):
    prover = cache.prover("cat; echo; echo unsat; head -c 100000 /dev/zero")
    script = (f"for goal in $(seq 30); do printf $((goal % 10)) | '{cache.case.program}' "
              f"--max-size 512K '{prover}' | sed -n 1p; done")
    lists = [cache.start("-c", script, program="/bin/sh", stdout=subprocess.PIPE)
             for _ in range(4)]
    for run in lists:
        out, _ = run.communicate(timeout=4 * LIMIT_S)
        assert out.split() == [b"%d" % (n % 10) for n in range(1, 31)]
    assert cache.path("stderr").read_bytes() == b""
    assert 0 < sum(file.stat().st_size for file in cache.kept()) <= 512 << 10
    assert list(cache.path("cache").glob("??/.new-*")) == []


def test_does_without_a_cache_directory(cache):
    cache.case.write("cache", "not a directory")
    assert cache.asked(cache.prover("cat; echo; echo unsat"), out=b"goal\nunsat\n") == 1
    assert cache.path("stderr").read_text() == (
        f"kelvarune-cache: cannot keep the answer in {cache.path('cache')}\n")


def test_clean_up(cache):
    cache.run(cache.prover(UNSAT))
    for words, count in (([], 1), (["--unused-for", "1e-9"], 0)):
        assert cache.run("--mode", "cleanup", *words) == (0, b"")
        assert len(cache.kept()) == count


def test_counts_questions(cache):
    def counts(*words):
        status, out = cache.run("--stats", *words)
        found = dict(line.split() for line in out.decode().splitlines())
        return status, [int(found[name]) for name in ("hits", "misses", "answers")]
    definite, indefinite = cache.prover(UNSAT), cache.prover("echo unknown", "other")
    for program, mode in ((indefinite, "update"), (definite, "replay"), (definite, "update"),
                          (definite, "update"), (definite, "offline"), (definite, "rebuild"),
                          (definite, "none")):
        cache.run("--mode", mode, program)
    assert counts("--zero-stats") == (0, [2, 4, 1])
    assert counts() == (0, [0, 0, 1])


@rows("words, status", {
    "nothing": ([], 125), "statistics": (["--stats", "true"], 125), "mode": (["--mode", "often", "true"], 125),
    "missing": (["./missing"], 127), "no program": (["./comp.pog"], 127)})
def test_refuses_what_it_cannot_do(cache, words, status):
    assert cache.run(*words) == (status, b"")
    assert cache.path("stderr").read_text().count("\n") == 1
