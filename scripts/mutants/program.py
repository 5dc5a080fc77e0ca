"""The test program with all mutants in it: writing, compiling and running it."""
import ctypes
import dataclasses
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
FLAGS = ["-std=c++20", "-w", "-Wno-narrowing", "-pthread", "-D_GLIBCXX_ASSERTIONS",
         "-ftrivial-auto-var-init=pattern", "-fmax-errors=0", "-Isrc", "-Itests/unit"]
MEMORY = 4 << 30
LIBC = ctypes.CDLL(None)
ADDR_NO_RANDOMIZE = 0x0040000


class Text:
    """One file with its mutants, numbered, and where each of them has come to lie."""

    def __init__(self, text, numbered):
        self.spans = {}
        # At one offset: what ends there (the inner first), then what begins there (the outer first).
        edits, tables = [], {}
        for order, (number, one) in enumerate(numbered):
            if one.table:
                tables.setdefault(one.table, []).append((number, one))
                continue
            length = one.end - one.begin
            edits.append((one.begin, 1, -length, order, number, one.before))
            edits.append((one.end, 0, length, -order, number, one.after))
        for (begin, end), rows in tables.items():
            for place, size in constants(text, begin, rows[0][1].begin):
                edits.append((place, 2, 0, 0, None, size))
            for number, one in rows:
                edits.append((end, 0, 0, 0, number, one.after))
        out, at, length = [], 0, 0
        for place, _, _, _, number, what in sorted(edits, key=lambda one: one[:4]):
            out.append(text[at:place])
            length += len(out[-1])
            at = place
            if number is None:
                at += what
                continue
            first = length
            out.append(what.replace("\0", str(number)).encode())
            length += len(out[-1])
            begin, _ = self.spans.get(number, (first, length))
            self.spans[number] = begin, length
        out.append(text[at:])
        self.bytes = b"".join(out)

    def mutants_at(self, line, column):
        """The innermost mutant around a place the compiler complains about; else all of that line."""
        lines = self.bytes.split(b"\n")
        first = sum(len(one) + 1 for one in lines[:line - 1])
        last = first + len(lines[line - 1])
        offset = first + column - 1
        around = [(end - begin, number) for number, (begin, end) in self.spans.items()
                  if begin <= offset <= end]
        if around:
            return {min(around)[1]}
        return {number for number, (begin, end) in self.spans.items() if begin <= last and end >= first}


def constants(text, begin, end):
    """Where a declared table says that it does not change: offsets and lengths."""
    head = text[begin:end].split(b"=")[0]
    words = list(re.finditer(rb"\bconst(expr)?\s", head))
    for word in words:
        # "const char* names[]": what is pointed at stays as it is.
        pointed = b"*" in head[word.end():] and word.group().strip() == b"const"
        if not pointed:
            yield begin + word.start(), word.end() - word.start()


@dataclasses.dataclass
class Case:
    name: str
    seconds: float
    reached: set


class Program:
    """Lives in a folder of its own, in which src and tests are copied. With the thread sanitizer, which
    uses all addresses there are, its memory has no bound."""

    def __init__(self, root, work, sanitizer=()):
        self.root, self.work, self.sanitizer = root, work, sanitizer
        self.tree = work / "tree"
        self.objects = work / "objects"
        self.binary = work / "tests"
        self.texts = {}

    def copy(self):
        shutil.rmtree(self.tree, ignore_errors=True)
        for folder in ("src", "tests/unit", "tests/data"):
            if (self.root / folder).is_dir():
                shutil.copytree(self.root / folder, self.tree / folder)
        self.objects.mkdir(parents=True, exist_ok=True)

    def write(self, numbered):
        """Puts the mutants into the copied sources; what is the same as before stays untouched."""
        by_file = {}
        for number, one in numbered:
            by_file.setdefault(one.file, []).append((number, one))
        for file in set(self.texts) | set(by_file):
            text = Text((self.root / file).read_bytes(), by_file.get(file, []))
            if file not in self.texts or self.texts[file].bytes != text.bytes:
                (self.tree / file).write_bytes(text.bytes)
            self.texts[file] = text

    def object_of(self, source):
        return self.objects / (source.replace("/", "_") + ".o")

    def compile(self, sources, pool):
        """Compiles some sources. Gives back the mutants that stood in the way."""
        def complaints(source):
            path = HERE / source if source == "recorder.cpp" else source
            memory = ["ccache"] if shutil.which("ccache") else []
            speed = "-O1" if source.startswith("src/") else "-O0"
            done = subprocess.run(
                ["nice", "-n5", *memory, "g++", *FLAGS, *self.sanitizer, speed, "-include", str(HERE / "switch.h"), "-c",
                 str(path), "-o", str(self.object_of(source))],
                cwd=self.tree, capture_output=True, text=True)
            return done.stderr if done.returncode != 0 else ""
        guilty, unknown = set(), []
        for complaint in filter(None, pool.map(complaints, sources)):
            places = re.findall(r"^(\S+?):(\d+):(\d+): +(?:(?:fatal )?error:|required from here)",
                                complaint, re.MULTILINE)
            mutants = set()
            for file, line, column in set(places):
                if file in self.texts:
                    mutants |= self.texts[file].mutants_at(int(line), int(column))
            guilty |= mutants
            if not mutants:
                unknown.append(complaint)
        if unknown:
            raise SystemExit("\n".join(unknown))
        return guilty

    def link(self, sources):
        done = subprocess.run(["g++", "-pthread", *self.sanitizer, *(str(self.object_of(one)) for one in sources), "-o",
                               str(self.binary)], capture_output=True, text=True)
        if done.returncode != 0:
            raise SystemExit(done.stderr)

    def run(self, arguments=(), number=None, seconds=60, out=subprocess.DEVNULL, **more):
        """What becomes of the tests: "passed", "failed" or "hung" (at work or asleep)."""
        environment = {**os.environ, **more}
        if number is not None:
            environment["VORDA_MUTANT"] = str(number)
        try:
            done = subprocess.run([str(self.binary), *arguments], cwd=self.tree, env=environment,
                                  stdin=subprocess.DEVNULL, stdout=out, stderr=out,
                                  timeout=30 + 30 * seconds, preexec_fn=lambda: limit(seconds, not self.sanitizer))
        except subprocess.TimeoutExpired:
            return "hung"
        if done.returncode == -signal.SIGXCPU:
            return "hung"
        return "passed" if done.returncode == 0 else "failed"

    def record(self, count):
        """The test cases, with the mutants each of them reaches."""
        record = self.work / "record"
        record.unlink(missing_ok=True)
        log = self.work / "tests.log"
        with log.open("w") as out:
            found = self.run(out=out, VORDA_MUTANTS=str(count), VORDA_RECORD=str(record))
        if found != "passed":
            raise SystemExit(log.read_text("utf-8", "replace") + "the tests fail with every line in its place")
        cases = []
        for line in record.read_text("utf-8").splitlines():
            name, seconds, reached = line.split("\t")
            cases.append(Case(name, float(seconds), set(map(int, reached.split()))))
        return cases

    def outcome(self, number, cases):
        """What becomes of these test cases with this mutant."""
        names = ",".join(case.name.replace("\\", "\\\\").replace(",", "\\,") for case in cases)
        seconds = sum(case.seconds for case in cases)
        return self.run(["--abort-after=1", f"--test-case={names}"], number, seconds)


def limit(seconds, memory):
    """What a test run may use, set in the process itself: memory, time at work, no random addresses,
    so that one run is like the other."""
    os.nice(10)
    if memory:
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    most = int(5 + 10 * seconds)
    resource.setrlimit(resource.RLIMIT_CPU, (most, most + 1))
    LIBC.personality(ADDR_NO_RANDOMIZE)
