#!/bin/sh
# Builds the fuzz targets with the "fuzz" preset and runs each for the given number of seconds,
# one after the other, then prints executions, coverage and findings per target.
# Usage: fuzz/run.sh <seconds>
# Corpora grow in fuzz/corpus-<encoding>/; findings land in fuzz/crash-<encoding>/.
set -eu

seconds=${1:?usage: fuzz/run.sh <seconds>}
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz

cd "$root"
cmake --preset fuzz >/dev/null
ninja -C "$build" -j2 fuzz_compact fuzz_xmls fuzz_seeds >/dev/null

status=0
for encoding in compact xmls; do
    corpus=$root/fuzz/corpus-$encoding
    findings=$root/fuzz/crash-$encoding
    log=$build/fuzz-$encoding.log
    mkdir -p "$corpus" "$findings"
    "$build/bin/fuzz_seeds" "$encoding" "$corpus" "$root/sim/scenarios/default.xml"
    "$build/bin/fuzz_$encoding" "$corpus" -max_total_time="$seconds" -workers=1 -max_len=16384 \
        -timeout=10 -dict="$root/fuzz/$encoding.dict" -artifact_prefix="$findings/" -print_final_stats=1 \
        >"$log" 2>&1 || true
    # "#<execs> DONE cov: <edges> ft: <features> corp: <inputs>/<size> ... exec/s: <rate> ..."
    done_line=$(grep -E '^#[0-9]+[[:space:]]+DONE' "$log" | tail -n 1 || true)
    crashes=$(find "$findings" -type f | wc -l)
    if [ -z "$done_line" ]; then
        echo "$encoding: fuzzer stopped early, see $log"
        status=1
        continue
    fi
    echo "$done_line" | awk -v e="$encoding" -v s="$seconds" -v c="$crashes" '{
        execs = substr($1, 2)
        for (i = 1; i <= NF; ++i) {
            if ($i == "cov:") cov = $(i + 1)
            if ($i == "ft:") ft = $(i + 1)
            if ($i == "corp:") corp = $(i + 1)
            if ($i == "exec/s:") rate = $(i + 1)
        }
        printf "%s: %s execs in %s s (%s exec/s), coverage %s edges / %s features, corpus %s, findings %s\n",
               e, execs, s, rate, cov, ft, corp, c
    }'
    [ "$crashes" -eq 0 ] || status=1
done
exit $status
