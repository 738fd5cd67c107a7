"""Manual pages against the programs that they are about."""

import re
import subprocess

import pytest

from conftest import BIN, LIMIT_S, PROJECT

PAGES = sorted((PROJECT / "docs/man").glob("*.1.md"))


def help_of(*command):
    return subprocess.run([*command, "--help"], capture_output=True, text=True, timeout=LIMIT_S,
                          check=False).stdout


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name.removesuffix(".1.md"))
def test_every_command_and_option_is_told(page):
    program = BIN / page.name.removesuffix(".1.md")
    text = help_of(program)
    commands = re.findall(r"^  ([a-z]+) ", text.partition("Commands:")[2], re.MULTILINE)
    texts = [text, *(help_of(program, command) for command in commands)]
    options = set(re.findall(r"(?:^|[\s,])(--?[a-zA-Z][\w-]*)", "\n".join(texts)))
    assert {"-h", "--help"} <= options
    told = re.sub(r"[*\\]", "", page.read_text())
    assert not {word for word in options.union(commands)
                if not re.search(rf"(?<![\w-]){word}(?![\w-])", told)}
