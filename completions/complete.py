"""What can stand at one place of a command line of kelvarune or a companion, for any shell.

complete.py SHELL INDEX WORD...: the words of the line, the program first, and the index of the one
to complete. Prints what comes there, "words", "nospace" (words that more may be added to), "files
SUFFIX", "directories" or "command INDEX" (of another program, by its own completion), then a line
for each word: the word, a tab, what it means. Words that bash sends are quoted as they were typed.

Commands, options and arguments are those that the program's own help tells.
"""

import collections
import contextlib
import glob
import json
import os
import re
import shlex
import subprocess
import sys
import xml.etree.ElementTree as ET

# What the help of a program does not tell.
MORE_HELP = {"kelvarune": """
\t-c, --concurrency=N
\t\tNumber of goals or groups of goals proved at once
\t-t, --trace=LEVEL
\t\tTrace level
\t-x, --xml
\t\tXML-tagged output
"""}

STATUSES = "proved unreliablyproved unproved unknown disproved"

# What a value is, by "PROGRAM NAME", else by NAME, which is that of an option, else of what the help
# calls its value or argument: files, directories, a command, what a function below finds, or words.
VALUES = {
    "DIR": "directories",
    "DIRECTORY": "directories",
    "COMMAND": "command",
    "FILE": "files",
    "PATH": "files",
    "--pos": "files pos",
    "--against": "files pos",
    "--pog": "files pog",
    "--sources": "files",
    "--mechanism": "files xml",
    "FILE|DIR": "files xml",
    "kelvarune-pos FILE": "files pos",
    "kelvarune-pos --against": "directories",  # or a revision
    "kelvarune-pos NAME": "mechanisms",  # of `remove`
    "kelvarune-pos --mechanism": "mechanisms",
    "kelvarune-pos --driver": "drivers",
    "kelvarune-play NAME": "files pog",  # which are names of components, too
    "kelvarune-play --driver": "drivers_described",
    "TAG.N": "goals",
    "--tag": "tags",
    "--backup": "backups",
    "--status": "status_list",
    "--unproved": "skipped failed",
    "--color": "auto always never",
    "--input": "stdin file",
    "--group": "none related full",
    "--trust": "always redundancy never",
    "--separate": "reset push",
    "--options": "all none",
    "--sat": "Unknown Disproved",
    "--countersat": "Unknown Disproved",
    "--mode": "none update replay rebuild offline cleanup",
    "--concurrency": "auto 1 2 4",
    "kelvarune --concurrency": "1 2 4",
    "--trace": "0 1",
    "--shard": "1/2 2/2 1/4 2/4 3/4 4/4",
}

# Their value may be left out, so it is never the next word.
VALUE_AFTER_EQUALS = {"--stop-on-failure"}

Option = collections.namedtuple("Option", "names value equals description")


def output_of(*command):
    with contextlib.suppress(OSError, subprocess.TimeoutExpired):
        return subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, timeout=10).stdout.decode(errors="replace")
    return ""


def options_told(text):
    """The options by each of their names."""
    options = {}
    for names, value, separate, description in re.findall(
            r"^\s+((?:-\S+,\s+)*--[\w-]+)(?:=(\w+)| <(\S+?)>)?(?:\s+(\S.*(?:\n {8,}\S.*)*))?$",
            text, re.M):
        names = re.split(r",\s+", names)
        option = Option(names, value or separate, bool(value), " ".join(description.split()))
        options |= dict.fromkeys(names, option)
    return options


class Line:
    """What the words of the line are, and what there is to choose from."""

    def __init__(self, index, words):
        self.program, self.index, self.word = words[0], index, words[index]
        self.name = os.path.basename(self.program)
        text = output_of(self.program, "--help") + MORE_HELP.get(self.name, "")
        commands = re.search(r"^Commands:\n((?:  .*\n)+)", text, re.M)
        self.commands = dict(re.findall(r"^  (\S+).*?  +(\S.*)$", commands[1], re.M)
                             if commands else [])
        first, self.command = 1, None
        if self.commands and index > 1:
            self.command, first = words[1], 2
            if self.command != "help":
                text = output_of(self.program, self.command, "--help")
        self.options = options_told(text)
        usage = re.match(r"Usage: .*?\[options\] (.*)", text)
        self.names = re.sub(r"[][]", "", usage[1]).split() if usage else []
        self.runs_another = self.names[:1] == ["--"]
        self.read(words, first)

    def read(self, words, first):
        """Finds the values given, the arguments, and the option whose value is to be completed."""
        self.values, self.arguments = collections.defaultdict(list), []
        self.value_of, self.before, self.other_at = None, 0, None
        pending, only_arguments = None, False
        for i, word in enumerate(words[first:], first):
            here = i == self.index
            name, equals, value = word.partition("=")
            if pending:
                option, value, pending = pending, word, None
            elif word.startswith("--") and equals and not only_arguments:
                option = self.options.get(name)
            elif word.startswith("-") and not only_arguments:
                only_arguments = word == "--" and not here
                option = self.options.get(word)
                if option and option.value and not VALUE_AFTER_EQUALS & set(option.names):
                    pending = None if here else option
                continue
            elif self.runs_another:
                self.other_at = i
                break
            else:
                self.before += i < self.index
                if not here:
                    self.arguments.append(word)
                continue
            if here:
                self.value_of, self.word = option, value
            elif option:
                self.values[option.names[-1]].append(os.path.expanduser(value))

    # What there is in files; those of the line, else those here.

    def pos_files(self):
        given = [path for path in self.values["--pos"] + [*map(os.path.expanduser, self.arguments)]
                 if os.path.isfile(path)]
        return given or glob.glob("*.pos")

    def told(self, command):
        """What kelvarune-pos, the one beside the program, tells of the files."""
        pos = os.path.join(os.path.dirname(os.path.expanduser(self.program)), "kelvarune-pos")
        for path in self.pos_files():
            with contextlib.suppress(ValueError):
                yield json.loads(output_of(pos, command, "--json", path))

    def goals(self):
        return {f"{goal['tag']}.{goal['number']}": goal["status"]
                for told in self.told("goals") for goal in told["goals"]}

    def tags(self):
        return {goal["tag"]: "" for told in self.told("goals") for goal in told["goals"]}

    def mechanisms(self):
        return {mechanism["name"]: ", ".join(mechanism["drivers"])
                for told in self.told("list") for mechanism in told["mechanisms"]}

    def drivers(self):
        wanted = self.values["--mechanism"] + self.arguments
        found = [(driver, mechanism["name"]) for told in self.told("list")
                 for mechanism in told["mechanisms"] for driver in mechanism["drivers"]]
        return dict([pair for pair in found if pair[1] in wanted] or found)

    def drivers_described(self):
        found = {}
        for path in self.values["--mechanism"] + [
                path for directory in self.values["--mechanism-directory"]
                for path in glob.glob(os.path.join(glob.escape(directory), "*.xml"))]:
            with contextlib.suppress(OSError, ET.ParseError):
                found |= {driver.get("name"): path for driver in ET.parse(path).iter("driver")}
        return found

    def backups(self):
        return {path.rsplit("~", 2)[1]: path for pos in self.pos_files()
                for path in glob.glob(glob.escape(pos) + ".~[0-9]*~")}

    def status_list(self):
        before = self.word[:self.word.rfind(",") + 1]
        return {before + status: "" for status in STATUSES.split()
                if status not in before.split(",")}

    # What comes at the index: its kind, and words with their meanings.

    def choice(self):
        if self.value_of:
            return self.choice_of(self.value_of.names[-1], self.value_of.value.upper())
        if self.other_at:
            return f"command {self.other_at}", {}
        if self.word.startswith("-"):
            return "words", {name + "=" * (option.equals and name.startswith("--")):
                             option.description for name, option in self.options.items()}
        if self.commands and (not self.command or self.command == "help" and not self.before):
            return "words", self.commands
        if not self.names:
            return "words", {}
        argument = self.names[min(self.before, len(self.names) - 1)]
        if self.before >= len(self.names) and not argument.endswith("..."):
            return "words", {}
        return self.choice_of(argument.rstrip("."))

    def choice_of(self, *names):
        for name in [f"{self.name} {names[0]}", *names]:
            if kind := VALUES.get(name):
                break
        else:
            return "words", {}
        if kind == "command":
            return f"command {self.index}", {}
        if kind.split()[0] in ("files", "directories"):
            return kind, {}
        if hasattr(Line, kind):
            return "nospace" if kind == "status_list" else "words", getattr(self, kind)()
        return "words", dict.fromkeys(kind.split(), "")


def unquoted(word):
    """A word as the program would get it, without variables; an open quote is closed."""
    for end in ("", "'", '"'):
        with contextlib.suppress(ValueError):
            return "".join(shlex.split(word + end))
    return word


def main(shell, index, *words):
    index = int(index)
    if shell == "bash":
        words = [unquoted(word) for word in words]
    words = [os.path.expanduser(words[0]), *words[1:]]
    line = Line(index, words)
    kind, found = line.choice()
    print(kind)
    for word, meaning in found.items():
        if shell != "bash" or word.startswith(line.word):
            print(word, meaning, sep="\t")


main(*sys.argv[1:])
