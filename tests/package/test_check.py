"""Tests tools/check.py: the sources follow its rules, and each rule finds code that breaks it."""
import pathlib
import shutil
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]

LONG_FUNCTION = "void f() {\n" + "    g();\n" * 60 + "}\n"
BROKEN = {
    "a lower folder includes a higher one":
        ({"src/notes/a.cpp": '#include "app/b.h"\n', "src/app/b.h": ""}, 'src/notes/a.cpp:1: "app/b.h" is above src/notes'),
    "a folder includes one beside it":
        ({"src/watch/a.cpp": '\n#include "window/b.h"\n', "src/window/b.h": ""}, "src/watch/a.cpp:2:"),
    "headers include each other":
        ({"src/app/a.h": '#include "app/b.h"\n', "src/app/b.h": '#include "app/a.h"\n'}, "a circle of includes"),
    "a folder that no layer knows":
        ({"platform/new/a.cpp": '#include "core/b.h"\n', "platform/core/b.h": ""}, "platform/new is on no layer"),
    "a long function": ({"src/app/a.cpp": LONG_FUNCTION}, "src/app/a.cpp:1: f has 62 lines"),
    "a long file": ({"tests/a.cpp": "int x;\n" * 501}, "tests/a.cpp:1: 501 lines"),
    "a declaration without a user": ({"platform/include/a.h": "#define ERROR_OF_NOBODY 1\n"}, "nobody uses ERROR_OF_NOBODY"),
    "a type of another size": ({"tests/a.cpp": "\nwchar_t x;\n"}, "tests/a.cpp:2: wchar_t"),
    "a wide literal": ({"src/app/a.cpp": 'auto x = L"x";\n'}, "src/app/a.cpp:1: a wide literal"),
    "code for one platform": ({"src/app/a.cpp": "#ifdef _WIN32\n#endif\n"}, "src/app/a.cpp:1: code for one platform"),
    "another format": ({"src/app/a.cpp": "int  x;\n"}, "src/app/a.cpp:1: not formatted"),
}


def check(root):
    return subprocess.run(["python3", root / "tools" / "check.py", "--quiet"], capture_output=True, text=True, check=False)


def test_the_sources_keep_every_rule():
    run = check(ROOT)
    assert (run.returncode, run.stdout) == (0, "")


@pytest.mark.parametrize("name", BROKEN)
def test_a_broken_rule_is_found(name, tmp_path):
    files, finding = BROKEN[name]
    (tmp_path / "tools").mkdir()
    shutil.copy(ROOT / "tools" / "check.py", tmp_path / "tools")
    shutil.copy(ROOT / ".clang-format", tmp_path)
    for path, text in files.items():
        (tmp_path / path).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / path).write_text(text)
    run = check(tmp_path)
    assert run.returncode == 1 and finding in run.stdout, run.stdout + run.stderr
