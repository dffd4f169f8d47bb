#!/bin/bash
# Measures what the native tests notice: makes one small change at a time to the library, builds it and runs the tests until
# one of them fails.
#
#   tools/mutate.sh [-q] [-n COUNT] [-s SEED] [-r RESULTS] [-b FOLDER]
#
# COUNT changes (200) are drawn by SEED (1) from all that mutants.awk finds; a line that stays as it is keeps its draw when
# others change. -r tries those first that an earlier run's RESULTS call survivors. The tree is copied to FOLDER
# (build/mutation), which stays for the next run. What does not compile is drawn anew, what hangs counts as killed. The headers
# of base/ are left out: every change would have everything compiled. Prints a line for each change, then the survivors; those
# in mutants-equivalent.txt, where no test can tell the difference, are counted apart. -q leaves out the suites that take more
# than five seconds: the sweeps over every call and allocation of the pages.
set -u
cd "$(dirname "$0")/.." || exit 2
count=200 seed=1 earlier='' place=build/mutation longest=1000000
while getopts qn:s:r:b: option; do
    case $option in
        q) longest=5000 ;;
        n) count=$OPTARG ;;
        s) seed=$OPTARG ;;
        r) earlier=$(realpath "$OPTARG") ;;
        b) place=$OPTARG ;;
        *) sed -n '2,13s/^# \{0,1\}//p' "$0"; exit 2 ;;
    esac
done
tools=$PWD/tools
mkdir -p "$place/tree"
place=$(realpath "$place")
# The tree as it is here: an earlier run may have left other files, or been stopped in the middle of a change.
git ls-files | while read -r file; do
    cmp -s "$file" "$place/tree/$file" || cp --parents -t "$place/tree" "$file"
done
(cd "$place/tree" && find . -type f -printf '%P\n' | sort) | comm -23 - <(git ls-files | sort) | (cd "$place/tree" && xargs -r rm)
cd "$place/tree" || exit 2
build=$place/build log=$place/log

# The ordinary build, but without warnings: a change may leave a variable unused.
cmake --preset native -B "$build" -DCMAKE_CXX_FLAGS=-w -DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 >"$log" &&
    ninja -C "$build" -t targets all >"$place/targets" &&
    ninja -C "$build" $(sed -nE 's/^(test_[a-z_]*|run_scripts): phony$/\1/p' "$place/targets") >"$log" || { cat "$log"; exit 1; }

run() { # LIMIT PROGRAM SUITE
    if [ "$2" = run_scripts ]; then
        set -- "$1" run_scripts "$PWD/examples" "$place/pictures" "$PWD/tests/scripts"
    else
        set -- "$1" "$2" --gtest_fail_fast "--gtest_filter=$3*"
    fi
    (ulimit -v 8000000 -f 200000 -c 0; cd "$build" && timeout -k 1 "$1" "bin/$2" "${@:3}") >"$log" 2>&1
}

# All suites of all programs, the quickest first, each with ten times its time and a minute as its limit.
suites=$place/suites
for path in "$build"/bin/test_*; do
    program=${path##*/}
    for suite in $("$path" --gtest_list_tests | grep -E '^[A-Za-z/_0-9]+\.$') ""; do
        [ -n "$suite" ] || continue
        echo "$program $suite"
    done
done >"$suites.all"
echo "run_scripts scripts" >>"$suites.all"
while read -r program suite; do
    began=$(date +%s%N)
    run 600 "$program" "$suite" || { echo "$program $suite fails without any change:"; cat "$log"; exit 1; }
    took=$((($(date +%s%N) - began) / 1000000))
    echo "$took $((took / 100 + 60)) $program $suite"
done <"$suites.all" | sort -n >"$suites"
grep -q 'fails without' "$suites" && { cat "$suites"; exit 1; }

# 0 when a test fails, 1 when none does, 2 when it does not compile; says which in $killer.
judge() {
    local built='' took limit program suite
    while read -r took limit program suite; do
        [ "$took" -le "$longest" ] || continue
        if [[ $built != *" $program "* ]]; then
            ninja -C "$build" "$program" >"$log" 2>&1 || return 2
            built+=" $program "
        fi
        killer="$program $suite"
        run "$limit" "$program" "$suite" || return 0
    done <"$suites"
    return 1
}

tab=$'\t'
equivalent() { # FILE LINE WHAT
    grep -v '^#' "$tools/mutants-equivalent.txt" | cut -f1-3 | grep -qxF "$1$tab$2$tab$3"
}

draw() {
    [ -z "$earlier" ] || grep '^survived' "$earlier" | cut -f2,4,5 >"$place/first"
    for folder in base device_records driver_access install pages module; do
        git -C "$tools" ls-files --full-name "../$folder/*.cpp" "../$folder/*.h"
    done | grep -v '^base/.*\.h$' | xargs awk -f "$tools/mutants.awk" | awk -F'\t' '{ print $1 "\t" $6 "\t" $7 "\t" $0 }' |
        sort -t"$tab" -k1,3R --random-source=<(yes "$seed") |
        awk -F'\t' -v first="${earlier:+$place/first}" '
            BEGIN { while (first != "" && (getline line < first) > 0) wanted[line] = 1 }
            { rest = substr($0, length($1 $2 $3) + 4) }
            ($1 "\t" $2 "\t" $3) in wanted { print rest; next }
            { later[++n] = rest }
            END { for (i = 1; i <= n; ++i) print later[i] }'
}

draw | tr '\t' '\037' >"$place/drawn"  # a tab would swallow the empty field of what only goes
tried=0
while IFS=$'\x1f' read -r file line column length comes text what && [ "$tried" -lt "$count" ]; do
    began=$SECONDS
    cp "$file" "$place/kept"
    awk -v line="$line" -v column="$column" -v len="$length" -v comes="${comes//\\/\\\\}" '
        NR == line { $0 = substr($0, 1, column - 1) comes substr($0, column + len) } { print }' "$place/kept" >"$file"
    judge </dev/null
    outcome=$?
    cp "$place/kept" "$file"
    [ "$outcome" = 2 ] && continue
    tried=$((tried + 1))
    if [ "$outcome" = 0 ]; then
        verdict=killed
    elif equivalent "$file" "$text" "$what"; then
        verdict=equivalent killer=
    else
        verdict=survived killer=
    fi
    printf '%s\t%s\t%s\t%s\t%s\t%s\t%ds\n' "$verdict" "$file" "$line" "$text" "$what" "$killer" $((SECONDS - began))
done <"$place/drawn" | tee "$place/results"

awk -F'\t' '{ ++n[$1]; if ($1 == "survived") print "SURVIVED " $2 ":" $3 ": " $4 "   [" $5 "]" }
    END {
        judged = n["killed"] + n["survived"]
        printf "%d changes: %d killed, %d survived, %d equivalent; %d%% of those that matter killed\n", judged + n["equivalent"],
            n["killed"], n["survived"], n["equivalent"], judged == 0 ? 0 : 100 * n["killed"] / judged
    }' "$place/results"
