#!/usr/bin/env bash
# Injects each known fault (tests/faults/*.patch) in turn into a scratch copy
# of the tree, builds it, runs the test suite and records which tests fail.
# A fault is caught when at least one test fails or crashes; the script ends
# non-zero when any fault escapes, when a fault no longer applies or builds,
# or when the clean tree does not pass.
#
# Each patch starts with two lines: "Fault: <what it breaks>" and
# "Suite: short" (the suite without the long label) or "Suite: all".
#
# Usage: tools/fault-check.sh [patch...]    (all patches when none named)
# Environment: FAULT_DIR (scratch copy, default /tmp/quorl-fault-check),
#              JOBS (build and ctest parallelism, default 2).
set -u
root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel) || exit 2
work=${FAULT_DIR:-/tmp/quorl-fault-check}
jobs=${JOBS:-2}
tree=$work/tree
if [ $# -gt 0 ]; then patches=("$@"); else patches=("$root"/tests/faults/*.patch); fi

# The tree as it stands in the worktree, uncommitted changes included. The
# build folder survives between runs so that only what changed is rebuilt.
mkdir -p "$tree"
stage=$work/stage
rm -rf "$stage" && mkdir -p "$stage" || exit 2
(cd "$root" && git ls-files -co --exclude-standard | while IFS= read -r f; do [ -e "$f" ] && echo "$f"; done) |
  tar -C "$root" -cf - -T - | tar -C "$stage" -xf - || exit 2
# The copy gives every file its time in the worktree back, so an object built
# from an older copy can look newer than its source: a file whose text is not
# that of the last copy, and every file a fault ever touched, is rebuilt.
(cd "$stage" && find . -type f) | while IFS= read -r f; do
  cmp -s "$stage/$f" "$tree/$f" || touch "$stage/$f"
done
[ -f "$work/patched" ] && (cd "$stage" && xargs -r touch <"$work/patched")
rm -f "$work/patched"
for d in "$tree"/* "$tree"/.[!.]*; do [ "$d" = "$tree/build" ] || rm -rf "$d"; done
(cd "$stage" && tar -cf - .) | tar -C "$tree" -xf - || exit 2
rm -rf "$stage"
cmake -S "$tree" -B "$tree/build" -DCMAKE_BUILD_TYPE=Release >/dev/null || exit 2

# Builds and runs the suite ("short" or "all"); prints the failing tests, one
# per line, or "BUILD FAILED". Exit status 0 when every test passed.
run_suite() {
  local log=$work/last.log filter=()
  [ "$1" = short ] && filter=(-LE long)
  if ! cmake --build "$tree/build" -j "$jobs" >"$log" 2>&1; then
    echo "BUILD FAILED"
    return 2
  fi
  (cd "$tree/build" && ctest -j "$jobs" --timeout 120 "${filter[@]}" >"$log" 2>&1) && return 0
  sed -n '/The following tests FAILED/,$p' "$log" | sed -n -E 's/^[[:space:]]*[0-9]+ - ([^ ]+) .*/\1/p'
  return 1
}

echo "clean tree: building and running the suite"
if ! failing=$(run_suite short); then
  echo "the clean tree does not pass:"; echo "$failing"
  exit 2
fi

escaped=0
printf '%-32s %-6s %-10s %s\n' FAULT SUITE RESULT "FAILING TESTS"
for patch in "${patches[@]}"; do
  name=$(basename "$patch" .patch)
  suite=$(sed -n 's/^Suite: *//p' "$patch" | head -1)
  [ -n "$suite" ] || suite=all
  sed -n 's|^+++ b/||p' "$patch" >>"$work/patched"
  if ! (cd "$tree" && git apply "$patch" 2>/dev/null); then
    printf '%-32s %-6s %-10s\n' "$name" "$suite" "NO APPLY"
    escaped=1
    continue
  fi
  failing=$(run_suite "$suite")
  status=$?
  (cd "$tree" && git apply -R "$patch")
  case $status in
    0) result="ESCAPED"; escaped=1 ;;
    1) result="caught" ;;
    *) result="NO BUILD"; escaped=1 ;;
  esac
  printf '%-32s %-6s %-10s %s\n' "$name" "$suite" "$result" "$(echo "$failing" | paste -sd' ')"
done
exit $escaped
