#!/usr/bin/env python3
"""tests/tools/deletion-mutants.py [PATTERN]: takes each rule that keeps a deletion from harm out of
the program, one at a time, and shows that a test fails without it.

Works on a copy in build/mutants, natively and without optimisation. Everything is compiled once; for
each rule one file is compiled again. Takes a few minutes, so scripts/test does not run it. With a
pattern only the rules whose name contains it are tried. Exit code 0 when every rule was missed.
"""
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build/mutants"
TESTS = ["main.cpp", "deletion.test.cpp", "file_operations.test.cpp", "safety_rules.test.cpp"]
PLACES = "src/fileops/safety_rules.cpp"


def read_rules():
    """The name of each rule, its file, the text that makes it and what stands there without it."""
    rules = []
    for line in (ROOT / "tests/data/deletion_rules.txt").read_text("utf-8").splitlines():
        if line.startswith("@ "):
            _, file, name = line.split(" ", 2)
            rules.append([name, file, [], []])
        elif line[:1] in ("-", "+"):
            rules[-1][2 if line[0] == "-" else 3].append(line[2:])
    rules = [(name, file, "\n".join(rule), "\n".join(without)) for name, file, rule, without in rules]
    # Each row of the table of protected places; of the two for the recycle bin, which differ in
    # case only, either does the work of both.
    for row in re.findall(r'    (\{L"[^"]+", "\w+", (?:true|false)\}),', (ROOT / PLACES).read_text("utf-8")):
        if "recycle" not in row.lower():
            rules.append((row, PLACES, row, '{L"\\\\:", "", false}'))
    return rules


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, cwd=WORK, **options)


def compile_file(source, target):
    done = run("ccache", "g++", "-std=c++20", "-O0", "-pthread", "-Isrc", "-Itests/unit",
               "-Ithird_party", "-c", str(source), "-o", str(target))
    return done.returncode == 0, done.stderr


def object_of(source):
    return WORK / "obj" / (str(source).replace("/", "_") + ".o")


def prepare():
    shutil.rmtree(WORK, ignore_errors=True)
    (WORK / "obj").mkdir(parents=True)
    for folder in ("src", "tests/unit", "tests/data"):
        shutil.copytree(ROOT / folder, WORK / folder)
    shutil.copytree("/usr/include/doctest", WORK / "third_party/doctest")
    sources = [path.relative_to(WORK) for path in sorted((WORK / "src").rglob("*.cpp"))]
    sources = [path for path in sources
               if "win" not in path.parts and not path.stem.endswith("_win")]
    sources += [pathlib.Path("tests/unit") / name for name in TESTS]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for ok, text in pool.map(lambda one: compile_file(one, object_of(one)), sources):
            if not ok:
                sys.exit(text)
    return sources


def tests_pass(objects, program):
    linked = run("g++", "-pthread", "-fuse-ld=gold", *map(str, objects), "-o", str(program))
    if linked.returncode != 0:
        sys.exit(linked.stderr)
    try:
        return run(str(program), "--abort-after=1", timeout=120).returncode == 0
    except subprocess.TimeoutExpired:
        return False  # a rule that ends a loop, say


def is_missed(number, rule, sources):
    name, file, makes, without = rule
    text = (WORK / file).read_text(encoding="utf-8")
    if text.count(makes) != 1:
        sys.exit(f"{name}: stands {text.count(makes)} times in {file}")
    mutant = WORK / f"obj/mutant{number}"
    source, target = mutant.with_suffix(".cpp"), mutant.with_suffix(".o")
    source.write_text(text.replace(makes, without), encoding="utf-8")
    ok, complaint = compile_file(source, target)
    if not ok:
        sys.exit(f"{name}: {complaint}")
    objects = [target if str(one) == file else object_of(one) for one in sources]
    missed = not tests_pass(objects, mutant)
    mutant.unlink()
    print(f"{'missed' if missed else 'NOT MISSED'}: {name}", flush=True)
    return missed


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else ""
    sources = prepare()
    if not tests_pass([object_of(one) for one in sources], WORK / "obj/all"):
        sys.exit("the tests fail with every rule in its place")
    rules = [rule for rule in read_rules() if pattern in rule[0]]
    with concurrent.futures.ThreadPoolExecutor(2 * os.cpu_count()) as pool:
        results = list(pool.map(lambda one: is_missed(*one, sources), enumerate(rules)))
    print(f"{len(rules)} rules, {results.count(False)} not missed")
    sys.exit(0 if rules and all(results) else 1)


main()
