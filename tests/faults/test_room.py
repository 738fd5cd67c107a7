"""A system that has no room for so many threads or processes: those there are do the work."""

import subprocess

import pytest

from conftest import REPLAY, candidate, po, rows

GOALS = 12


# The count is that of each thread: every worker fails when it starts its second or third tool, and
# leaves; the last one waits.
@rows("fault", {"no thread but the second": "clone3:error=EAGAIN:when=3+",
                "no thread at all": "clone3:error=EAGAIN:when=2+",
                "no process for the prover": "vfork:error=EAGAIN:when=2",
                "no process for the reader": "vfork:error=ENOMEM:when=3",
                "no pipe": "pipe2:error=EMFILE:when=9"})
def test_fewer_jobs(case, fault):
    if subprocess.run(["strace", "true"], capture_output=True, check=False).returncode:
        pytest.skip("tracing is not permitted here")
    case.answers({"*": "Proved"})
    case.mechanism(trust="always")
    case.pos(*[po(f"T{i}", candidate()) for i in range(GOALS)])
    case.run(*REPLAY, "-c", 4, under=("strace", "-f", "-o", "calls", "-e", f"inject={fault}"))
    assert "INJECTED" in case.path("calls").read_text()
    assert case.proved() == GOALS
