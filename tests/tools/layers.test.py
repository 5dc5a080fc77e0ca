"""Proves on small trees that scripts/check-layers complains about what it must, and only that."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-layers"

def run_on(files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = pathlib.Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return subprocess.run([sys.executable, str(SCRIPT), folder], capture_output=True, text=True)

class Layers(unittest.TestCase):
    # What the files under test include.
    tree = {
        "src/base/text.h": "#pragma once\n#include <string>\n",
        "src/base/tables_native.h": "",
        "src/base/handle_win.h": "#include <windows.h>\n",
        "src/win/file.h": "#include <winsock2.h>\n",
        "src/json/writer.h": '#include "base/text.h"\n',
        "src/scan/tree.h": "",
        "src/scan/walk/walk.h": '#include "scan/tree.h"\n',
        "src/http/server.h": "",
        "tests/unit/helpers.h": "",
        "tests/unit/support/table.h": '#include "support/rows.h"\n',
        "tests/unit/support/rows.h": "",
    }

    accepted = {
        "src/win/file.cpp": '#include <windows.h>\n#include "base/text.h"\n',
        "src/scan/handle_win.cpp": '#include "base/handle_win.h"\n#include "win/file.h"\n',
        "src/base/tables_native.cpp": '#include <sys/stat.h>\n#include "base/tables_native.h"\n',
        "src/scan/walk.cpp": '#include "json/writer.h"\n#include "tree.h"\n#include <vector>\n',
        "src/app/main_win.cpp": '#include "http/server.h"\n#include "maker.h"\n',
        "src/base/text.cpp": '// #include <windows.h>\n/*\n#include "http/server.h"\n*/\n',
        "tests/unit/a.test.cpp": '#include "doctest/doctest.h"\n#include "helpers.h"\n',
        "tests/unit/a_win.test.cpp": '#include <windows.h>\n#include "base/handle_win.h"\n',
    }

    rejected = {
        "src/scan/header.cpp": "#  include<WinSock2.h> // why",
        "src/scan/header_after_a_string.cpp": '#define A "/*"\n#include <winnt.h>',
        "src/scan/header_after_a_raw_string.cpp": 'auto a = R"(" /* )";\n#include <io.h>\nauto b = "*/";',
        "src/base/header_of_posix.cpp": "#include <sys/stat.h>",
        "src/scan/windows.cpp": '#include "base/handle_win.h"',
        "src/scan/windows_by_folder.h": '#include "win/file.h"',
        "src/base/native.cpp": '#include "base/tables_native.h"',
        "src/base/windows_native.cpp": '#include "win/file.h"',
        "src/json/upwards.cpp": '#include "scan/tree.h"',
        "src/scan/upwards.cpp": '#include "scan/walk/walk.h"',
        "src/scan/turbo/sideways.cpp": '#include "scan/walk/walk.h"',
        "src/base/relative.h": '#include "../http/server.h"',
        "src/scan/macro.cpp": "#define H <windows.h>\n#include H",
        "src/outside.cpp": "#include <vector>",
    }

    def test_accepts_what_is_allowed(self):
        result = run_on({**PageLayers.tree, **self.tree, **self.accepted})
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_rejects_each_fault_and_names_its_file(self):
        result = run_on({**self.tree, **self.rejected})
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertEqual(sorted(line.split(":")[0] for line in result.stdout.splitlines()), sorted(self.rejected))

    def test_rejects_an_empty_tree(self):
        self.assertEqual(run_on({"README.md": ""}).returncode, 1)

class PageLayers(unittest.TestCase):
    tree = {
        "src/base/text.h": "",  # a tree without C++ is refused
        "src/page/lang/en.ts": "export const en = {};\n",
        "src/page/core/paths.ts": "// document.title is for others.\nimport { en } from '../lang/en';\n",
        "src/page/ui/dom.ts": "import {\n  shown,\n} from '../core/paths';\ndocument.write();\n",
        "src/page/ui/table.ts": "import { el } from './dom';\n",
        "src/page/flows/frame.ts": "import type { Table } from '../ui/table';\n",
        "src/page/screens/advice.ts": "import '../flows/frame';\n",
        "src/page/screens/find/find.ts": "import { hits } from './hits';\n",
        "src/page/screens/find/hits.ts": "export { el } from '../../ui/dom';\n",
        "src/page/shell/frame.ts": "import { find } from '../screens/find/find';\n",
        "src/page/main.ts": "import { frame } from './shell/frame';\n",
    }

    # A file to change, its text, and words of each expected complaint.
    faults = [
        ("src/page/ui/toast.ts", "import { frame } from '../flows/frame';", ["above", "folders that import each other: flows, ui"]),
        ("src/page/core/more.ts", "import type {\n  Table,\n} from '../ui/table';", ["above", "core, ui"]),
        ("src/page/ui/more.ts", "const a = await import('../flows/frame');", ["above", "flows, ui"]),
        ("src/page/data/more.ts", "import { find } from '../shell/frame';", ["above"]),
        ("src/page/screens/find/more.ts", "import { advice } from '../advice';", ["beside"]),
        ("src/page/ui/dom.ts", "import { Table } from './table';", ["modules that import each other"]),
        ("src/page/core/more.ts", "export const a = 1;\nconst b = document.title;", ["document"]),
        ("src/page/ui/more.ts", "import x from 'package';", ["no such module"]),
        ("src/page/misc/more.ts", "", ["no rank"]),
    ]

    def test_rejects_each_fault(self):
        for name, text, expected in self.faults:
            with self.subTest(text):
                result = run_on({**self.tree, name: text + "\n"})
                self.assertEqual(result.returncode, 1, result.stderr)
                lines = result.stdout.splitlines()
                self.assertEqual(len(lines), len(expected), result.stdout)
                for line, words in zip(lines, expected):
                    self.assertIn(words, line)

unittest.main()
