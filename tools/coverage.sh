#!/bin/sh
# Builds with line and branch counts, runs the native tests and prints what of the product they reach, folder by folder.
# The report with every line is build/coverage/coverage.html. A line that the tests cannot reach carries its reason in
# docs/coverage.md, or is an error; so is a branch share below 95 % in the folders that installations and drivers depend on.
set -eu
cd "$(dirname "$0")/.."

cmake --preset coverage >build/coverage-configure.log
cmake --build --preset coverage -j"$(nproc)"
find build/coverage -name '*.gcda' -delete
ctest --test-dir build/coverage --output-on-failure -j"$(nproc)" >build/coverage/ctest.log ||
    { tail -n 40 build/coverage/ctest.log; exit 1; }

# Branches that only an exception takes are the compiler's, one for every call; they are not the product's.
gcovr --root . --object-directory build/coverage --exclude-throw-branches --exclude-unreachable-branches \
    --gcov-ignore-parse-errors --filter '(base|device_records|driver_access|install|pages|module)/' \
    --json build/coverage/counts.json -j"$(nproc)"
report() { gcovr --root . --add-tracefile build/coverage/counts.json --exclude-throw-branches "$@"; }

report --csv build/coverage/files.csv --html-details build/coverage/coverage.html
failed=0
awk -F, '
    function percent(part, whole) { return whole ? 100 * part / whole : 100 }
    NR > 1 {
        split($1, path, "/")
        lines[path[1]] += $2; run[path[1]] += $3; branches[path[1]] += $5; taken[path[1]] += $6
    }
    END {
        printf "%-16s %17s %20s\n", "folder", "lines", "branches"
        count = split("base device_records driver_access install pages module", folders, " ")
        for (i = 1; i <= count; i++) {
            each = folders[i]
            few = each ~ /^(device_records|driver_access|install)$/ && percent(taken[each], branches[each]) < 95
            printf "%-16s %5d/%-5d %5.1f%% %6d/%-6d %5.1f%%%s\n", each, run[each], lines[each],
                percent(run[each], lines[each]), taken[each], branches[each], percent(taken[each], branches[each]),
                few ? "  less than 95%" : ""
            failed = failed || few
        }
        exit failed
    }' build/coverage/files.csv || failed=1

# "file  lines executed share 22,25-27" for each file with a line that never ran.
report --txt build/coverage/files.txt
awk '$4 ~ /%/ && $5 != "" {
        count = split($5, ranges, ",")
        for (i = 1; i <= count; i++) {
            ends = split(ranges[i], range, "-")
            for (n = range[1]; n <= range[ends]; n++) print $1, n
        }
    }' build/coverage/files.txt >build/coverage/never
echo "lines never run:"
while read -r file line; do
    # With the line above it: "return false;" alone would stand for many.
    text=$(sed -n "$((line - 1)),${line}s/^ *//p" "$file" | paste -sd ' ')
    if grep -qF "| \`$file\` | \`$text\` |" docs/coverage.md; then
        echo "  $file:$line: $text"
    else
        echo "  $file:$line: $text    HAS NO REASON in docs/coverage.md"
        failed=1
    fi
done <build/coverage/never
exit $failed
