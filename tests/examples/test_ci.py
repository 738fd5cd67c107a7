"""examples/ci: what its script makes of a project, by the real programs and provers, and the files
around it as far as they can be read here."""

import pathlib
import re
import shutil
import subprocess

import pytest
import yaml
from conftest import BIN, SLOWNESS, needs, rows

pytestmark = needs("z3", "cvc5", "git")

CI = pathlib.Path(__file__).parents[2] / "examples/ci"
SCRIPT = """(set-logic QF_LIA)
(declare-const x Int)
(assert (> x {}))
(assert (not (> x 1)))
(check-sat)
"""


@pytest.fixture
def project(case):
    """Two components with one proved goal each, all in version control."""
    for name in ("a", "b"):
        case.write(f"{name}/goal-{name}.smt2", SCRIPT.format(1))
    case.write("kelvarune.toml", 'components = ["a", "b"]\nmechanisms = ["portfolio"]\n')
    case.write(".gitignore", "*\n!/a/*.pos\n!/b/*.pos\n!*.smt2\n!*/\n")
    case.run(program="kelvarune-play", out=None, err=None)
    subprocess.run("git init -q && git add . && git -c user.name=x -c user.email=x@x commit -qm x",
                   shell=True, cwd=case.root, check=True)
    return case


def drop(case):
    case.run("remove", "portfolio", "a/a.pos", program="kelvarune-pos", out=None)


@rows("change, status, named, environment", {
    "nothing": (lambda case: None, 0, "", {}),
    "new and proved": (lambda case: case.write("a/more.smt2", SCRIPT.format(2)), 0, "", {}),
    "dropped": (drop, 1, "goal-a.1: not proved", {}),
    "wrong": (lambda case: case.write("a/goal-a.smt2", SCRIPT.format(0)), 1, "lost *a *goal-a.1", {}),
    "new and open": (lambda case: case.write("a/new.smt2", SCRIPT.format(0)), 1, "new.1: not proved", {}),
    "new and open, allowed": (lambda case: case.write("a/new.smt2", SCRIPT.format(0)), 0,
                              "new.1: not proved", {"OPEN_GOALS": "allowed"}),
    "not readable": (lambda case: case.write("a/a.pos", "x"), 2, "a/a.pos:1:1: not well-formed", {}),
    "no such state": (lambda case: None, 2, "nowhere", {"STATE": "nowhere"})})
def test_is_red_with_the_name_of_what_is_wrong(project, change, status, named, environment):
    change(project)
    words = [environment["STATE"]] if "STATE" in environment else []
    path = f"{BIN}:{pathlib.Path(shutil.which('z3')).parent}:/usr/bin:/bin"
    run = subprocess.run([CI / "verify", *words], cwd=project.root, text=True, timeout=60 * SLOWNESS,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                         env={"PATH": path, "HOME": str(project.root), **environment})
    assert run.returncode == status and re.search(named, run.stdout), run.stdout
    if "STATE" not in environment:
        reports = {file.name for file in project.path("reports").iterdir()}
        assert reports == {"index.html", "components", "junit.xml", "summary.md", "proved.svg"}


def test_the_files_run_the_script_with_the_same_provers():
    github, gitlab = (yaml.safe_load((CI / name).read_text()) for name in ("github.yml", "gitlab-ci.yml"))
    steps = [step.get("run", "") for step in github["jobs"]["proofs"]["steps"]]
    for lines in (steps, gitlab["proofs"]["script"], (CI / "Jenkinsfile").read_text().splitlines()):
        assert sum("ci/verify" in line for line in lines if "//" not in line) == 1
    versions = [set(re.findall(r"(?:z3|cvc5)=[\w.+-]+", text)) for text in (
        github["jobs"]["proofs"]["env"]["PACKAGES"], gitlab["proofs"]["variables"]["PACKAGES"],
        (CI / "Containerfile").read_text(), (CI / "../../docs/ci.md").read_text())]
    assert len(versions[0]) == 2 and versions == versions[:1] * 4
