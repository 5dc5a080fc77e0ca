"""Checks that each word of the program has its text on the page, and each route its line in API.md."""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def read(*names):
    return "\n".join((ROOT / name).read_text(encoding="utf-8") for name in names)


class Words(unittest.TestCase):
    def setUp(self):
        self.texts = set(re.findall(r"^  (\w+):", read("src/page/lang/en.ts"), re.MULTILINE))

    def expect(self, found, at_least, has_text):
        # A pattern that no longer finds what it should must not pass for completeness.
        self.assertGreaterEqual(len(found), at_least, found)
        self.assertEqual([word for word in sorted(found) if not has_text(word)], [])

    def test_findings_have_texts(self):
        codes = set(re.findall(r'(?:code = |folderFinding\(|Advice = )"(\w+)"',
                               read("src/tree/advice.h", "src/tree/advice.cpp")))
        self.expect(codes, 10, lambda code: {f"a_{code}", f"a_{code}_what"} <= self.texts)

    def test_failure_words_have_texts(self):
        page = read("src/page/core/failure_texts.ts")
        # Of the words of scans, the failures stand last.
        failures = read("src/scan/words.h").partition("// Why a scan failed.")[2]
        words = set(re.findall(r' = "([^"]+)";', read("src/api/words.h") + failures))
        self.expect(words, 30, lambda word: re.search(rf"(?<!\w)'?{re.escape(word)}'?(: '|')", page))

    def test_reasons_against_turbo_have_texts(self):
        reasons = read("src/scan/words.h").partition("// Why turbo is not tried")[2].partition("// Somebody stopped it")[0]
        self.expect(set(re.findall(r' = "([^"]+)";', reasons)), 6, lambda word: f"t_{word}" in self.texts)

    def test_steps_of_a_scan_have_texts(self):
        steps = re.search(r"wordOf\(ScanStatus.*?^}", read("src/scan/words.cpp"), re.MULTILINE | re.DOTALL)
        self.expect(set(re.findall(r'"(\w+)"', steps[0])), 12, lambda word: f"s_{word}" in self.texts)


unittest.main()
