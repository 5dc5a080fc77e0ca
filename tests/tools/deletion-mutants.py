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
RULES = "src/fileops/safety_rules.cpp"
JUDGE = "src/fileops/path_judge.cpp"
DELETE = "src/fileops/delete.cpp"
API = "src/fileops/delete_api.cpp"
CLEAN = "src/fileops/cleanup.cpp"
CHANGE = "src/fileops/job_change.cpp"

# The name of each rule, its file, the text that makes it and what stands there without it.
MUTANTS = [
    ("slashes are backslashes", RULES, "std::replace(out.begin(), out.end(), L'/', L'\\\\');", ""),
    ("trailing backslashes", RULES, "while (out.size() > 3 && out.back() == L'\\\\') out.pop_back();", ""),
    ("tooshort", RULES, "if (whole.size() < 3) return", "if (whole.empty()) return"),
    ("dotdot", RULES, 'if (whole.find(L"..") != std::wstring_view::npos) return "dotdot";', ""),
    ("wildcard", RULES, 'if (whole.find_first_of(L"*?") != std::wstring_view::npos) return "wildcard";', ""),
    ("driveroot, two characters", RULES, 'drive && whole.size() == 2 ? "driveroot" : "tooshort"', '"tooshort"'),
    ("driveroot, three characters", RULES, "if (drive && whole.size() == 3 && whole[2] == L'\\\\') return \"driveroot\";", ""),
    ("notabsolute, behind a drive", RULES, "if (whole[2] != L'\\\\') return \"notabsolute\";", ""),
    ("notabsolute, no share", RULES, 'if (!whole.starts_with(L"\\\\\\\\")) return "notabsolute";', ""),
    ("wholeshare, server alone", RULES, 'if (serverEnd == std::wstring_view::npos) return "wholeshare";', "if (serverEnd == std::wstring_view::npos) return {};"),
    ("wholeshare", RULES, 'if (shareEnd == std::wstring_view::npos) return "wholeshare";', "if (shareEnd == std::wstring_view::npos) return {};"),
    ("protected places beneath", RULES, "(place.beneath && rest[length] == L'\\\\')", "false"),
    ("protected places, boundary", RULES, "rest.size() == length || (place.beneath && rest[length] == L'\\\\')", "true"),
    ("profile", RULES, 'if (levels(rest) == 2 && startsWithIgnoreCase(rest, L"\\\\Users")) return "profile";', ""),
    ("inside, longer", RULES, "inner.size() <= outer.size() ||", ""),
    ("inside, same beginning", RULES, "|| !startsWithIgnoreCase(inner, outer)", ""),
    ("inside, boundary", RULES, "return outer.ends_with(L'\\\\') || inner[outer.size()] == L'\\\\';", "return true;"),
    ("spelling first", JUDGE, "verdict.word = deleteRefusal(verdict.path);", ""),
    ("outside by spelling", JUDGE, "!(isPlace(root_) && isInsideRoot(root_, verdict.path))", "!isPlace(root_)"),
    ("outside a root that is no place", JUDGE, "isPlace(root_) && ", ""),
    ("stray characters", JUDGE, "} else if (hasStrayCharacters(verdict.path)) {", "} else if (false) {"),
    ("too long for the shell", JUDGE, "if (path.size() > kLongestForShell) return true;", ""),
    ("lone surrogates", JUDGE, "if (isHighSurrogate(unit) || isLowSurrogate(unit)) return true;", ""),
    ("control characters", JUDGE, "unit < 0x20 ||", ""),
    ("replacement character", JUDGE, "unit == kReplacement ||", ""),
    ("wildcard <", JUDGE, "unit == L'<' ||", ""),
    ("wildcard >", JUDGE, "unit == L'>' ||", ""),
    ("wildcard quote", JUDGE, "|| unit == L'\"'", ""),
    ("colons", JUDGE, "if (unit == L':' && i != 1) return true;", ""),
    ("full path", JUDGE, "const std::wstring full = machine_.fullPath(verdict.path);", "const std::wstring full = verdict.path;"),
    ("full path, refusal", JUDGE, "if (std::string word = refusalOfForm(full, fullRoot_); !word.empty()) return word;", ""),
    ("read otherwise", JUDGE, 'return otherwise ? "ambiguous" : "";', 'return "";'),
    ("read otherwise, device", JUDGE, 'verdict.path.starts_with(L"\\\\\\\\.\\\\") ||', ""),
    ("read otherwise, not as spelled", JUDGE, "!equalsIgnoreCase(verdict.path, full) ||", ""),
    ("missing", JUDGE, 'if (!verdict.facts.exists) return otherwise ? "ambiguous" : "missing";', ""),
    ("long form", JUDGE, "refusalOfForm(*longForm, longRoot_)", "std::string()"),
    ("final place of the parent", JUDGE, "refusalOfForm(verdict.real, finalRoot_)", "std::string()"),
    ("no final place", JUDGE, 'if (!parent) return "ambiguous";', 'if (!parent) return "";'),
    ("place on the volume", JUDGE, "std::string word = deleteRefusal(onVolume)", "std::string word"),
    ("own place", JUDGE, "refusalOfForm(own->path, finalRoot_)", "std::string()"),
    ("short name that nobody resolves", JUDGE, '} else if (!longForm && name.find(L\'~\') != std::wstring_view::npos) {', "} else if (false) {"),
    ("guarded folder by text", JUDGE, "equalsIgnoreCase(one.path, form) ||", ""),
    ("around a guarded folder by text", JUDGE, "isInsideRoot(form, one.path) ||", "false ||"),
    ("beneath a guarded folder by text", JUDGE, "(one.beneath && isInsideRoot(one.path, form))", "false"),
    ("somebody's folder by text", JUDGE, "one.word == kAllUsers && equalsIgnoreCase(", "false && equalsIgnoreCase("),
    ("outside by form", JUDGE, "return root_.empty() || (!root.empty() && isInsideRoot(root, form))", "return true"),
    ("guarded folder by identity", JUDGE, "if (one.identity == verdict.identity) return one.word;", ""),
    ("around a guarded folder by identity", JUDGE, "above_.push_back({at, machine_.identity(at), word, false});", ""),
    ("somebody's folder by identity", JUDGE, "one.word == kAllUsers && one.identity == identity", "false"),
    ("beneath a guarded folder by identity", JUDGE, "if (one.beneath && one.identity == identity) word = one.word;", ""),
    ("guarded folder on the way", JUDGE, "if (one.identity == machine_.identity(path)) return one.word;", ""),
    ("guarded folder by its real place", JUDGE, "if (place && place->path != known.path)", "if (false)"),
    ("mounted volumes", JUDGE, "if (folders_.facts(path).exists) guard(path, place.word, place.beneath);", ""),
    ("ancestors take along", DELETE, "if (hasAncestorIn(spelled, lowerCase(one.path)) || hasAncestorIn(real, place)) continue;", ""),
    ("once", DELETE, "if (taken.insert(place).second)", ""),
    ("the parent is held", DELETE, "held.emplace(folder, machine_.hold(folder));", "held.emplace(folder, nullptr);"),
    ("judged again", DELETE, "  judgeAgain();\n", ""),
    ("gone meanwhile", DELETE, 'now.word == "missing"', "false"),
    ("another word meanwhile", DELETE, "!now.word.empty() ||", ""),
    ("elsewhere meanwhile", DELETE, "now.real != before.real ||", ""),
    ("another file meanwhile", DELETE, "now.identity != before.identity ||", ""),
    ("a folder meanwhile", DELETE, "now.facts.folder != before.facts.folder ||", ""),
    ("a link meanwhile", DELETE, "now.facts.reparsePoint != before.facts.reparsePoint", "false"),
    ("dry run", DELETE, "if (request_.dryRun) {", "if (false) {"),
    ("a scan without a root", API, 'if (fields->has("job") && wanted.root.empty())', 'if (fields->has("job") && !job)'),
    ("an unusable scan", CHANGE, "return job && isUsable(*job) ? job : nullptr;", "return job;"),
    ("a body cut off", CHANGE, "if (announced != nullptr && *announced != std::to_string(request.body.size())) return nullptr;", ""),
    ("one operation at a time", API, "const std::lock_guard lock(job->fileOperation);", ""),
    ("cleanable folders", CLEAN, "!isCleanableFolder(folder) ||", ""),
    ("cleaning at a place", CLEAN, "|| !isPlainAbsolute(folder)", ""),
    ("cleaning through a link", CLEAN, "} else if (!liesWhereItSays(machine, folders, folder)) {", "} else if (false) {"),
    ("cleaning a link", CLEAN, "facts.reparsePoint ||", ""),
    ("cleaning names with stray characters", CLEAN, "!hasStrayCharacters(entry) &&", ""),
    ("cleaning names that lose their end", CLEAN, "!losesItsEnd(name) &&", ""),
    ("cleaning devices", CLEAN, "&&\n         equalsIgnoreCase(machine.fullPath(entry), entry)", ""),
    ("cleaning is checked", CLEAN, "&& !folders.facts(entry).exists", ""),
]

# Each row of the table of protected places; of the two for the recycle bin, which differ in case
# only, either does the work of both.
for row in re.findall(r'    (\{L"[^"]+", "\w+", (?:true|false)\}),', (ROOT / RULES).read_text("utf-8")):
    if "ecycle" not in row and "RECYCLE" not in row:
        MUTANTS.append((row, RULES, row, '{L"\\\\:", "", false}'))


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


def test(objects):
    program = WORK / "tests.run"
    linked = run("g++", "-pthread", *map(str, objects), "-o", str(program))
    if linked.returncode != 0:
        sys.exit(linked.stderr)
    try:
        return run(str(program), timeout=60).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else ""
    sources = prepare()
    if not test([object_of(one) for one in sources]):
        sys.exit("the tests fail with every rule in its place")
    survivors = []
    chosen = [mutant for mutant in MUTANTS if pattern in mutant[0]]
    for name, file, rule, without in chosen:
        text = (ROOT / file).read_text(encoding="utf-8")
        if text.count(rule) != 1:
            sys.exit(f"{name}: stands {text.count(rule)} times in {file}")
        (WORK / file).write_text(text.replace(rule, without), encoding="utf-8")
        mutated = WORK / "obj/mutant.o"
        ok, complaint = compile_file(file, mutated)
        if not ok:
            sys.exit(f"{name}: {complaint}")
        objects = [mutated if str(one) == file else object_of(one) for one in sources]
        missed = not test(objects)
        print(f"{'missed' if missed else 'NOT MISSED'}: {name}", flush=True)
        if not missed:
            survivors.append(name)
        (WORK / file).write_text(text, encoding="utf-8")
    print(f"{len(chosen)} rules, {len(survivors)} not missed")
    sys.exit(1 if survivors or not chosen else 0)


main()
