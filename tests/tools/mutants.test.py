"""Proves on a small made-up program that scripts/mutate finds the lines no test would miss, and only
those, and that its table of explained ones cannot go stale unseen."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

HEADER = """#pragma once
#include <string_view>
#include <vector>
namespace vorda {
struct Weight {
  explicit Weight(int grams) : grams(grams) {}
  int grams; // and no weight without them
};
Weight sum(const std::vector<int>& all);
std::string_view wordOf(int number);
int rest(int number);
int count();
}
"""
SOURCE = """#include "rules/made_up.h"
#include <mutex>
namespace vorda {
struct Word { int number; std::string_view word; };
constexpr Word kWords[] = {{1, "one"}, {2, "two"}, {3, "three"}};
Weight sum(const std::vector<int>& all) {
  int grams = 0;
  for (const int one : all) {
    if (one < 0) continue;
    grams += one;
  }
  return Weight(grams);
}
std::string_view wordOf(int number) {
  for (const Word& word : kWords) {
    if (word.number == number) return word.word;
  }
  return {};
}
int rest(int number) {
  while (number > 9) number -= 10; // "never ending" without it
  return number;
}
int unused(int number) { return number; }
int count() {
  static std::mutex mutex;
  static int calls = 0;
  const std::lock_guard lock(mutex);
  return ++calls;
}
}
"""
TEST = """#include "rules/made_up.h"
#include <doctest/doctest.h>
#include <thread>
using namespace vorda;
TEST_CASE("weights, in grams") { CHECK(sum({600, -5, 500}).grams > 1000); }
TEST_CASE("words") {
  CHECK(wordOf(1) == "one");
  CHECK(wordOf(3) == "three");
  CHECK(wordOf(4).empty());
}
TEST_CASE("rests") { CHECK(rest(110) == 0); CHECK(rest(9) == 9); }
TEST_CASE("calls from two threads") { // with no lock, only the sanitizer notices
  std::thread other([] { count(); });
  count();
  other.join();
  CHECK(count() == 3);
}
"""
FILES = {
    "src/rules/made_up.h": HEADER,
    "src/rules/made_up.cpp": SOURCE,
    "src/rules/elsewhere_win.cpp": "not compiled here",
    "tests/unit/made_up.test.cpp": TEST,
    "tests/unit/main.cpp": "#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN\n#include <doctest/doctest.h>\n",
}
UNNOTICED = [
    'src/rules/made_up.cpp:5: row: {2, "two"}',
    "src/rules/made_up.cpp:9: never: one < 0",
    "src/rules/made_up.cpp:9: boundary: one < 0",
    "src/rules/made_up.cpp:9: taken out: continue",
    "src/rules/made_up.cpp:24: nothing: return number [not reached]",
]
EXPLAINED = """@ src/rules/made_up.cpp
- {2, "two"},
~ row
= Made up.
- if (one < 0) continue;
~ never
~ boundary: one<0
~ taken out: continue
= Made up.
- int unused(int number) {
- return number; }
~ nothing
= Made up.
"""

def mutate(root, *arguments):
    done = subprocess.run([sys.executable, str(ROOT / "scripts/mutate"), "--root", str(root), *arguments],
                          capture_output=True, text=True)
    return done.returncode, done.stdout.splitlines(), done.stderr

class Mutants(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name, text in FILES.items():
            self.write(name, text)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def explain(self, text):
        self.write("scripts/mutants/explained.txt", text)

    def test_finds_what_no_test_misses_and_nothing_else(self):
        code, lines, complaint = mutate(self.root, "rules")
        shown = [line.strip() for line in lines if line.startswith("  ")]
        self.assertEqual(shown, UNNOTICED, complaint)
        self.assertEqual(code, 1)
        summary = next(line for line in lines if line.startswith("rules:"))
        self.assertIn("(1 by a hang), 0 explained, 5 unnoticed", summary)
        self.assertIn("1 more do not compile", summary)  # no weight without grams
        self.assertIn("1 files for Windows left out", lines[-1])

        code, lines, complaint = mutate(self.root, "--sample", "3", "--seed", "1", "rules")
        self.assertTrue(any(line.startswith("rules: 3 changes") for line in lines), complaint)

        self.explain(EXPLAINED)
        code, lines, complaint = mutate(self.root, "rules")
        self.assertEqual(code, 0, lines)
        self.assertTrue(any("5 explained, 0 unnoticed" in line for line in lines), lines)

    def test_the_table_of_explained_ones_must_fit_the_sources(self):
        for text, wrong in {
                EXPLAINED: "",
                "@ src/rules/made_up.cpp\n- if (two < 0) continue;\n~ never\n= Why.\n": "stand 0 times",
                "@ src/rules/made_up.cpp\n- namespace\n~ never\n": "a reason",
                "@ src/rules/made_up.cpp\n- namespace\n~ broken\n= Why.\n": "kinds of change",
        }.items():
            with self.subTest(text):
                self.explain(text)
                code, lines, complaint = mutate(self.root, "--check")
                self.assertEqual(code, 1 if wrong else 0, lines + [complaint])
                self.assertIn(wrong, "\n".join(lines))

unittest.main()
