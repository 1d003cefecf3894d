#!/usr/bin/env bash
# Mutation score of the module's tests: applies a seeded sample of small changes to
# Src/Theme3DBase/ one at a time (relational and logical operators, +/-1 on integer literals,
# returned booleans), rebuilds what the change touches in build/mutation, runs the unit test
# programs and the fuzz replays, and reports how many changes the tests catch. It works on a
# copy of the tracked sources in build/mutation/tree, so the working tree is never touched.
#
#   bash scripts/mutation.sh [--sample N] [--seed S] [--timeout SECONDS] [--exclude REGEX] [--list]
#
# The same seed and sample size pick the same changes on the same sources, so a score can be
# compared before and after a change to the tests. A change that does not compile is not
# counted. --exclude leaves out the files whose path matches a Python regular expression, so that
# a score taken before files were added can be compared with one over the same files.
set -euo pipefail
cd "$(dirname "$0")/.."

sample=60 seed=15 timeout=120 list=0 exclude='^$' 
while [[ $# -gt 0 ]]; do
  case "$1" in
    --sample) sample="$2"; shift 2 ;;
    --seed) seed="$2"; shift 2 ;;
    --timeout) timeout="$2"; shift 2 ;;
    --exclude) exclude="$2"; shift 2 ;;
    --list) list=1; shift ;;
    -h|--help) sed -n '2,11p' "$0"; exit 0 ;;
    *) echo "mutation.sh: unknown option $1" >&2; exit 2 ;;
  esac
done

root=build/mutation
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Only files whose content differs are copied (with a fresh time), so that the build there sees
# every change since the last run and rebuilds nothing else
mkdir -p "$root/tree"
git ls-files -co --exclude-standard -z -- CMakeLists.txt CMakePresets.json cmake Src Tests Fuzz |
  /usr/bin/python3 -c '
import filecmp, os, shutil, sys
tree = sys.argv[1]
wanted = [p for p in sys.stdin.read().split("\0") if p and os.path.isfile(p)]
for p in wanted:
    target = os.path.join(tree, p)
    if not os.path.exists(target) or not filecmp.cmp(p, target, shallow=False):
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(p, target)
keep = set(wanted)
for folder, _, files in os.walk(tree):
    for f in files:
        rel = os.path.relpath(os.path.join(folder, f), tree)
        if rel not in keep: os.remove(os.path.join(folder, f))
' "$root/tree"
cd "$root/tree"
build=../build

# The sample, in the order it was drawn (the first k of a sample are the sample of size k): one
# line per change, "file<TAB>line<TAB>column<TAB>old<TAB>new"
/usr/bin/python3 - "$sample" "$seed" "$exclude" > "$work/sample" <<'EOF'
import glob, random, re, sys

sample, seed, exclude = int(sys.argv[1]), int(sys.argv[2]), re.compile(sys.argv[3])
swaps = {'<': '<=', '<=': '<', '>': '>=', '>=': '>', '==': '!=', '!=': '==', '&&': '||', '||': '&&'}
operator = re.compile(r'(?<=\s)(<=|>=|==|!=|&&|\|\||<|>)(?=\s)')
literal = re.compile(r'(?<![\w.])(\d+)(?![\w.])')
boolean = re.compile(r'\breturn (true|false);')

def code_only(line):
    # Blank out string and character literals and a trailing comment, keeping columns
    out, i, quote = list(line), 0, None
    while i < len(line):
        c = line[i]
        if quote:
            if c == '\\':
                out[i] = ' '
                if i + 1 < len(line): out[i + 1] = ' '
                i += 2
                continue
            if c == quote: quote = None
            else: out[i] = ' '
        elif c in '"\'':
            quote = c
        elif line.startswith('//', i):
            return ''.join(out[:i])
        i += 1
    return ''.join(out)

sites = []
for path in sorted(glob.glob('Src/Theme3DBase/*.cpp') + glob.glob('Src/Theme3DBase/*.h')):
    if exclude.search(path): continue
    in_block = False
    for number, line in enumerate(open(path, encoding='utf-8'), 1):
        text = line.rstrip('\n')
        if in_block:
            if '*/' in text: in_block = False
            continue
        stripped = text.strip()
        if stripped.startswith('/*'):
            in_block = '*/' not in stripped
            continue
        if stripped.startswith(('#', '//', 'template')) or 'operator' in stripped:
            continue
        code = code_only(text)
        for m in operator.finditer(code):
            sites.append((path, number, m.start(), m.group(1), swaps[m.group(1)]))
        for m in literal.finditer(code):
            sites.append((path, number, m.start(), m.group(1), str(int(m.group(1)) + 1)))
        for m in re.finditer(r'(?<=\s)([-+])(?= 1\b)', code):
            sites.append((path, number, m.start(), m.group(1), '-' if m.group(1) == '+' else '+'))
        for m in boolean.finditer(code):
            old = m.group(1)
            sites.append((path, number, m.start(1), old, 'false' if old == 'true' else 'true'))
chosen = random.Random(seed).sample(sites, min(sample, len(sites)))
print(f'# {len(sites)} sites, {len(chosen)} sampled with seed {seed}', file=sys.stderr)
for site in chosen:
    print('\t'.join(map(str, site)))
EOF

if [[ $list == 1 ]]; then cat "$work/sample"; exit 0; fi

if [[ ! -f $build/build.ninja ]]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DT3D_BENCH=OFF -DT3D_DEMO=OFF \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache || true)" >/dev/null
fi
nice cmake --build "$build" >/dev/null

run_suite() {
  local program
  for program in "$build"/Tests/test_* "$build"/Tests/Plugin/test_*; do
    [[ -x $program ]] || continue
    (cd "$(dirname "$program")" && timeout "$timeout" nice "./$(basename "$program")" --gtest_brief=1) \
      >/dev/null 2>&1 || return 1
  done
  local name
  for program in "$build"/Fuzz/replay_*; do
    name=${program##*/replay_}
    timeout "$timeout" nice "$program" Fuzz/corpus/"$name" Fuzz/regressions/"$name" >/dev/null 2>&1 || return 1
  done
}

if ! run_suite; then
  echo "mutation.sh: the unchanged sources already fail the tests" >&2
  exit 1
fi

caught=0 missed=0 unbuilt=0
while IFS=$'\t' read -r file line column old new; do
  cp "$file" "$work/original"
  /usr/bin/python3 - "$file" "$line" "$column" "$old" "$new" <<'EOF'
import sys
path, line, column, old, new = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4], sys.argv[5]
lines = open(path, encoding='utf-8').read().split('\n')
text = lines[line - 1]
assert text[column:column + len(old)] == old, (path, line, text)
lines[line - 1] = text[:column] + new + text[column + len(old):]
open(path, 'w', encoding='utf-8').write('\n'.join(lines))
EOF
  where="$file:$line: $old -> $new"
  if ! nice cmake --build "$build" >/dev/null 2>&1; then
    unbuilt=$((unbuilt + 1)); echo "unbuilt  $where"
  elif run_suite; then
    missed=$((missed + 1)); echo "MISSED   $where"
  else
    caught=$((caught + 1)); echo "caught   $where"
  fi
  cp "$work/original" "$file"
done < "$work/sample"

# Leave the build matching the restored sources
nice cmake --build "$build" >/dev/null 2>&1 || true
total=$((caught + missed))
echo "mutation score: $caught caught of $total built changes ($unbuilt did not build), seed $seed, sample $sample"
if [[ $total -gt 0 ]]; then
  /usr/bin/python3 -c "print(f'score {100 * $caught / $total:.1f}%')"
fi
