"""A scratch directory, status files made of a few lines of Python, and a runner.

Environment: KELVARUNE_POS is the program; KELVARUNE_TEST_SLOWNESS multiplies time limits.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ET

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "blackbox"))
from harness import element, goal, mech, obligations, po  # noqa: E402

PROGRAM = os.environ.get("KELVARUNE_POS", "kelvarune-pos")
SLOWNESS = float(os.environ.get("KELVARUNE_TEST_SLOWNESS", "1"))
LIMIT_S = 30 * SLOWNESS

__all__ = ["PROGRAM", "SLOWNESS", "LIMIT_S", "PosCase", "component", "element", "goal", "mech",
           "large", "obligations", "po"]


def component():
    """Every kind of goal once; consistent."""
    return obligations(
        po("init.1",
           goal(state="Proved(1)", status="Proved"),
           goal(mech("smt", "Proved", z3="Proved", cvc5="Unknown"), status="Proved")),
        po("open.2",
           goal(mech("smt", "Proved", z3="Proved", cvc5="Proved"), status="Proved"),
           goal(mech("smt", "Unproved", z3="Proved", cvc5="Unknown"),
                mech("rules", "UnreliablyProved", fast="UnreliablyProved"),
                status="UnreliablyProved"),
           goal(mech("smt", "Disproved", z3="Disproved", cvc5="Proved"), status="Disproved"),
           goal(mech("rules", "Unknown", fast="Unknown"))),
    )


def large(count):
    """`count` goals in obligations of ten, as a component of that size has them."""
    made = []
    for i in range(count):
        status = "Proved" if i % 7 else "Unproved"
        made.append(goal(mech("smt", status, z3="Proved" if i % 7 else "Unknown", cvc5="Unknown"),
                         mech("rules", fast="Unknown", deep="Unproved"),
                         element("Hypotheses", text="h1 h2 h3 h4 " * 20), status=status))
    return obligations(*[po(f"op{i % 9}.{i // 10}", *made[i:i + 10]) for i in range(0, count, 10)])


class PosCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="kelvarune-pos-")).resolve()
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)

    def write(self, name, content):
        """Writes a tree with a line per element, or text or bytes as they are."""
        if isinstance(content, ET.Element):
            ET.indent(content, "    ")
            content = ET.tostring(content)
        path = self.root / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run_pos(self, *args, env=None, **options):
        options.setdefault("stdout", subprocess.PIPE)
        run = subprocess.run([PROGRAM, *args], cwd=self.root, stdin=subprocess.DEVNULL,
                             stderr=subprocess.PIPE, timeout=LIMIT_S,
                             env=os.environ | {"LC_ALL": "C"} | (env or {}), **options)
        for word in (b"Sanitizer", b"runtime error", b"QDom", b"QCommandLine", b"terminate"):
            self.assertNotIn(word, run.stderr)
        return run

    def expect(self, *args, status=0, **options):
        """Standard output of a run that says nothing on standard error."""
        run = self.run_pos(*args, **options)
        self.assertEqual((b"", status), (run.stderr, run.returncode), args)
        return run.stdout.decode()

    def refused(self, *args, status=2, **options):
        """The one line of a run that printed nothing else."""
        run = self.run_pos(*args, **options)
        self.assertEqual((b"", status), (run.stdout or b"", run.returncode), (args, run.stderr))
        line = run.stderr.decode()
        self.assertRegex(line, r"\Akelvarune-pos: [^\n]+\n\Z")
        return line[len("kelvarune-pos: "):-1]

    def files(self):
        return sorted(os.listdir(self.root))
