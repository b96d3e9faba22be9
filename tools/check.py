#!/usr/bin/env python3
"""Checks the sources for faults that compilers accept. Prints each finding as "file:line: what: cure" and exits with 1
if there are any.

A rule is a function that yields findings; RULES at the end lists them."""

import ast
import collections
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# The layers (layers) of each tree, lowest first. A folder may include itself and lower layers, but not another folder
# on its own layer.
LAYERS = {
    "src": [["common"], ["notes"], ["watch", "dispatch", "applet", "window"], ["app"],
            ["ctl"]],
    "platform": [["core"], ["machine"], ["security"], ["files", "threads", "process", "com"], ["windows"], ["drawing"],
                 ["controls", "tasks"], ["testing"]],
}
NO_LAYER = {"src/resources", "platform/include", "platform/supplement"}  # no sources, or headers for one platform

MOST_FUNCTION_LINES = 60
MOST_FILE_LINES = 500
MEASURED = ["src", "platform", "tests", "samples", "tools"]
FORMATTED = ["src", "platform", "tests", "samples", "bench", "fuzz", "tools"]

DECLARATIONS = "platform/include"
USERS = ["src", "platform", "tests", "samples", "bench", "fuzz"]

Finding = collections.namedtuple("Finding", "path line what cure")


# --- sources

def files_in(folders, *endings):
    """The files in these folders with these suffixes, as paths from the root."""
    for folder in folders:
        for file in sorted((ROOT / folder).rglob("*")):
            if file.is_file() and file.suffix in endings:
                yield file.relative_to(ROOT).as_posix()


def text_of(path):
    return (ROOT / path).read_text(encoding="utf-8")


def without_comments(text):
    """The C++ text with comments and literals replaced by blanks. Line numbers and quotes stay."""
    quoted = r'"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\''
    token = re.compile(r'//[^\n]*|/\*.*?\*/|R"\(.*?\)"|' + quoted, re.S)

    def blank(match):
        quote = match[0][0] if match[0][0] in "\"'" else ""
        inner = match[0][1:-1] if quote else match[0]
        return quote + re.sub(r"[^\n]", " ", inner) + quote
    return token.sub(blank, text)


def line_at(text, offset):
    return text.count("\n", 0, offset) + 1


# --- layers

def includes_of(path):
    """Line and name of each quoted include in a file."""
    for number, line in enumerate(text_of(path).splitlines(), 1):
        match = re.match(r'#include "([^"]+)"', line)
        if match:
            yield number, match[1]


def layer_of(tree, folder):
    return next((level for level, folders in enumerate(LAYERS[tree]) if folder in folders), None)


def tree_files(tree):
    files = files_in([tree], ".h", ".cpp")
    return [file for file in files if not any(file.startswith(folder + "/") for folder in NO_LAYER)]


def climb(tree, path, line, name):
    """The finding about one include, or None."""
    own, other = path.split("/")[1], name.split("/")[0]
    if "/" not in name or own == other or not (ROOT / tree / other).is_dir():
        return None
    low, high = layer_of(tree, own), layer_of(tree, other)
    if low is None or high is None:
        folder = own if low is None else other
        return Finding(path, line, f"{tree}/{folder} is on no layer", "give it its place in LAYERS of tools/check.py")
    if high < low:
        return None
    where = "above" if high > low else "beside"
    return Finding(path, line, f'"{name}" is {where} {tree}/{own}',
                   "move what is needed down, or let the other folder register itself through a hook")


def circles(tree):
    """A finding for each include that closes a cycle of files."""
    paths = tree_files(tree)
    known = {path.removeprefix(tree + "/"): path for path in paths}
    state = {}

    def visit(path, way):
        state[path] = "open"
        for line, name in includes_of(path):
            target = known.get(name)
            if target is None or target == path:
                continue
            if state.get(target) == "open":
                circle = " -> ".join(way[way.index(target):] + [target])
                yield Finding(path, line, f"a circle of includes: {circle}",
                              "declare in one of them what the other needs")
            elif target not in state:
                yield from visit(target, way + [target])
        state[path] = "done"

    for path in paths:
        if path not in state:
            yield from visit(path, [path])


def layers():
    for tree in LAYERS:
        for path in tree_files(tree):
            for line, name in includes_of(path):
                finding = climb(tree, path, line, name)
                if finding:
                    yield finding
        yield from circles(tree)


# --- sizes

def without_directives(text):
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", lambda match: re.sub(r"[^\n]", " ", match[0]), text, flags=re.M)


def kind_of_block(head, inside):
    """The kind of block that the brace after `head` opens."""
    if inside == "body":
        return "body"
    if head.rstrip().endswith(("=", ",", "(", "return")):
        return "value"
    before = r"\s*(?:template\s*<.*>\s*)?(?:inline\s+)?"
    is_scope = re.match(before + r"(?:namespace|class|struct|union|enum|extern)\b", head, re.S)
    if is_scope and not re.search(r"\)\s*(?:const|noexcept|override|\s)*$", head):
        return "scope"
    if re.search(r"\)\s*(?:noexcept\s*)?:", head) and re.search(r"\w\s*$", head):
        return "value"  # starts a member's initialiser
    return "body" if "(" in head else "value"


def cpp_functions(path):
    """Name, first and last line of each function."""
    text = without_directives(without_comments(text_of(path)))
    stack, start = [], 0
    for match in re.finditer(r"[{};]", text):
        at, mark = match.start(), match[0]
        inside = stack[-1][0] if stack else "scope"
        head = text[start:at]
        if mark == "{":
            kind = kind_of_block(head, inside)
            stack.append((kind, start + len(head) - len(head.lstrip()), head))
            if kind == "value":
                continue
        elif mark == "}" and stack:
            kind, first, opened = stack.pop()
            if kind == "body" and (not stack or stack[-1][0] == "scope"):
                name = re.search(r"([\w~:]+)\s*\(", opened)
                yield name[1] if name else "a function", line_at(text, first), line_at(text, at)
            if kind == "value":
                continue
        start = at + 1


def python_functions(path):
    for node in ast.walk(ast.parse(text_of(path))):
        if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef)):
            yield node.name, node.lineno, node.end_lineno


def all_functions():
    for path in files_in(MEASURED, ".h", ".cpp", ".py"):
        functions = python_functions if path.endswith(".py") else cpp_functions
        for name, first, last in functions(path):
            yield path, name, first, last


def long_functions():
    for path, name, first, last in all_functions():
        if last - first + 1 > MOST_FUNCTION_LINES:
            yield Finding(path, first, f"{name} has {last - first + 1} lines, more than {MOST_FUNCTION_LINES}",
                          "take a step of it out, under a name of its own")


def long_files():
    for path in files_in(MEASURED, ".h", ".cpp", ".py", ".sh"):
        lines = text_of(path).count("\n")
        if lines > MOST_FILE_LINES:
            yield Finding(path, 1, f"{lines} lines, more than {MOST_FILE_LINES}", "split it by what its parts are for")


# --- declarations without a user

def declarations(path):
    """Name and line of each function outside interfaces, macro, constant, and enumerator with an explicit value. Other
    enumerators may be unused: they keep the values of those after them."""
    text = without_comments(text_of(path))
    call = r"^(?!using |#)\w[\w:*& ]*?\b(\w+)\([^;{}]*\);"
    for match in re.finditer(r"^#define (\w+)|^inline constexpr \w+ (\w+)|" + call, text, re.M):
        yield match[1] or match[2] or match[3], line_at(text, match.start())
    for match in re.finditer(r"^enum (?:\w+ )?(?:: \w+ )?\{([^}]*)\}", text, re.M):
        for name in re.finditer(r"(\w+) = ", match[1]):
            yield name[1], line_at(text, match.start(1) + name.start())


def words_used():
    """How often the sources use each word. A function definition, which starts its line, does not count as a use."""
    words = collections.Counter()
    for path in files_in(USERS, ".h", ".cpp"):
        text = without_comments(text_of(path))
        if path.startswith("platform/"):
            text = re.sub(r"^\w[^\n;={}]*?\b(\w+)\((?=[^;]*\{)", "(", text, flags=re.M)
        words.update(re.findall(r"\w+", text))
    return words


def unused_declarations():
    words = words_used()
    for path in files_in([DECLARATIONS], ".h"):
        for name, line in declarations(path):
            if words[name] <= 1:
                yield Finding(path, line, f"nobody uses {name}", "delete it")


# --- constructs

FORBIDDEN = [
    (["src", "tests", "samples"], r"\bwchar_t\b", "wchar_t has another size on Linux", "write WCHAR"),
    (["src", "tests", "samples"], r'\bL(?="|\')', "a wide literal has another size on Linux", "write TEXT(...)"),
    (["src"], r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b", "code for one platform", "let platform/ stand in for the call"),
]


def forbidden_constructs():
    for folders, pattern, what, cure in FORBIDDEN:
        for path in files_in(folders, ".h", ".cpp"):
            text = without_comments(text_of(path))
            for match in re.finditer(pattern, text, re.M):
                yield Finding(path, line_at(text, match.start()), what, cure)


# --- format

def format_differences():
    paths = list(files_in(FORMATTED, ".h", ".cpp"))
    run = subprocess.run(["clang-format", "--dry-run", *paths], cwd=ROOT, capture_output=True, text=True, check=False)
    lines = re.findall(r"^([^:\s]+):(\d+):\d+: warning: code should be clang-formatted", run.stderr, re.M)
    for path, line in dict.fromkeys(lines):
        yield Finding(path, int(line), "not formatted", "run ./dev.sh format")
    if run.returncode != 0 and not lines:
        yield Finding(".clang-format", 1, f"clang-format failed: {run.stderr.strip()}", "mend its configuration")


# --- what a person reads

def longest():
    """Prints the twenty longest functions and files."""
    functions = [(last - first + 1, f"{path}:{first} {name}") for path, name, first, last in all_functions()]
    files = [(text_of(path).count("\n"), path) for path in files_in(MEASURED, ".h", ".cpp", ".py", ".sh")]
    for title, entries in (("functions", functions), ("files", files)):
        lengths = sorted(length for length, _ in entries)
        print(f"{len(lengths)} {title}: median {lengths[len(lengths) // 2]} lines, 90th percentile "
              f"{lengths[len(lengths) * 9 // 10]}; the longest:")
        for length, name in sorted(entries, reverse=True)[:20]:
            print(f"{length:6}  {name}")


RULES = [layers, long_functions, long_files, unused_declarations, forbidden_constructs, format_differences]


def main():
    if "--quiet" not in sys.argv[1:]:
        longest()
    findings = [finding for rule in RULES for finding in rule()]
    for finding in findings:
        print(f"{finding.path}:{finding.line}: {finding.what}: {finding.cure}")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
