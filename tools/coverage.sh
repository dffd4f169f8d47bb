#!/bin/sh
# Builds with line and branch counts, runs the native tests and prints what of the product they reach, folder by folder.
# The report with every line is build/coverage/coverage.html. A line that the tests cannot reach carries its reason in
# docs/coverage.md.
set -eu
cd "$(dirname "$0")/.."

cmake --preset coverage >build/coverage-configure.log
cmake --build --preset coverage -j"$(nproc)"
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage --output-on-failure -j"$(nproc)" >build/coverage/ctest.log ||
    { tail -n 40 build/coverage/ctest.log; exit 1; }

report() {
    # Branches that only an exception takes are the compiler's, one for every call; they are not the product's.
    gcovr --root . --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
        --gcov-ignore-parse-errors "$@"
}

printf '%-16s %16s %18s\n' folder lines branches
for folder in base device_records driver_access install pages module; do
    report --filter "$folder/" --json-summary-pretty -o build/coverage/"$folder".json >/dev/null
    sed -n 's/^ *"\(line_covered\|line_total\|line_percent\|branch_covered\|branch_total\|branch_percent\)": \([0-9.]*\),*$/\1=\2/p' \
        build/coverage/"$folder".json | tail -n 8 >build/coverage/"$folder".txt
    # shellcheck disable=SC1090
    . ./build/coverage/"$folder".txt
    printf '%-16s %6s/%-6s %3s%% %6s/%-6s %3s%%\n' "$folder" "$line_covered" "$line_total" "${line_percent%%.*}" \
        "$branch_covered" "$branch_total" "${branch_percent%%.*}"
done
report --filter '(base|device_records|driver_access|install|pages|module)/' --html-details build/coverage/coverage.html \
    >/dev/null
printf 'lines never run:\n'
report --filter '(base|device_records|driver_access|install|pages|module)/' --txt /dev/stdout | sed -n '7,$p'
