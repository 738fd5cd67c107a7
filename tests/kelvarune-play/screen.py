"""As much of a terminal as the program uses: what would stand on the screen, and what has scrolled
off it."""

import re

SEQUENCE = re.compile(r"\x1b(?:\[([0-9;]*)([A-Za-z])|([78D]))")


class Screen:
    def __init__(self, rows, columns):
        self.lines = [""] * rows
        self.scrolled_off = []
        self.row = self.column = 0
        self.saved = (0, 0)
        self.last_lines = []  # each text that stood in the last row
        self.resize(rows, columns)

    def resize(self, rows, columns):
        """Lines beyond the cursor are cut off or added; terminals forget the scrolling region."""
        surplus = max(0, self.row + 1 - rows)
        self.scrolled_off += self.lines[:surplus]
        self.lines = (self.lines[surplus:] + [""] * rows)[:rows]
        self.row -= surplus
        self.rows, self.columns = rows, columns
        self.bottom = rows - 1  # the last row that scrolls

    def feed(self, data):
        text = data.decode()
        at = 0
        while at < len(text):
            match = SEQUENCE.match(text, at)
            if match:
                self.obey(match[2] or match[3], match[1])
                at = match.end()
                continue
            self.put(text[at])
            at += 1

    def put(self, char):
        if char == "\r":
            self.column = 0
        elif char == "\n":
            self.down()
        elif char == "\t":
            self.column = self.column // 8 * 8 + 8
        else:
            assert char >= " ", f"unexpected {char!r}"
            assert self.column < self.columns, "a line runs over the edge"
            line = self.lines[self.row].ljust(self.column)
            self.lines[self.row] = line[:self.column] + char + line[self.column + 1:]
            self.column += 1

    def down(self):
        if self.row == self.bottom:
            self.scrolled_off.append(self.lines.pop(0))
            self.lines.insert(self.bottom, "")
        else:
            self.row = min(self.row + 1, self.rows - 1)

    def obey(self, name, numbers):
        first, *more = [int(n) for n in numbers.split(";")] if numbers else [0]
        if name == "7":
            self.saved = (self.row, self.column)
        elif name == "8":
            if self.lines[-1]:
                self.last_lines.append(self.lines[-1])
            self.row, self.column = self.saved
        elif name == "D":
            self.down()
        elif name == "A":
            self.row = max(0, self.row - max(1, first))
        elif name == "H":
            self.row = min(self.rows, max(1, first)) - 1
            self.column = (more or [1])[0] - 1
        elif name == "K":
            assert first == 2
            self.lines[self.row] = ""
        elif name == "J":
            assert first == 0
            self.lines[self.row] = self.lines[self.row][:self.column]
            self.lines[self.row + 1:] = [""] * (self.rows - self.row - 1)
        elif name == "r":
            assert first <= 1
            self.bottom = (more or [self.rows])[0] - 1
            self.row = self.column = 0
        else:
            raise AssertionError(f"unexpected escape sequence {name!r}")

    def is_whole(self):
        return self.bottom == self.rows - 1

    def text(self):
        """Everything that was written and not erased."""
        lines = [line.rstrip() for line in self.scrolled_off + self.lines]
        return "\n".join(lines).rstrip("\n") + "\n"
