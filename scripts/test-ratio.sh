#!/usr/bin/env bash
# Size of the tests against the code they test, in non-blank, non-comment lines of the tracked
# files (uncommitted files included, ignored ones not):
#   tests: every C++, JavaScript, Python and shell file under Tests/, and the fuzz harnesses
#          (Fuzz/*.cpp, Fuzz/*.h); the test data under Tests/Data and the fuzz corpus are not code
#   code:  every such file under Src/, and, for the wider figure, Viewer/ and Python/ as well
# The last two lines count each test against the code it tests: Tests/Python and Tests/Viewer
# against Python/ and Viewer/, every other test against Src/
# A comment line is one that holds nothing but a comment: "//" lines and lines inside or opening
# and closing a "/* */" block for C++ and JavaScript, "#" lines for Python and shell (a script's
# "#!" line included). A line that mixes code and a trailing comment counts as code.
#
#   bash scripts/test-ratio.sh          # the counts and both ratios
#   bash scripts/test-ratio.sh --files  # the same, with each file's count
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files -co --exclude-standard -z -- Tests Fuzz Src Viewer Python |
  /usr/bin/python3 -c '
import os, re, sys

show_files = "--files" in sys.argv[1:]
code_suffixes = (".cpp", ".h", ".js", ".mjs", ".py", ".sh")
hash_suffixes = (".py", ".sh")

def counted_lines(path):
    in_block, count = False, 0
    for line in open(path, encoding="utf-8", errors="replace"):
        text = line.strip()
        if not text:
            continue
        if path.endswith(hash_suffixes):
            count += not text.startswith("#")
            continue
        if in_block:
            if "*/" in text:
                in_block = False
                count += bool(text.split("*/", 1)[1].strip())
            continue
        if text.startswith("//"):
            continue
        if text.startswith("/*"):
            rest = text[2:]
            if "*/" not in rest:
                in_block = True
                continue
            count += bool(rest.split("*/", 1)[1].strip())
            continue
        count += 1
    return count

def group(path):
    if path.startswith("Tests/"):
        return None if path.startswith("Tests/Data/") else "tests"
    if path.startswith("Fuzz/"):
        return "tests" if re.fullmatch(r"Fuzz/[^/]+\.(cpp|h)", path) else None
    if path.startswith("Src/"):
        return "src"
    if path.startswith("Viewer/node_modules/"):
        return None
    return "other"

totals = {"tests": 0, "src": 0, "other": 0}
# Lines of the tests of the Python package and the viewer, which test code outside Src/
outside = 0
for path in sorted(p for p in sys.stdin.read().split("\0") if p):
    kind = group(path)
    if kind is None or not path.endswith(code_suffixes) or not os.path.isfile(path):
        continue
    n = counted_lines(path)
    totals[kind] += n
    if kind == "tests" and path.startswith(("Tests/Python/", "Tests/Viewer/")):
        outside += n
    if show_files:
        print(f"{n:6d}  {kind:5s}  {path}")

tests, src, other = totals["tests"], totals["src"], totals["other"]
print(f"tests (Tests/, fuzz harnesses): {tests}")
print(f"code (Src/): {src}")
print(f"code (Src/, Viewer/, Python/): {src + other}")
print(f"ratio tests : Src/ = {tests / src:.3f}")
print(f"ratio tests : Src/ + Viewer/ + Python/ = {tests / (src + other):.3f}")
# Each test against the code it tests: Tests/Python and Tests/Viewer test Python/ and Viewer/
print(f"ratio tests of Src/ : Src/ = {(tests - outside) / src:.3f} ({tests - outside} lines)")
if other:
    print(f"ratio tests of Python/ and Viewer/ : Python/ + Viewer/ = {outside / other:.3f} ({outside} lines)")
' "$@"
