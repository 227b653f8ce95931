#!/usr/bin/env bash
# Line coverage of the code (not the tests) by the test suite, built with
# clang's source-based coverage in build-cov/. A developer's tool, not run in
# CI: use it when tests are merged or trimmed, to see what a change leaves
# untested. The Wine comparison and the fuzz replays are left out.
#   scripts/coverage.sh              the table, one row a file, and the total
#   scripts/coverage.sh FILE         FILE's lines with their counts
# Needs clang and llvm (Debian packages clang, llvm).
set -euo pipefail
cd "$(dirname "$0")/.."
for tool in clang++ llvm-profdata llvm-cov; do
  command -v "$tool" >/dev/null || { echo "coverage: $tool not found (Debian packages clang, llvm)" >&2; exit 2; }
done

build=build-cov
flags="-fprofile-instr-generate -fcoverage-mapping"
cmake -S . -B "$build" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null

rm -rf "$build/prof"
mkdir -p "$build/prof"
# Every test process, and every program a test starts, writes its own profile.
LLVM_PROFILE_FILE="$PWD/$build/prof/%p-%m.profraw" ctest --test-dir "$build" -j"$(nproc)" -E 'wine|fuzz' \
  --output-on-failure >"$build/ctest.log" || { tail -20 "$build/ctest.log" >&2; exit 1; }
llvm-profdata merge -sparse "$build"/prof/*.profraw -o "$build/all.profdata"

# Every program and module the build made (names may hold spaces).
objects=()
while IFS= read -r -d '' f; do
  if [ "$(head -c 4 "$f" | tail -c 3)" = ELF ]; then
    objects+=(-object "$f")
  fi
done < <(find "$build" -path "$build/prof" -prune -o -path '*/CMakeFiles' -prune -o -path '*/fuzz' -prune \
  -o -type f \( -perm -u+x -o -name '*.so' \) -print0)

args=("${objects[@]:1}" -instr-profile="$build/all.profdata")
if [ $# -gt 0 ]; then
  llvm-cov show "${args[@]}" -show-line-counts "$@"
else
  llvm-cov report "${args[@]}" -ignore-filename-regex='(^|/)(tests|build[^/]*)/|^/usr/'
fi
