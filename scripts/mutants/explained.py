"""The table of mutants that no test needs to notice, each with the reason.

    @ src/folder/file.cpp
    - the line of the source, or as many lines as it takes to be the only ones like it
    ~ kind: the text that is changed       (the text may be left out)
    ~ another kind
    = Why, in a sentence.

Breaks and indents do not matter in the lines of the source.
"""
import dataclasses


@dataclasses.dataclass
class Entry:
    file: str
    lines: str
    changes: list  # pairs of kind and text; the text may be empty
    reason: str
    row: int
    begin: int = 0
    end: int = 0


def squeezed(text):
    """Without blanks, and for each character left its offset in the text."""
    offsets = [at for at, one in enumerate(text) if not one.isspace()]
    return "".join(text[at] for at in offsets), offsets


def read(table):
    entries = []
    if not table.is_file():
        return entries
    previous = ""
    for row, line in enumerate(table.read_text("utf-8").splitlines(), 1):
        mark, text = line[:1], line[2:].strip()
        if mark == "@" or (mark == "-" and previous == "="):
            file = text if mark == "@" else entries[-1].file
            entries.append(Entry(file, "", [], "", row))
        if mark == "-":
            entries[-1].lines += text + "\n"
        elif mark == "~":
            kind, _, changed = text.partition(":")
            entries[-1].changes.append((kind.strip(), squeezed(changed)[0]))
        elif mark == "=":
            entries[-1].reason += text
        previous = mark if mark.strip() else previous
    return entries


def complaints(root, table, kinds):
    """What is wrong with the table itself. Afterwards each entry knows where its lines are."""
    found = []
    for entry in read(table):
        say = f"{table.name}:{entry.row}: "
        path = root / entry.file
        if not path.is_file():
            found.append(f"{say}there is no {entry.file}")
            continue
        times = len(places(path, entry))
        if times != 1:
            found.append(f"{say}these lines stand {times} times in {entry.file}")
        if not entry.reason or not entry.changes or any(kind not in kinds for kind, _ in entry.changes):
            found.append(f"{say}an entry has kinds of change and a reason")
    return found


def places(path, entry):
    """Where the lines of an entry stand: offsets in bytes, from and to."""
    text = path.read_text("utf-8")
    small, offsets = squeezed(text)
    wanted, _ = squeezed(entry.lines)
    found, at = [], small.find(wanted) if wanted else -1
    while at >= 0:
        first, last = offsets[at], offsets[at + len(wanted) - 1] + 1
        found.append((len(text[:first].encode()), len(text[:last].encode())))
        at = small.find(wanted, at + 1)
    return found


class Explained:
    def __init__(self, root, table):
        self.entries = read(table)
        self.used = set()
        for entry in self.entries:
            found = places(root / entry.file, entry)
            if len(found) == 1:
                entry.begin, entry.end = found[0]

    def has(self, mutant):
        """Whether a mutant is explained; remembers what was of use."""
        for index, entry in enumerate(self.entries):
            if entry.file != mutant.file or not entry.begin <= mutant.begin < entry.end:
                continue
            for change in entry.changes:
                if change[0] == mutant.kind and change[1] in ("", squeezed(mutant.shown)[0]):
                    self.used.add((index, change))
                    return True
        return False

    def useless(self, files):
        """What is explained in these files although no such mutant went unnoticed."""
        return [f"{entry.file}: {kind}: {text or entry.lines.strip()}"
                for index, entry in enumerate(self.entries) if entry.file in files
                for kind, text in entry.changes if (index, (kind, text)) not in self.used]
