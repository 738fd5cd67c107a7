"""What bash, zsh and fish complete, in a directory with a POS file and a description."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

from conftest import BIN, LIMIT_S, PROJECT, goal, mech, needs, po, rows

HERE = pathlib.Path(__file__).parent
SHELLS = {
    "bash": ["bash", "-c", """. /usr/share/bash-completion/bash_completion
        compopt() { :; } # there is no line that is being edited
        COMP_LINE=$0 COMP_POINT=${#0} COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        _completion_loader "$1"
        _kelvarune
        printf '%s\\n' "${COMPREPLY[@]}" """],
    "zsh": ["zsh", "-f", HERE / "zsh-completes"],
    "fish": ["fish", "-c", "complete -C $argv[1]"]}


@pytest.fixture
def share(tmp_path):
    """The files where the shells look for them."""
    source = PROJECT / "completions"
    places = {"kelvarune/complete.py": "complete.py", "zsh/site-functions/_kelvarune": "_kelvarune"}
    for program in BIN.glob("kelvarune*"):
        places[f"bash-completion/completions/{program.name}"] = "kelvarune.bash"
        places[f"fish/vendor_completions.d/{program.name}.fish"] = "kelvarune.fish"
    for place, name in places.items():
        (tmp_path / place).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source / name, tmp_path / place)
    return tmp_path


@pytest.mark.parametrize("shell", [pytest.param(shell, marks=needs(shell)) for shell in SHELLS])
@rows("line, words", {
    "commands": ("kelvarune-pos re", "remove restore report"),
    "options of a command": (
        "kelvarune-pos goals --", "--status --tag --json --csv --color --help --version"),
    "options that the help leaves out": ("kelvarune --t", "--trace="),
    "an option whose value may be left out": (
        "kelvarune-play --stop-on-failure --re", "--record --resources --retry --replay"),
    "files": ("kelvarune-mech check ", "m.xml tools work"),
    "a file after =": ("kelvarune --mechanism=", "m.xml tools work"),
    "components by their files": ("kelvarune-play --strict ", "comp.pog tools work"),
    "directories": ("kelvarune-play -d ", "tools work"),
    "a word after =": ("kelvarune-pos report --unproved=f", "failed"),
    "a list": ("kelvarune-pos goals --status proved,unr", "proved,unreliablyproved"),
    "goals of the file": ("kelvarune-pos show 'work/two words.pos' ", "T3.1"),
    "goals of --pos": ("kelvarune-play -s comp.pos --goal ", "a:b.1 a:b.2"),
    "mechanisms of the files here": ("kelvarune-pos remove ", "m n"),
    "drivers of the mechanism": ("kelvarune-pos unprove --mechanism n --driver ", "d2"),
    "drivers of descriptions": ("kelvarune-play --mechanism=m.xml --driver ", "d1"),
    "another program": ("kelvarune-cache --mode=replay kelvarune-pos ch", "check")})
def test_completion(case, share, shell, line, words):
    case.mechanism()
    goals = goal(mech("m", d1="Proved")), goal(mech("n", d2="Proved"))
    case.pos(po("T3", goals[0])).rename(case.path("work/two words.pos"))
    case.pos(po("a:b", *goals))
    typed = [line]
    if shell == "bash":
        typed += [word for word in re.findall(r"'[^']*'|[=:]|[^ =:]+|(?<= )$", line)]
    env = os.environ | {"HOME": str(case.root), "XDG_DATA_HOME": str(share), "TERM": "dumb",
                        "XDG_DATA_DIRS": f"{share}:/usr/share", "PATH": f"{BIN}:/usr/bin:/bin",
                        "SITE_FUNCTIONS": str(share / "zsh/site-functions")}
    out = subprocess.run([*SHELLS[shell], *typed], env=env, cwd=case.root, text=True, check=True,
                         timeout=LIMIT_S, stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout
    offered = {re.sub(r"^--[\w-]+=(?=\w)|/?(\t.*)?$", "", word) for word in out.splitlines()}
    assert offered == set(words.split())
