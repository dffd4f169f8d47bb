#!/bin/bash
# Unpacks the checks and runs them as a user does, by their command file: try.sh ARCHIVE
set -u
cd "$(dirname "$0")" || exit 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && cmake -E tar xf "$1") || exit 1
../wine.sh run -t 500 cmd /c "Z:${work//\//\\}\\QxUUI10-checks\\run-checks.cmd" | tee "$work/said"
result=${PIPESTATUS[0]}
grep -h -E 'FAILED|Failure|^[0-9]+ passed|^contract:' "$work"/QxUUI10-checks/results/*.txt
# A command file that ended too early must not pass.
grep -q 'ALL CHECKS PASSED' "$work/said" || exit 1
exit "$result"
