#!/bin/sh
# How much code there is and how much of it is tests: lines of C and C++ that are neither blank nor only a comment.
# Tests are what lies under tests/; fuzzers and benchmarks count as neither.
set -eu
cd "$(dirname "$0")/.."

count() { xargs -r cat | grep -cvE '^[[:space:]]*(//.*)?$' || true; }
list() { git ls-files -- '*.cpp' '*.h' '*.c'; }

total() { list | grep -E "$1" | count; }
printf '%-28s %7s\n' part lines
for part in base device_records driver_access install pages module admin platform host tests fuzz bench; do
    printf '%-28s %7s\n' "$part" "$(total "^$part/")"
done
code=$(list | grep -vE '^(tests|fuzz|bench)/' | count)
tests=$(total '^tests/')
printf '%-28s %7s\n%-28s %7s\n' 'code' "$code" 'tests' "$tests"
printf 'tests are %s%% of the code beside them, %s%% of both together\n' "$((100 * tests / code))" \
    "$((100 * tests / (code + tests)))"
