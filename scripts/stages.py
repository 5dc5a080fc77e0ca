"""The stages of scripts/test, which installs what they need and then runs this file.

Two stages run side by side: one may wait on Wine while the other compiles. Only one stage at a time uses
Wine, and what compiles has a lower priority, so that the tests' time limits hold. A stage that
fails shows its log, and the stages that do not need it go on. Logs stay in build/logs/.
"""
import contextlib
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
LOGS = ROOT / "build" / "logs"
MINGW, ASAN, TSAN = "mingw-release", "native-asan", "native-tsan"
WORKERS = 2


class Failed(Exception):
    """A stage failed: `passed` and `failed` count its cases."""

    def __init__(self, passed=0, failed=1):
        super().__init__()
        self.passed, self.failed = passed, max(failed, 1)


class Wrong(Exception):
    """The command line asks for something that does not exist."""


# ---- running programs ----------------------------------------------------------------------------

running = set()
stopping = threading.Event()


def run(log, command, **options):
    """Runs a command with its output going to the log, and returns its exit code."""
    if stopping.is_set():
        raise Failed()
    log.flush()
    # A session of its own, so that an interruption can end the command with all that it started.
    with subprocess.Popen(command, cwd=options.pop("cwd", ROOT), stdin=subprocess.DEVNULL, stdout=log,
                          stderr=subprocess.STDOUT, start_new_session=True, **options) as process:
        running.add(process)
        try:
            return process.wait()
        finally:
            running.discard(process)


def must(log, *command):
    if run(log, command) != 0:
        raise Failed()


low_priority = []  # set to a prefix of commands that must not slow down the tests beside them


def shell_function(name, *arguments):
    """The command for a function of lib.sh."""
    return [*low_priority, "bash", "-euo", "pipefail", "-c", f'source scripts/lib.sh; {name} "$@"',
            name, *arguments]


# ---- counting cases ------------------------------------------------------------------------------

DOCTEST = re.compile(r"test cases:\s*\d+ \|\s*(\d+) passed \|\s*(\d+) failed")
NODE_PASS = re.compile(r"^(?:#|ℹ) pass (\d+)", re.MULTILINE)
NODE_FAIL = re.compile(r"^(?:#|ℹ) fail (\d+)", re.MULTILINE)


def cases_in(output):
    """(passed, failed) as doctest or node:test sums up its run, or None for any other program."""
    output = re.sub(r"\x1b\[[0-9;]*m", "", output)
    doctest, node = DOCTEST.search(output), NODE_PASS.search(output)
    if doctest:
        return int(doctest.group(1)), int(doctest.group(2))
    if node:
        return int(node.group(1)), int(NODE_FAIL.search(output).group(1))
    return None


def count(junit):
    """(passed, failed) of a JUnit file written by ctest. An entry of many cases counts as that many,
    any other as one; an entry that failed counts at least one failure."""
    passed = failed = 0
    for entry in xml.etree.ElementTree.parse(junit).iter("testcase"):
        good = entry.get("status") == "run"
        cases = cases_in(entry.findtext("system-out") or "") or (int(good), 0)
        passed += cases[0]
        failed += cases[1] if good else max(cases[1], 1)
    return passed, failed


# A test that its home cannot run, as node:test reports it: what is missing says tests/system/support/home.mjs.
NOT_HERE = re.compile(r"^\s*(?:ok \d+ - (.*)|﹣ (.*) \([\d.]+ms\)) # (?:SKIP )?not on this home \((.*)$", re.MULTILINE)
not_here = {}  # for each log of a stage, the lines about such tests


def note_not_here(log, output):
    output = re.sub(r"\x1b\[[0-9;]*m", "", output)
    not_here.setdefault(pathlib.Path(log.name).stem, []).extend(
        f"{tap or spec}  ({missing}" for tap, spec, missing in NOT_HERE.findall(output))


# ---- what stages do ------------------------------------------------------------------------------


def check(*command):
    """A check without cases of its own counts as one."""
    def stage(log, names):
        must(log, *command, *names)
        return 1
    return stage


def build(preset, *targets):
    def stage(log, names):
        must(log, *shell_function("configure_and_build", preset, *(names or targets)))
        return 0
    return stage


def tidy(log, names):
    # clang-tidy takes its options from these two.
    for preset in (MINGW, ASAN):
        must(log, *shell_function("configure", preset))
    must(log, *low_priority, "scripts/tidy", *names)
    return 1


def tests(preset, *selection):
    """Runs ctest entries of a build tree, all of them unless selected by name."""
    def stage(log, names):
        if names:
            return named_tests(log, preset, names)
        junit = pathlib.Path(log.name).with_suffix(".xml")
        junit.unlink(missing_ok=True)
        code = run(log, ["ctest", "--test-dir", f"build/{preset}", *selection, "--parallel", "2",
                         "--no-tests=error", "--output-on-failure", "--output-junit", junit,
                         "--test-output-truncation", "head", "--test-output-size-passed", "100000"])
        if not junit.is_file():
            raise Failed()
        passed, failed = count(junit)
        for entry in xml.etree.ElementTree.parse(junit).iter("system-out"):
            note_not_here(log, entry.text or "")
        if code != 0 or failed or not passed:
            raise Failed(passed, failed)
        return passed

    def named_tests(log, preset, names):
        """Runs the command of the one ctest entry directly, narrowed down to the names."""
        entry_name = selection[1].strip("^$") if selection else "unit"
        listed = subprocess.run(["ctest", "--test-dir", f"build/{preset}", "--show-only=json-v1",
                                 "-R", f"^{entry_name}$"], cwd=ROOT, check=True, capture_output=True)
        entry = json.loads(listed.stdout)["tests"][0]
        properties = {p["name"]: p["value"] for p in entry["properties"]}
        variables = dict(v.split("=", 1) for v in properties.get("ENVIRONMENT", []))
        narrow = narrow_node if "--test" in entry["command"] else narrow_doctest
        total = 0
        for name, command in narrow(entry["command"], names):
            log.flush()
            start = log.tell()
            code = run(log, command, cwd=properties["WORKING_DIRECTORY"], env={**os.environ, **variables})
            log.seek(0, os.SEEK_END)
            passed, failed = cases_in(text_of(log, start)) or (0, 0)
            note_not_here(log, text_of(log, start))
            if code != 0 or failed:
                raise Failed(total + passed, failed)
            if not passed:
                log.write(f"no test has a name with: {name}\n")
                raise Failed(total)
            total += passed
        return total
    return stage


def windows_home(log, names):
    """The system tests by the Windows build of node under Wine. Before that, a test that fails on purpose
    must be reported as failed in both homes, and one that its home cannot run must be told."""
    def outcome(*command):
        log.flush()
        start = log.tell()
        code = run(log, command)
        log.seek(0, os.SEEK_END)
        text = text_of(log, start)
        return code, *(cases_in(text) or (0, 0)), text

    if not names:
        fails = "tests/tools/homes/fails.mjs"
        for command in (["node", "--test", fails], ["node", "scripts/windows-home.mjs", fails]):
            code, passed, failed, text = outcome(*command)
            if code == 0 or (passed, failed, len(NOT_HERE.findall(text))) != (1, 1, 1):
                log.write(f"{' '.join(command)}: of three tests one must pass, one fail, one be left out\n")
                raise Failed()
    code, passed, failed, text = outcome("node", "scripts/windows-home.mjs", *names)
    note_not_here(log, text)
    if code != 0 or failed or not passed:
        raise Failed(passed, failed)
    return passed


def text_of(log, start):
    with open(log.name, "rb") as written:
        written.seek(start)
        return written.read().decode("utf-8", "replace")


# Both yield (name, command): one run for each name, so that none of them can match nothing unnoticed.


def narrow_doctest(command, names):
    for name in names:
        pattern = name.replace(",", r"\,")
        yield name, [*command, f"--test-case=*{pattern}*"]


def narrow_node(command, names):
    """A name that is part of a test file's name chooses that file; any other is a pattern that the
    names of the tests must match."""
    start = command.index("--test") + 1
    files = command[start:]
    chosen, patterns = set(), []
    for name in names:
        found = {f for f in files if name in pathlib.Path(f).name.removesuffix(".test.mjs")}
        chosen |= found
        if not found:
            patterns.append(name)
    files = sorted(chosen) or files
    if not patterns:
        yield ", ".join(names), [*command[:start], *files]
    for name in patterns:
        escaped = name.replace("/", r"\/")
        yield name, [*command[:start], f"--test-name-pattern=/{escaped}/i", *files]


# ---- the stages ----------------------------------------------------------------------------------


class Stage:
    """`needs` must have passed before; stages in `after` must have ended if they run at all. `names`
    says what may follow the stage's name on the command line."""

    def __init__(self, name, about, action, needs=(), after=(), names=None, wine=False):
        self.name, self.about, self.action = name, about, action
        self.needs, self.after, self.names, self.wine = needs, after, names, wine
        self.state = "waiting"  # then running, passed or failed

    @property
    def title(self):
        return self.name.replace("-build", ": build")


CASE = "part of a case's name"
FILE_OR_TEST = "part of a file's name, or a pattern for test names"

# In the order in which they start when nothing holds them up.
STAGES = [
    Stage("vorda-build", "vorda.exe, vorda.com and the programs their tests start",
          build(MINGW, "vorda", "vorda_com", "test_programs")),
    Stage("format", "clang-format", check("scripts/format", "--check")),
    Stage("types", "the page's types", check("node_modules/.bin/tsc", "-p", "src/page")),
    Stage("eslint", "the page, and the tests and tools in JavaScript", check("npm", "run", "--silent", "lint")),
    Stage("scripts", "shellcheck and pyflakes", check("scripts/lint-scripts")),
    Stage("workflows", "what runs on every push", check("bash", "-c",
          "node scripts/lint-workflows.mjs --self-test && node scripts/lint-workflows.mjs")),
    Stage("system", "vorda.exe from outside, under Wine", tests(MINGW, "-R", "^system$"),
          needs=["vorda-build"], names=FILE_OR_TEST, wine=True),
    Stage("page", "the page in a browser", tests(MINGW, "-R", "^page$"),
          needs=["vorda-build"], names=FILE_OR_TEST, wine=True),
    Stage("release", "what is published, made of the programs of this build", tests(MINGW, "-R", "^release$"),
          needs=["vorda-build"], names=FILE_OR_TEST, wine=True),
    Stage("unit-build", "unit tests for Windows", build(MINGW, "vorda_tests"), after=["vorda-build"]),
    Stage("unit", "unit tests under Wine", tests(MINGW, "-R", "^unit$"),
          needs=["unit-build"], names=CASE, wine=True),
    Stage("asan-build", "portable unit tests and fuzz targets", build(ASAN)),
    Stage("asan", "unit tests and kept fuzz inputs, address and undefined-behaviour sanitizers",
          tests(ASAN), needs=["asan-build"], names=CASE),
    Stage("tsan-build", "portable unit tests", build(TSAN)),
    Stage("tsan", "unit tests, thread sanitizer", tests(TSAN), needs=["tsan-build"], names=CASE),
    Stage("rest-build", "what no test needs, such as the benchmarks for Windows", build(MINGW),
          after=["vorda-build", "unit-build"]),
    Stage("tools", "checks of includes and imports, and tests of these checks",
          tests(MINGW, "-E", "^(system|page|unit|release|installer)$"), needs=["vorda-build"], after=["rest-build"]),
    Stage("tidy", "clang-tidy", tidy, after=["vorda-build", "rest-build", "asan-build"], names="C++ files"),
]
# Not among everything, since they take minutes: before a release, and after a change of what they test.
ON_REQUEST = [
    Stage("windows-home", "vorda.exe from outside, by the Windows build of node under Wine", windows_home,
          needs=["vorda-build"], names=FILE_OR_TEST, wine=True),
    Stage("installer", "the installer under Wine", tests(MINGW, "-R", "^installer$"), needs=["vorda-build"],
          names=FILE_OR_TEST, wine=True),
    Stage("reproducible", "two whole releases from two clones are the same; the lines of a crash",
          check("tests/release/reproducible"), wine=True),
]
BY_NAME = {stage.name: stage for stage in [*STAGES, *ON_REQUEST]}
GROUPS = {"lint": ["format", "types", "eslint", "scripts", "workflows", "tidy"]}


def usage():
    lines = ["scripts/test                     runs everything",
             "scripts/test STAGE...            runs these stages, and builds what they need",
             "scripts/test STAGE NAME...       runs a part of one stage",
             "", "Stages:"]
    lines += [f"  {name:12} {', '.join(stages)}" for name, stages in GROUPS.items()]
    for stage in BY_NAME.values():
        lines.append(f"  {stage.name:12} {stage.about}" + (f"; NAME is {stage.names}" if stage.names else "")
                     + (" (only when named)" if stage in ON_REQUEST else ""))
    lines += ["", "Examples:",
              "  scripts/test unit 'name patterns'",
              "  scripts/test system deletion",
              "  scripts/test page session 'light and dark'"]
    return "\n".join(lines)


def with_needs(names):
    wanted = set()
    waiting = list(names)
    while waiting:
        name = waiting.pop()
        if name not in wanted:
            wanted.add(name)
            waiting += BY_NAME[name].needs
    return [stage for stage in BY_NAME.values() if stage.name in wanted]


def chosen_stages(arguments):
    """(the stages to run, in order, and {stage: names within it})"""
    if not arguments:
        return STAGES, {}
    known = {**{name: [name] for name in BY_NAME}, **GROUPS}
    if all(argument in known for argument in arguments):
        return with_needs(name for argument in arguments for name in known[argument]), {}
    first, *names = arguments
    if first not in known:
        raise Wrong(f"there is no stage {first}; scripts/test --help lists them")
    if first in GROUPS or not BY_NAME[first].names:
        raise Wrong(f"{first} takes no names, and one of {', '.join(names)} is no stage")
    within = {first: names}
    if first == "asan":
        within["asan-build"] = ["vorda_tests"]  # the fuzz targets have no cases
    return with_needs([first]), within


# ---- running them --------------------------------------------------------------------------------


class Runner:
    def __init__(self, stages, names):
        self.stages, self.names = stages, names
        self.passed = self.failed = 0
        self.change = threading.Condition()
        self.workers = [threading.Thread(target=self.work, daemon=True) for _ in range(WORKERS)]

    def states(self, names):
        return {stage.state for stage in self.stages if stage.name in names}

    def next_stage(self):
        """A stage that may start now, or None. Called under the lock."""
        wine_busy = any(stage.wine and stage.state == "running" for stage in self.stages)
        for stage in self.stages:
            if stage.state != "waiting" or (stage.wine and wine_busy):
                continue
            if "failed" in self.states(stage.needs):
                self.end(stage, "failed", "not run, since what it needs failed")
                self.failed += 1
                return self.next_stage()
            before = self.states([*stage.needs, *stage.after])
            if before <= {"passed", "failed"}:
                return stage
        return None

    def end(self, stage, state, text):
        stage.state = state
        print(f"{stage.title:14} {text}", flush=True)
        self.change.notify_all()

    def work(self):
        while True:
            with self.change:
                while not stopping.is_set() and (stage := self.next_stage()) is None:
                    if all(s.state != "waiting" for s in self.stages):
                        return
                    self.change.wait()
                if stopping.is_set():
                    return
                stage.state = "running"
            self.run_stage(stage)

    def run_stage(self, stage):
        start = time.monotonic()
        path = LOGS / f"{stage.name}.log"
        passed, failed, state = 0, 0, "passed"
        with path.open("w", encoding="utf-8") as log:
            try:
                passed = stage.action(log, self.names.get(stage.name, []))
            except Failed as failure:
                passed, failed, state = failure.passed, failure.failed, "failed"
            except Exception as error:  # a fault of this script must not end in silence
                log.write(f"{type(error).__name__}: {error}\n")
                failed, state = 1, "failed"
        seconds = round(time.monotonic() - start)
        with self.change:
            self.passed += passed
            self.failed += failed
            if stopping.is_set():
                self.end(stage, state, "interrupted")
            elif state == "passed":
                count = f"{passed:4} passed" if passed else ""
                self.end(stage, state, f"ok {seconds:5} s {count}".rstrip())
            else:
                log = path.read_text(encoding="utf-8", errors="replace").rstrip()
                self.end(stage, state, f"FAILED after {seconds} s, {failed} failed; its log:\n{log}\n"
                                       f"stage failed: {stage.name}")

    def run(self):
        LOGS.mkdir(parents=True, exist_ok=True)
        for worker in self.workers:
            worker.start()
        self.join()

    def join(self, seconds=None):
        for worker in self.workers:
            worker.join(seconds)


def interrupted(*_):
    raise KeyboardInterrupt


def main():
    arguments = sys.argv[1:]
    if {"--help", "-h"} & set(arguments):
        print(usage())
        return 0
    try:
        stages, names = chosen_stages(arguments)
    except Wrong as wrong:
        print(wrong, "0 passed, 1 failed", sep="\n")
        return 2
    signal.signal(signal.SIGTERM, interrupted)
    if any(stage.wine for stage in stages):
        low_priority[:] = ["nice", "-n", "5"]
    runner = Runner(stages, names)
    try:
        runner.run()
    except KeyboardInterrupt:
        stopping.set()
        for process in list(running):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGTERM)
        runner.join(10)
        runner.failed = max(runner.failed, 1)
    for name, tests_of_it in not_here.items():
        if tests_of_it:
            print(f"{name}: {len(tests_of_it)} not on this home:", *tests_of_it, sep="\n  ")
    bad = [stage.name for stage in stages if stage.state == "failed"]
    if bad:
        print(f"failed stages: {', '.join(bad)}")
    print(f"{runner.passed} passed, {runner.failed} failed", flush=True)
    return 1 if runner.failed or not runner.passed else 0


sys.exit(main())
